#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace penctl {

/** A text that does not stay in memory longer than needed: its bytes are overwritten at its end. */
class Secret
{
public:
    explicit Secret(std::string text) : m_text(std::move(text)) {}
    ~Secret() { wipe(); }
    Secret(const Secret &) = delete;
    Secret &operator=(const Secret &) = delete;

    const char *c_str() const { return m_text.c_str(); }
    bool operator==(const Secret &other) const { return m_text == other.m_text; }

private:
    void wipe()
    {
        volatile char *bytes = m_text.data();
        for (std::size_t i = 0; i < m_text.size(); ++i)
            bytes[i] = 0;
    }

    std::string m_text;
};

/** Where passwords come from: the lines of a file, or of standard input for "-", or else the terminal. They
 * are never arguments, which other users of the machine could see. */
class PasswordSource
{
public:
    /** file  empty to ask on the terminal. Failure (66) for a file that holds something else than UTF-8 text.
     */
    explicit PasswordSource(const std::string &file);
    ~PasswordSource();
    PasswordSource(const PasswordSource &) = delete;
    PasswordSource &operator=(const PasswordSource &) = delete;

    /** The next line, or the answer to the prompt. Failure (66) when there is none. */
    std::unique_ptr<Secret> next(const std::string &prompt);

    /** As next(), but on the terminal it asks a second time, for a password that is to be set. */
    std::unique_ptr<Secret> nextTwice(const std::string &prompt);

private:
    std::unique_ptr<Secret> nextLine();

    std::string m_file;
    std::string m_shownFile;
    std::vector<uint8_t> m_lines;
    std::size_t m_used = 0;
};

} // namespace penctl
