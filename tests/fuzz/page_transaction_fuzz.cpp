#include "fuzz/fuzz_target.h"

#include "commands/page_data_view.h"
#include "failure.h"

#include <algorithm>

namespace {

bool isFitForTerminal(char c)
{
    return c == '\n' || (static_cast<unsigned char>(c) >= 0x20 && c != 0x7F);
}

} // namespace

// Page-data files as the command-line host reads and shows them: nothing in one reaches the terminal raw.
ZEL_FUZZ_TARGET(page_transaction)
{
    const auto data = zelpp::PageData::tryView({input.data(), input.size()});
    if (!data)
        return;
    try {
        const std::string text = penctl::pageDataText(*data, false);
        ZEL_FUZZ_REQUIRE(std::all_of(text.begin(), text.end(), isFitForTerminal));
        const penctl::Json json = penctl::pageDataJson(*data);
        ZEL_FUZZ_REQUIRE(json["pages"].size() == data->size());
        ZEL_FUZZ_REQUIRE(!json.dump(-1, ' ', false, penctl::Json::error_handler_t::replace).empty());
    } catch (const penctl::Failure &) { // more values than it shows
    }
}
