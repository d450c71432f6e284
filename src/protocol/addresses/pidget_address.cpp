#include "protocol/addresses/pidget_address.h"

#include <cstdlib>

namespace zel {

namespace {

// 64 bits wide on every platform, then cut: the C library's int conversion differs between platforms
// beyond its range.
std::uint16_t toPidgetNumber(std::string_view text)
{
    return static_cast<std::uint16_t>(std::strtoll(std::string(text).c_str(), nullptr, 10));
}

} // namespace

PidgetAddress::PidgetAddress(std::string_view text) : PidgetAddress()
{
    if (text.empty())
        return;
    const std::size_t colon = text.find(':');
    m_page = PageAddress(text.substr(0, colon));
    if (colon != std::string_view::npos)
        m_number = toPidgetNumber(text.substr(colon + 1));
}

std::string PidgetAddress::toString() const
{
    return m_page.toString() + ":" + std::to_string(m_number);
}

} // namespace zel
