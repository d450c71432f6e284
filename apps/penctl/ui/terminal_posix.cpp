#include "ui/terminal.h"

#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <initializer_list>
#include <langinfo.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <thread>
#include <unistd.h>

#include "ui/interrupt.h"

namespace penctl {

namespace {

/** The terminal whose echo is off, for the handler of Ctrl-Z; -1 for none. */
int s_terminal = -1;
termios s_echoing{};
termios s_silent{};
struct sigaction s_beforeStop {
};

/** Handles SIGTSTP: the echo is on while this program is stopped, because others use the terminal then. */
void stopWithEcho(int)
{
    const int error = errno;
    tcsetattr(s_terminal, TCSANOW, &s_echoing);
    raise(SIGSTOP);
    tcsetattr(s_terminal, TCSANOW, &s_silent);
    errno = error;
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
    return isatty(static_cast<int>(stream)) != 0;
}

std::size_t terminalWidth(Stream stream)
{
    winsize size{};
    if (ioctl(static_cast<int>(stream), TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return size.ws_col;
    return 80;
}

bool showsUnicode(Stream)
{
    return std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
}

PromptTerminal::PromptTerminal() : m_input(open("/dev/tty", O_RDWR | O_CLOEXEC)), m_output(m_input) {}

PromptTerminal::~PromptTerminal()
{
    showTyping();
    if (isOpen())
        close(static_cast<int>(m_input));
}

bool PromptTerminal::hideTyping() const
{
    const int terminal = static_cast<int>(m_input);
    if (tcgetattr(terminal, &s_echoing) != 0)
        return false;
    s_silent = s_echoing;
    s_silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    sigaction(SIGTSTP, nullptr, &s_beforeStop);
    s_terminal = terminal;
    if (s_beforeStop.sa_handler != SIG_IGN) {
        struct sigaction stop {
        };
        stop.sa_handler = stopWithEcho;
        stop.sa_flags = SA_RESTART;
        sigaction(SIGTSTP, &stop, nullptr);
    }
    return tcsetattr(terminal, TCSAFLUSH, &s_silent) == 0;
}

void PromptTerminal::showTyping() const
{
    if (s_terminal < 0)
        return;
    // In the background the terminal belongs to another program.
    if (tcgetpgrp(s_terminal) == getpgrp())
        tcsetattr(s_terminal, TCSAFLUSH, &s_echoing);
    sigaction(SIGTSTP, &s_beforeStop, nullptr);
    s_terminal = -1;
}

void PromptTerminal::write(std::string_view text) const
{
    [[maybe_unused]] const ssize_t written = ::write(static_cast<int>(m_output), text.data(), text.size());
}

void PromptTerminal::endLine() const
{
    write("\n");
}

std::optional<std::string> PromptTerminal::readLine() const
{
    std::string line;
    for (char c = 0; c != '\n';) {
        if (read(static_cast<int>(m_input), &c, 1) != 1)
            return std::nullopt;
        line.push_back(c);
    }
    line.pop_back();
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
