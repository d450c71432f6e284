#include "commands/command.h"

#include <algorithm>
#include <initializer_list>

#include "files/files.h"

namespace penctl {

namespace {

constexpr std::size_t kLongestFile = 64 * 1024;

void wipe(void *memory, std::size_t size)
{
    volatile char *bytes = static_cast<char *>(memory);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = 0;
}

/** A password. The destructor overwrites its bytes, so that they do not stay in memory. */
class Secret
{
public:
    explicit Secret(std::string text) : m_text(std::move(text)) {}
    ~Secret() { wipe(m_text.data(), m_text.size()); }
    Secret(const Secret &) = delete;
    Secret &operator=(const Secret &) = delete;

    const char *c_str() const { return m_text.c_str(); }
    bool operator==(const Secret &other) const { return m_text == other.m_text; }

private:
    std::string m_text;
};

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

/** Reads passwords from the lines of a file, from standard input for "-", or else from the terminal. A
 * password is never an argument, because other users of the machine can see those. */
class PasswordSource
{
public:
    /** file  empty to ask on the terminal. Failure (66) for a file that holds something else than UTF-8 text.
     */
    explicit PasswordSource(const std::string &file)
        : m_file(file), m_shownFile(file == "-" ? "standard input" : printable(file))
    {
        if (file.empty())
            return;
        m_lines = readWholeFile(file, kLongestFile);
        if (beginsWith({0xFF, 0xFE}) || beginsWith({0xFE, 0xFF}))
            refuse("it is UTF-16; save it as UTF-8");
        // The library takes a password as a C string, which would end there.
        if (std::find(m_lines.begin(), m_lines.end(), 0) != m_lines.end())
            refuse("it holds a zero byte");
        if (beginsWith({0xEF, 0xBB, 0xBF})) // byte order mark of UTF-8
            m_used = 3;
    }
    ~PasswordSource() { wipe(m_lines.data(), m_lines.size()); }
    PasswordSource(const PasswordSource &) = delete;
    PasswordSource &operator=(const PasswordSource &) = delete;

    /** The next line, or the answer to the prompt. Failure (66) when there is none. */
    std::unique_ptr<Secret> next(const std::string &prompt)
    {
        return m_file.empty() ? ask(prompt) : nextLine();
    }

    /** As next(), but on the terminal it asks a second time, for a password that is to be set. */
    std::unique_ptr<Secret> nextTwice(const std::string &prompt)
    {
        std::unique_ptr<Secret> first = next(prompt);
        if (m_file.empty() && !(*first == *ask(prompt + ", again")))
            throw Failure(kUsageError, "the two passwords differ");
        return first;
    }

private:
    bool beginsWith(std::initializer_list<uint8_t> start) const
    {
        return m_lines.size() >= start.size() && std::equal(start.begin(), start.end(), m_lines.begin());
    }

    [[noreturn]] void refuse(const char *reason)
    {
        wipe(m_lines.data(), m_lines.size());
        throw Failure(kNoInput, fmt::format("cannot use {}: {}", m_shownFile, reason));
    }

    std::unique_ptr<Secret> nextLine()
    {
        if (m_used >= m_lines.size())
            throw Failure(kNoInput, fmt::format("there are not enough lines in {}", m_shownFile));
        const auto begin = m_lines.begin() + static_cast<std::ptrdiff_t>(m_used);
        const auto end = std::find(begin, m_lines.end(), '\n');
        m_used = static_cast<std::size_t>(end - m_lines.begin()) + 1;
        const bool carriageReturn = end != begin && *(end - 1) == '\r';
        return std::make_unique<Secret>(std::string(begin, carriageReturn ? end - 1 : end));
    }

    std::string m_file;
    std::string m_shownFile;
    std::vector<uint8_t> m_lines;
    std::size_t m_used = 0;
};

struct PasswordOptions {
    PenChoice choice;
    std::string passwordFile;
    std::string hint;
};

constexpr Meaning kSetRefused = "the pen refused the current password, or the new one is not 1 to 31 bytes "
                                "long, or the hint is longer than 255";
constexpr Meaning kRemoveRefused = "the pen refused the current password";

void lock(const Question &question)
{
    const zelpp::Pen pen = openPen(question.choice);
    const Reading locked = readLocked(pen);
    requireAnswer(locked, "cannot tell whether the pen is locked");
    const Reading hint = readPasswordHint(pen);
    if (question.json)
        return printJson(penJson(pen.info(), {{"locked", locked.json}, {"passwordHint", hint.json}}));
    print(fmt::format("pen {} is {}\n", serialOf(pen), locked.text));
    if (hint.code == ZEL_OK)
        print(fmt::format("password hint: {}\n", hint.text));
}

void unlock(const PasswordOptions &options)
{
    PasswordSource passwords(options.passwordFile);
    zelpp::Pen pen = openPen(options.choice);
    const std::string serial = serialOf(pen);
    const auto password = passwords.next(fmt::format("Password of pen {}", serial));
    check(pen.tryUnlock(password->c_str()), "cannot unlock the pen", "the pen refused the password");
    print(fmt::format("unlocked pen {}\n", serial));
}

void setPassword(const PasswordOptions &options)
{
    PasswordSource passwords(options.passwordFile);
    zelpp::Pen pen = openPen(options.choice);
    const std::string serial = serialOf(pen);
    const auto current =
        passwords.next(fmt::format("Current password of pen {} (empty if it has none)", serial));
    const auto wanted = passwords.nextTwice(fmt::format("New password of pen {}", serial));
    check(pen.trySetPassword(current->c_str(), wanted->c_str(), options.hint), "cannot set the password",
          kSetRefused);
    print(fmt::format("set the password of pen {}\n", serial));
}

void removePassword(const PasswordOptions &options)
{
    PasswordSource passwords(options.passwordFile);
    zelpp::Pen pen = openPen(options.choice);
    const std::string serial = serialOf(pen);
    const auto current = passwords.next(fmt::format("Current password of pen {}", serial));
    check(pen.tryRemovePassword(current->c_str()), "cannot remove the password", kRemoveRefused);
    print(fmt::format("removed the password of pen {}\n", serial));
}

/** Adds a command that needs a password. */
std::pair<CLI::App &, PasswordOptions &>
addPasswordCommand(CLI::App &parent, const char *name, const char *help, void (*run)(const PasswordOptions &))
{
    auto added = addCommand<PasswordOptions>(parent, name, help, run);
    addPen(added.first, added.second.choice);
    addText(added.first, "--password-file", added.second.passwordFile, "FILE",
            "Read passwords from the lines of this file (- for standard input) instead of asking",
            Need::Optional);
    return added;
}

} // namespace

void addLock(CLI::App &program)
{
    addQuestion(program, "lock", "Tell whether a pen is locked, and its password hint", lock);
    addPasswordCommand(program, "unlock", "Unlock a pen with its password", unlock);
    CLI::App &password = addFamily(program, "password", "Set or remove a pen's password");
    auto [set, options] = addPasswordCommand(
        password, "set", "Set the password that locks the pen: the current one, then the new one",
        setPassword);
    addText(set, "--hint", options.hint, "TEXT", "A hint that the pen shows to who forgot it",
            Need::Optional);
    addPasswordCommand(password, "remove", "Remove the password", removePassword);
}

} // namespace penctl
