#include "pen/password_source.h"

#include <algorithm>
#include <initializer_list>

#include <fmt/format.h>

#include "exit_code.h"
#include "failure.h"
#include "files/input_file.h"
#include "ui/printable.h"
#include "ui/terminal.h"

namespace penctl {

namespace {

constexpr std::size_t kLongestFile = 64 * 1024;

std::unique_ptr<Secret> ask(const std::string &prompt)
{
    std::optional<std::string> line = askLine(prompt + ": ", Echo::Off);
    if (!line)
        throw Failure(kNoInput,
                      "there is no terminal to ask for a password on; give it with --password-file");
    if (line->find('\0') != std::string::npos)
        throw Failure(kUsageError, "a password cannot hold a zero byte");
    return std::make_unique<Secret>(std::move(*line));
}

bool startsWith(const std::vector<uint8_t> &bytes, std::initializer_list<uint8_t> start)
{
    return bytes.size() >= start.size() && std::equal(start.begin(), start.end(), bytes.begin());
}

} // namespace

PasswordSource::PasswordSource(const std::string &file)
    : m_file(file), m_shownFile(file == "-" ? "standard input" : printable(file))
{
    if (file.empty())
        return;
    m_lines = readWholeFile(file, kLongestFile);
    if (startsWith(m_lines, {0xFF, 0xFE}) || startsWith(m_lines, {0xFE, 0xFF}))
        throw Failure(kNoInput, fmt::format("cannot use {}: it is UTF-16; save it as UTF-8", m_shownFile));
    // The library would take such a password as ending there.
    if (std::find(m_lines.begin(), m_lines.end(), 0) != m_lines.end())
        throw Failure(kNoInput, fmt::format("cannot use {}: it holds a zero byte", m_shownFile));
    if (startsWith(m_lines, {0xEF, 0xBB, 0xBF})) // the mark of a file that an editor saved as UTF-8
        m_used = 3;
}

PasswordSource::~PasswordSource()
{
    volatile uint8_t *bytes = m_lines.data();
    for (std::size_t i = 0; i < m_lines.size(); ++i)
        bytes[i] = 0;
}

std::unique_ptr<Secret> PasswordSource::next(const std::string &prompt)
{
    return m_file.empty() ? ask(prompt) : nextLine();
}

std::unique_ptr<Secret> PasswordSource::nextTwice(const std::string &prompt)
{
    if (!m_file.empty())
        return nextLine();
    std::unique_ptr<Secret> first = ask(prompt);
    if (!(*first == *ask(prompt + ", again")))
        throw Failure(kUsageError, "the two passwords differ");
    return first;
}

std::unique_ptr<Secret> PasswordSource::nextLine()
{
    if (m_used >= m_lines.size())
        throw Failure(kNoInput, fmt::format("there are not enough lines in {}", m_shownFile));
    const auto begin = m_lines.begin() + static_cast<std::ptrdiff_t>(m_used);
    const auto end = std::find(begin, m_lines.end(), '\n');
    m_used = static_cast<std::size_t>(end - m_lines.begin()) + 1;
    const bool carriageReturn = end != begin && *(end - 1) == '\r';
    return std::make_unique<Secret>(std::string(begin, carriageReturn ? end - 1 : end));
}

} // namespace penctl
