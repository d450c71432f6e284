#include "program.h"

#include <algorithm>
#include <initializer_list>
#include <memory>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "commands/options.h"
#include "failure.h"
#include "files/whole_file.h"
#include "pen/answer.h"
#include "pen/pens.h"
#include "ui/printable.h"

namespace penctl {

namespace {

/** A password. The destructor overwrites its bytes, so that they do not stay in memory. */
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

/** Reads passwords from the lines of a file, from standard input for "-", or else from the terminal. A
 * password is never an argument, because other users of the machine can see those. */
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

PasswordSource::PasswordSource(const std::string &file)
    : m_file(file), m_shownFile(file == "-" ? "standard input" : printable(file))
{
    if (file.empty())
        return;
    m_lines = readWholeFile(file, kLongestFile);
    if (startsWith(m_lines, {0xFF, 0xFE}) || startsWith(m_lines, {0xFE, 0xFF}))
        throw Failure(kNoInput, fmt::format("cannot use {}: it is UTF-16; save it as UTF-8", m_shownFile));
    // The library takes a password as a C string, which would end there.
    if (std::find(m_lines.begin(), m_lines.end(), 0) != m_lines.end())
        throw Failure(kNoInput, fmt::format("cannot use {}: it holds a zero byte", m_shownFile));
    if (startsWith(m_lines, {0xEF, 0xBB, 0xBF})) // byte order mark of UTF-8
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

struct LockOptions {
    PenChoice choice;
    std::string passwordFile;
    std::string hint;
    bool json = false;
};

using SharedLockOptions = std::shared_ptr<LockOptions>;

constexpr Meaning kSetRefused = "the pen refused the current password, or the new one is not 1 to 31 bytes "
                                "long, or the hint is longer than 255";
constexpr Meaning kRemoveRefused = "the pen refused the current password";

void lock(const LockOptions &options)
{
    zelpp::Pen pen = openPen(options.choice);
    const Reading locked = readLocked(pen);
    requireAnswer(locked, "cannot tell whether the pen is locked");
    const Reading hint = readPasswordHint(pen);
    if (!options.json) {
        print(fmt::format("pen {} is {}\n", serialOf(pen), locked.text));
        if (hint.code == ZEL_OK)
            print(fmt::format("password hint: {}\n", hint.text));
        return;
    }
    Json json = penJson(pen.info());
    json["locked"] = locked.json;
    json["passwordHint"] = hint.code == ZEL_OK ? hint.json : Json(nullptr);
    printJson(json);
}

void unlock(const LockOptions &options)
{
    PasswordSource passwords(options.passwordFile);
    zelpp::Pen pen = openPen(options.choice);
    const std::string serial = serialOf(pen);
    const auto password = passwords.next(fmt::format("Password of pen {}", serial));
    check(pen.tryUnlock(password->c_str()), "cannot unlock the pen", "the pen refused the password");
    print(fmt::format("unlocked pen {}\n", serial));
}

void setPassword(const LockOptions &options)
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

void removePassword(const LockOptions &options)
{
    PasswordSource passwords(options.passwordFile);
    zelpp::Pen pen = openPen(options.choice);
    const std::string serial = serialOf(pen);
    const auto current = passwords.next(fmt::format("Current password of pen {}", serial));
    check(pen.tryRemovePassword(current->c_str()), "cannot remove the password", kRemoveRefused);
    print(fmt::format("removed the password of pen {}\n", serial));
}

CLI::App &addOne(CLI::App &parent, const char *name, const char *help, const SharedLockOptions &options,
                 void (*run)(const LockOptions &))
{
    CLI::App &command = addCommand(parent, name, help, [options, run] { run(*options); });
    addPen(command, options->choice);
    return command;
}

void addUnlock(CLI::App &program)
{
    const auto options = std::make_shared<LockOptions>();
    addPasswordFile(addOne(program, "unlock", "Unlock a pen with its password", options, unlock),
                    options->passwordFile);
}

void addPassword(CLI::App &program)
{
    const auto options = std::make_shared<LockOptions>();
    CLI::App &password = addFamily(program, "password", "Set or remove a pen's password");
    CLI::App &set =
        addOne(password, "set", "Set the password that locks the pen: the current one, then the new one",
               options, setPassword);
    addPasswordFile(set, options->passwordFile);
    addText(set, "--hint", options->hint, "TEXT", "A hint that the pen shows to who forgot it",
            Need::Optional);
    addPasswordFile(addOne(password, "remove", "Remove the password", options, removePassword),
                    options->passwordFile);
}

} // namespace

void addLock(CLI::App &program)
{
    const auto options = std::make_shared<LockOptions>();
    addJson(addOne(program, "lock", "Tell whether a pen is locked, and its password hint", options, lock),
            options->json);
    addUnlock(program);
    addPassword(program);
}

} // namespace penctl
