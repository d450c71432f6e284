#include "protocol/addresses/pidget_address.h"

#include <cstdlib>

namespace zel {

namespace {

// Converts to 64 bits, then cuts. atoi() gives different results on different platforms for large numbers.
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
