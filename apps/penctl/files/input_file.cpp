#include "files/input_file.h"

#include <fstream>
#include <iostream>
#include <istream>

#include <fmt/format.h>

#include "exit_code.h"
#include "failure.h"
#include "files/atomic_file.h"
#include "ui/printable.h"
#include "ui/terminal.h"

namespace penctl {

namespace {

std::vector<uint8_t> readAll(std::istream &in, const std::string &name, std::size_t limit)
{
    std::vector<uint8_t> bytes;
    std::vector<char> chunk(64 * 1024);
    while (in.read(chunk.data(), static_cast<std::streamsize>(chunk.size())) || in.gcount() > 0) {
        bytes.insert(bytes.end(), chunk.begin(), chunk.begin() + in.gcount());
        if (bytes.size() > limit)
            throw Failure(kNoInput, fmt::format("cannot use {}: it is longer than {} bytes", name, limit));
    }
    if (in.bad())
        throw Failure(kNoInput, fmt::format("cannot read {}", name));
    return bytes;
}

} // namespace

std::vector<uint8_t> readWholeFile(const std::string &name, std::size_t limit)
{
    if (name == "-") {
        makeStandardInputBinary();
        return readAll(std::cin, "standard input", limit);
    }
    std::ifstream in(pathFromUtf8(name), std::ios::binary);
    if (!in)
        throw Failure(kNoInput, fmt::format("cannot read {}", printable(name)));
    return readAll(in, printable(name), limit);
}

} // namespace penctl
