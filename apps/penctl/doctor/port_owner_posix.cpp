#include "doctor/port_owner.h"

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string_view>
#include <system_error>

#include <fmt/format.h>

namespace penctl {

namespace {

namespace fs = std::filesystem;

// As /proc/net writes 127.0.0.1, any address, and both of IPv6.
constexpr std::string_view kReachable[] = {"0100007F", "00000000", "0000000000000000FFFF00000100007F",
                                           "00000000000000000000000000000000"};
constexpr const char *kListening = "0A";

/** Adds the sockets that listen at the port, as the files of a process show them: "socket:[4711]". */
void addListeners(const char *table, uint16_t port, std::set<std::string> &sockets)
{
    std::ifstream lines(table);
    std::string line;
    while (std::getline(lines, line)) {
        std::string number, local, remote, state, queues, timer, retries, user, timeout, inode;
        std::istringstream(line) >> number >> local >> remote >> state >> queues >> timer >> retries >>
            user >> timeout >> inode;
        for (const std::string_view address : kReachable)
            if (state == kListening && local == fmt::format("{}:{:04X}", address, port))
                sockets.insert(fmt::format("socket:[{}]", inode));
    }
}

bool hasOneOf(const fs::path &process, const std::set<std::string> &sockets)
{
    std::error_code denied;
    for (fs::directory_iterator file(process / "fd", denied), end; !denied && file != end;
         file.increment(denied)) {
        std::error_code gone;
        if (sockets.contains(fs::read_symlink(file->path(), gone).string()))
            return true;
    }
    return false;
}

std::string programOf(const fs::path &process)
{
    std::string name;
    std::ifstream file(process / "comm");
    std::getline(file, name);
    return name;
}

} // namespace

std::optional<PortOwner> ownerOfPort(uint16_t port)
{
    std::set<std::string> sockets;
    addListeners("/proc/net/tcp", port, sockets);
    addListeners("/proc/net/tcp6", port, sockets);
    std::error_code denied;
    for (fs::directory_iterator process("/proc", denied), end; !denied && process != end;
         process.increment(denied)) {
        const std::string number = process->path().filename().string();
        if (number.find_first_not_of("0123456789") == std::string::npos && hasOneOf(process->path(), sockets))
            return PortOwner{std::stoull(number), programOf(process->path())};
    }
    return std::nullopt;
}

} // namespace penctl
