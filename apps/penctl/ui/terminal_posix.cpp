#include "ui/terminal.h"

#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <initializer_list>
#include <langinfo.h>
#include <memory>
#include <sys/ioctl.h>
#include <termios.h>
#include <thread>
#include <unistd.h>

#include "ui/interrupt.h"

namespace penctl {

namespace {

int descriptorOf(Stream stream)
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

struct CloseTerminal {
    void operator()(std::FILE *terminal) const { std::fclose(terminal); }
};

/** The terminal whose echo is off, for the handler of Ctrl-Z. */
int s_terminal = -1;
termios s_echoing{};
termios s_silent{};

/** Handles SIGTSTP: the echo is on while this program is stopped, because others use the terminal then. */
void stopWithEcho(int)
{
    const int error = errno;
    tcsetattr(s_terminal, TCSANOW, &s_echoing);
    raise(SIGSTOP);
    tcsetattr(s_terminal, TCSANOW, &s_silent);
    errno = error;
}

/** Does nothing in the background, where the terminal belongs to another program. */
void restoreEcho()
{
    if (tcgetpgrp(s_terminal) == getpgrp())
        tcsetattr(s_terminal, TCSAFLUSH, &s_echoing);
}

/** Switches the echo of the terminal off, and back on however the prompt ends. One object at a time. */
class EchoOff
{
public:
    explicit EchoOff(int terminal)
    {
        if (tcgetattr(terminal, &s_echoing) != 0)
            return;
        s_terminal = terminal;
        s_silent = s_echoing;
        s_silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        m_onInterrupt.emplace([] {
            restoreEcho();
            return std::string();
        });
        handleStop();
        m_works = tcsetattr(terminal, TCSAFLUSH, &s_silent) == 0;
    }
    ~EchoOff()
    {
        if (s_terminal < 0)
            return;
        restoreEcho();
        sigaction(SIGTSTP, &m_beforeStop, nullptr);
        s_terminal = -1;
    }
    EchoOff(const EchoOff &) = delete;
    EchoOff &operator=(const EchoOff &) = delete;

    bool works() const { return m_works; }

private:
    void handleStop()
    {
        sigaction(SIGTSTP, nullptr, &m_beforeStop);
        if (m_beforeStop.sa_handler == SIG_IGN)
            return;
        struct sigaction stop {
        };
        stop.sa_handler = stopWithEcho;
        stop.sa_flags = SA_RESTART;
        sigaction(SIGTSTP, &stop, nullptr);
    }

    std::optional<OnInterrupt> m_onInterrupt;
    struct sigaction m_beforeStop {
    };
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

/** Opens descriptors 0 to 2 that are closed: the next file to be opened would get that number, and with it
 * what is meant for the user. They are opened in the wrong direction, so that using them still fails. */
void occupyStandardDescriptors()
{
    for (const int wanted : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(wanted, F_GETFD) < 0)
            open("/dev/null", wanted == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

bool isIgnored(int signal)
{
    struct sigaction action {
    };
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

} // namespace

void prepareConsole()
{
    occupyStandardDescriptors();
    // LC_CTYPE alone: numbers keep the form that scripts expect.
    std::setlocale(LC_CTYPE, "");
}

void restoreConsole() {}

bool isTerminal(Stream stream)
{
    return isatty(descriptorOf(stream)) != 0;
}

std::size_t terminalWidth(Stream stream)
{
    winsize size{};
    if (ioctl(descriptorOf(stream), TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return size.ws_col;
    return 80;
}

bool showsUnicode(Stream)
{
    return std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
}

std::optional<std::string> askLine(const std::string &prompt, Echo echo)
{
    const std::unique_ptr<std::FILE, CloseTerminal> terminal(std::fopen("/dev/tty", "r+"));
    if (!terminal)
        return std::nullopt;
    const int descriptor = fileno(terminal.get());
    const OnInterrupt leaveLine([descriptor] {
        [[maybe_unused]] const ssize_t written = write(descriptor, "\n", 1);
        return std::string();
    });
    std::optional<EchoOff> silence;
    if (echo == Echo::Off && !silence.emplace(descriptor).works())
        return std::nullopt;
    std::fputs(prompt.c_str(), terminal.get());
    std::fflush(terminal.get());
    std::optional<std::string> line = readLine(terminal.get());
    if (echo == Echo::Off)
        std::fputc('\n', terminal.get());
    return line;
}

void makeStandardInputBinary() {}

void listenForInterrupts()
{
    // Writing to a closed pipe then fails, and does not end the process.
    std::signal(SIGPIPE, SIG_IGN);
    sigset_t ending;
    sigemptyset(&ending);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT})
        if (!isIgnored(signal)) // by nohup, or by a shell for a command in the background
            sigaddset(&ending, signal);
    // Later threads inherit the mask, so that only the thread below takes these signals.
    pthread_sigmask(SIG_BLOCK, &ending, nullptr);
    std::thread([ending] {
        int signal = 0;
        while (sigwait(&ending, &signal) != 0) {
        }
        interrupt();
    }).detach();
}

void leaveNow(int exitCode)
{
    _exit(exitCode);
}

} // namespace penctl
