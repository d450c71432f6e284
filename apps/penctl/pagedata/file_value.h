#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace penctl {

/** The type codes of the values in a page-data file. */
enum class ValueType : uint8_t {
    Null = 0,
    Bool = 1,
    Byte = 2,
    Short16 = 3,
    Int32 = 4,
    Long64 = 5,
    String = 6,
    Binary = 7,
    ValueArray = 8,
    DataArray = 9,
    TerminatedArray = 10,
    Terminator = 11,
    EscapedBinary = 14,
    AnyType = 15,
};

const char *typeName(ValueType type);

/** What is kept of a binary: its size and its first bytes, however long it is. */
struct FileBinary {
    static constexpr uint32_t kBytesKept = 16;

    std::string start;
    uint64_t size = 0;
};

/** One value of a page-data file. Numbers keep their payload's sign; a null, a terminator and the any type
 * hold nothing. */
struct FileValue {
    ValueType type = ValueType::Null;
    std::variant<std::monostate, bool, int64_t, std::string, FileBinary, std::vector<FileValue>> content;
};

} // namespace penctl
