#include "pagedata/file_value.h"

namespace penctl {

const char *typeName(ValueType type)
{
    switch (type) {
    case ValueType::Null:
        return "null";
    case ValueType::Bool:
        return "bool";
    case ValueType::Byte:
        return "byte";
    case ValueType::Short16:
        return "short16";
    case ValueType::Int32:
        return "int32";
    case ValueType::Long64:
        return "long64";
    case ValueType::String:
        return "string";
    case ValueType::Binary:
        return "binary";
    case ValueType::ValueArray:
        return "value array";
    case ValueType::DataArray:
        return "data array";
    case ValueType::TerminatedArray:
        return "terminated array";
    case ValueType::Terminator:
        return "terminator";
    case ValueType::EscapedBinary:
        return "escaped binary";
    case ValueType::AnyType:
        return "any type";
    }
    return "unknown";
}

} // namespace penctl
