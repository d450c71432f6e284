#include "host/password_source.h"

#include <algorithm>

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
    std::optional<std::string> line = readHiddenLine(prompt + ": ");
    if (!line)
        throw Failure(kNoInput,
                      "there is no terminal to ask for a password on; give it with --password-file");
    return std::make_unique<Secret>(std::move(*line));
}

} // namespace

PasswordSource::PasswordSource(const std::string &file) : m_file(file)
{
    if (!file.empty())
        m_lines = readWholeFile(file, kLongestFile);
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
        throw Failure(kNoInput, fmt::format("there are not enough lines in {}",
                                            m_file == "-" ? "standard input" : printable(m_file)));
    const auto begin = m_lines.begin() + static_cast<std::ptrdiff_t>(m_used);
    const auto end = std::find(begin, m_lines.end(), '\n');
    m_used = static_cast<std::size_t>(end - m_lines.begin()) + 1;
    const bool carriageReturn = end != begin && *(end - 1) == '\r';
    return std::make_unique<Secret>(std::string(begin, carriageReturn ? end - 1 : end));
}

} // namespace penctl
