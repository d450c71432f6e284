#include "files/files.h"

#include <cerrno>
#include <fstream>
#include <iostream>
#include <random>
#include <system_error>

#include <fmt/format.h>

#include "failure.h"
#include "ui/terminal.h"
#include "ui/text.h"

namespace penctl {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void failOn(const fs::path &path, const std::string &reason)
{
    const std::u8string name = path.u8string();
    throw Failure(kOutputError, fmt::format("cannot write {}: {}",
                                            printable(std::string(name.begin(), name.end())), reason));
}

std::string errorText()
{
    return std::generic_category().message(errno);
}

/** The file to replace: links are followed; devices and folders are refused. */
fs::path resolveTarget(const fs::path &path)
{
    if (isDeviceName(path))
        failOn(path, "it is the name of a device");
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (error == std::errc::filename_too_long)
        failOn(path, error.message());
    if (fs::exists(status) && !fs::is_regular_file(status))
        failOn(path, "it is not a regular file");
    if (!fs::is_symlink(fs::symlink_status(path, error)))
        return path;
    if (!fs::exists(status))
        failOn(path, "it is a link to a file that does not exist");
    return fs::canonical(path);
}

/** A short name, because the target's name may be as long as the system allows. */
fs::path nameBeside(const fs::path &target)
{
    std::random_device random;
    return target.parent_path() / fmt::format(".penctl-{:08x}.part", random());
}

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

void failOnReading(const std::string &name, const std::string &reason)
{
    throw Failure(kNoInput, fmt::format("cannot read {}: {}", printable(name), reason));
}

AtomicFile::AtomicFile(const std::string &name)
    : m_target(resolveTarget(pathFromUtf8(name))), m_temporary(nameBeside(m_target))
{
    m_onInterrupt.emplace([this] {
        removeTemporary();
        return "nothing was written";
    });
    m_file = createFile(m_temporary, m_target);
    if (!m_file)
        failOn(m_target, errorText());
}

AtomicFile::~AtomicFile()
{
    m_onInterrupt.reset();
    if (m_file) {
        m_file.reset();
        removeTemporary();
    }
}

void AtomicFile::removeTemporary() const
{
    std::error_code ignored;
    fs::remove(m_temporary, ignored);
}

void AtomicFile::write(std::span<const uint8_t> bytes)
{
    if (std::fwrite(bytes.data(), 1, bytes.size(), m_file.get()) != bytes.size())
        failOn(m_target, errorText());
}

void AtomicFile::publish()
{
    if (!flushToDisk(m_file.get()))
        failOn(m_target, errorText());
    // Closed before the rename: an open file cannot be renamed on every platform.
    if (std::fclose(m_file.release()) != 0)
        giveUp(errorText());
    m_onInterrupt.reset();
    std::error_code error;
    fs::rename(m_temporary, m_target, error);
    if (error)
        giveUp(error.message());
    flushFolder(m_target.has_parent_path() ? m_target.parent_path() : fs::path("."));
}

void AtomicFile::giveUp(const std::string &reason) const
{
    removeTemporary();
    failOn(m_target, reason);
}

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
