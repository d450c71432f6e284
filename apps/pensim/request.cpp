#include "request.h"

namespace pensim {

Value Request::argument(std::uint8_t index) const
{
    for (const Argument &argument : arguments)
        if (argument.index == index)
            return argument.value;
    return Value::null();
}

} // namespace pensim
