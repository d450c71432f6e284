#include "ui/terminal.h"

#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <langinfo.h>
#include <memory>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace penctl {

namespace {

int descriptor(Stream stream)
{
    switch (stream) {
    case Stream::Input:
        return STDIN_FILENO;
    case Stream::Output:
        return STDOUT_FILENO;
    case Stream::Error:
        return STDERR_FILENO;
    }
    return STDERR_FILENO;
}

struct CloseFile {
    void operator()(std::FILE *file) const { std::fclose(file); }
};

/** The terminal whose echo is off, for the signal handler. */
int s_silentTerminal = -1;
termios s_echoing{};

/** Ends the process as the signal would have, with the echo back. */
void restoreEchoAndEnd(int signal)
{
    tcsetattr(s_silentTerminal, TCSANOW, &s_echoing);
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

/** Keeps the terminal from showing what is typed, and puts it back as it was on every way out, Ctrl-C among
 * them; one at a time. */
class EchoOff
{
public:
    explicit EchoOff(int terminal)
    {
        termios silent{};
        if (tcgetattr(terminal, &s_echoing) != 0)
            return;
        silent = s_echoing;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        s_silentTerminal = terminal;
        m_beforeInterrupt = std::signal(SIGINT, restoreEchoAndEnd);
        m_beforeTerminate = std::signal(SIGTERM, restoreEchoAndEnd);
        m_works = tcsetattr(terminal, TCSAFLUSH, &silent) == 0;
    }
    ~EchoOff()
    {
        if (s_silentTerminal < 0)
            return;
        tcsetattr(s_silentTerminal, TCSAFLUSH, &s_echoing);
        std::signal(SIGINT, m_beforeInterrupt);
        std::signal(SIGTERM, m_beforeTerminate);
        s_silentTerminal = -1;
    }
    EchoOff(const EchoOff &) = delete;
    EchoOff &operator=(const EchoOff &) = delete;

    bool works() const { return m_works; }

private:
    using Handler = void (*)(int);

    Handler m_beforeInterrupt = SIG_DFL;
    Handler m_beforeTerminate = SIG_DFL;
    bool m_works = false;
};

std::optional<std::string> readLine(std::FILE *file)
{
    std::string line;
    for (int c = std::fgetc(file); c != '\n'; c = std::fgetc(file)) {
        if (c == EOF)
            return std::nullopt;
        line.push_back(static_cast<char>(c));
    }
    return line;
}

} // namespace

std::vector<std::string> programArguments(int argc, char **argv)
{
    return {argv, argv + argc};
}

void prepareConsole()
{
    // Only what texts look like; numbers keep the form that scripts expect.
    std::setlocale(LC_CTYPE, "");
}

bool isTerminal(Stream stream)
{
    return isatty(descriptor(stream)) != 0;
}

std::size_t terminalWidth(Stream stream)
{
    winsize size{};
    if (ioctl(descriptor(stream), TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return size.ws_col;
    return 80;
}

bool showsUnicode(Stream)
{
    return std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
}

std::optional<std::string> readHiddenLine(const std::string &prompt)
{
    const std::unique_ptr<std::FILE, CloseFile> terminal(std::fopen("/dev/tty", "r+"));
    if (!terminal)
        return std::nullopt;
    const EchoOff silence(fileno(terminal.get()));
    if (!silence.works())
        return std::nullopt;
    std::fputs(prompt.c_str(), terminal.get());
    std::fflush(terminal.get());
    std::optional<std::string> line = readLine(terminal.get());
    std::fputc('\n', terminal.get());
    return line;
}

void makeStandardInputBinary() {}

} // namespace penctl
