#pragma once

#include "protocol/value.h"
#include "sys/exceptions.h"

#include <cstddef>

namespace zel {

/** An element that an export cannot do without; ZELException when the answer is too short. Null when
 *  the element decoded to no value. */
inline const Value *elementAt(const ValueList &list, std::size_t index)
{
    if (index >= list.size())
        throw ZELException();
    return list[index].get();
}

} // namespace zel
