#include "doctor/port_owner.h"

#include <cstddef>
#include <filesystem>
#include <vector>

#include <winsock2.h>

#include <iphlpapi.h>
#include <windows.h>

namespace penctl {

namespace {

std::string programOf(DWORD process)
{
    const HANDLE handle = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, process);
    if (handle == nullptr)
        return {};
    std::vector<wchar_t> path(32768);
    auto length = static_cast<DWORD>(path.size());
    const bool known = QueryFullProcessImageNameW(handle, 0, path.data(), &length) != 0;
    CloseHandle(handle);
    if (!known)
        return {};
    const std::u8string name = std::filesystem::path(path.data(), path.data() + length).filename().u8string();
    return {name.begin(), name.end()};
}

} // namespace

std::optional<PortOwner> ownerOfPort(uint16_t port)
{
    ULONG size = 0;
    std::vector<std::max_align_t> block;
    DWORD result = ERROR_INSUFFICIENT_BUFFER;
    // The table may grow between two calls.
    for (int i = 0; i < 5 && result == ERROR_INSUFFICIENT_BUFFER; ++i) {
        block.resize(size / sizeof(std::max_align_t) + 1);
        result = GetExtendedTcpTable(block.data(), &size, FALSE, AF_INET, TCP_TABLE_OWNER_PID_LISTENER, 0);
    }
    if (result != NO_ERROR)
        return std::nullopt;
    const auto *table = reinterpret_cast<const MIB_TCPTABLE_OWNER_PID *>(block.data());
    for (DWORD i = 0; i < table->dwNumEntries; ++i) {
        const MIB_TCPROW_OWNER_PID &row = table->table[i];
        const bool reachable = row.dwLocalAddr == htonl(INADDR_LOOPBACK) || row.dwLocalAddr == INADDR_ANY;
        if (reachable && ntohs(static_cast<u_short>(row.dwLocalPort)) == port && row.dwOwningPid != 0)
            return PortOwner{row.dwOwningPid, programOf(row.dwOwningPid)};
    }
    return std::nullopt;
}

} // namespace penctl
