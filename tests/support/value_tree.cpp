#include "support/value_tree.h"

#include "protocol/values/value_convert.h"

#include <algorithm>

namespace zel::test {

namespace {

bool sameElements(const Value &left, const Value &right)
{
    return std::ranges::equal(left.getArray(), right.getArray(), sameTree);
}

bool sameContents(const Value &left, const Value &right)
{
    switch (left.getType()) {
    case ValueType::String:
        return left.textView() == right.textView();
    case ValueType::Binary:
    case ValueType::EscapedBinary:
        return std::ranges::equal(left.bytesView(), right.bytesView());
    case ValueType::DataArray:
        return left.getElementType() == right.getElementType() && sameElements(left, right);
    case ValueType::ValueArray:
    case ValueType::TerminatedArray:
        return sameElements(left, right);
    default:
        return toRawNumber(left) == toRawNumber(right);
    }
}

} // namespace

bool sameTree(const Value &left, const Value &right)
{
    return left.getType() == right.getType() && sameContents(left, right);
}

} // namespace zel::test
