#include "pen/claim.h"

#include <windows.h>

#include <fmt/format.h>

namespace penctl {

/** A name that all sessions share. Whoever made it lends it nothing but its existence. */
PenClaim::PenClaim(uint64_t penId)
{
    const std::string name = fmt::format("Global\\zel-firmware-upgrade-{:016x}", penId);
    const HANDLE handle = CreateMutexA(nullptr, FALSE, name.c_str());
    const DWORD error = GetLastError();
    if (handle)
        m_handle = reinterpret_cast<intptr_t>(handle);
    // Another user's cannot be opened.
    m_taken = error == ERROR_ALREADY_EXISTS || error == ERROR_ACCESS_DENIED;
}

PenClaim::~PenClaim()
{
    if (m_handle)
        CloseHandle(reinterpret_cast<HANDLE>(*m_handle));
}

} // namespace penctl
