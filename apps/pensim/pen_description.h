#pragma once

#include "digest.h"
#include "rules.h"

#include <filesystem>
#include <map>
#include <string>

namespace pensim {

/** A page's address from its five fields; 0xfff (third field: 0xffff) stands for a missing one. */
constexpr std::uint64_t pageAddress(std::uint64_t field1, std::uint64_t field2, std::uint64_t field3,
                                    std::uint64_t field4, std::uint64_t field5)
{
    return field1 << 52 | field2 << 40 | field3 << 24 | field4 << 12 | field5;
}

/** "1.2.3.4" or "1.2.3.4.5"; throws std::invalid_argument. */
std::uint64_t parsePageAddress(const std::string &text);
std::string pageAddressText(std::uint64_t address);
/** The next address without a missing field; nothing after the last. */
std::optional<std::uint64_t> nextPageAddress(std::uint64_t address);
/** Whether the address matches the pattern. A missing field of the pattern matches every number. */
bool pageAddressMatches(std::uint64_t address, std::uint64_t pattern);

/** File names are UTF-8 in scenarios and commands, on every platform. */
inline std::filesystem::path pathOf(const std::string &utf8)
{
    return std::u8string(utf8.begin(), utf8.end());
}
inline std::string utf8Of(const std::filesystem::path &path)
{
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

/** The serial number that people know a pen by, of the form XXX-XXX-XXX-XX. */
std::string serialText(std::uint64_t penId);

/** The count in a page list has 16 bits. */
inline constexpr std::size_t kMostPages = 0xffff;

struct PageSpec {
    std::uint64_t address = 0;
    Value strokes;                           // a binary, unless a test wants another type
    std::optional<std::uint32_t> listedSize; // what the page list tells; else the size of the strokes

    std::uint32_t size() const;
};

/** `size` bytes that depend on the seed only: x(0) = seed, x(n+1) = 6364136223846793005 x(n) +
 *  1442695040888963407 modulo 2^64, byte n the high 8 bits of x(n+1). */
Bytes generatedStrokes(std::size_t size, std::uint64_t seed);

/** How a pen presents itself and behaves in firmware-upgrade mode. */
struct DfuSpec {
    std::vector<std::string> protocols = {"DFUPSP10"};
    std::uint64_t softwareVersion = 0x0100;
    bool manifestationTolerant = true;
    std::uint16_t detachTimeout = 1000;     // milliseconds
    std::uint16_t transferSize = 4096;      // largest download block
    std::chrono::milliseconds blockTime{1}; // for which the pen is busy with a block
    std::chrono::milliseconds manifestTime{20};
    std::optional<std::size_t> failAtBlock; // the block, counted from 0, that cannot be written
    std::filesystem::path imageFile;        // where a finished download is written; empty for nowhere
};

/** Everything that a pen is when it is first docked. */
struct PenSpec {
    std::uint64_t id = 0;
    std::string brand = "Simulated pen";
    std::uint64_t softwareVersion = 0x0503;
    std::vector<std::string> protocols = {"PSP41"};
    std::uint16_t vendorId = 0x1209;
    std::uint16_t productId = 0x0001;
    std::uint16_t port = 0;                    // 0: any free one
    bool dfuMode = false;                      // in firmware-upgrade mode: listed to its subscribers only
    bool docked = true;                        // present when the service starts
    std::uint32_t memory = 64 << 20;           // bytes of strokes that it can hold
    std::map<std::uint16_t, Value> properties; // over the built-in ones
    std::vector<PageSpec> pages;
    std::vector<PageSpec> styloPages;
    std::string password;
    std::string hint;
    std::optional<bool> locked; // unless given, a pen with a password is locked
    bool busy = false;          // refuses every sync session
    std::optional<Bytes> encryptedData;
    std::vector<RuleSpec> rules; // for the answers to its requests
    std::vector<RuleSpec> connectionRules;
    DigestBlock chainingValue = kDefaultChainingValue; // of the password digest
    DfuSpec dfu;
};

} // namespace pensim
