#include "ui/json.h"

#include "ui/output.h"

namespace penctl {

namespace {

std::string dumped(const Json &value, int indent)
{
    return value.dump(indent, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace

void printJson(const Json &value)
{
    print(dumped(value, 2));
}

void printJsonLine(const Json &value)
{
    print(dumped(value, -1));
    finishOutput();
}

} // namespace penctl
