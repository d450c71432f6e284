#pragma once

#include "protocol/addresses/page_address.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace zel {

/** The address of a printed button (pidget): a page address and a number, "1.2.3.4:549". */
class PidgetAddress
{
public:
    PidgetAddress() noexcept : m_page(std::uint64_t{0}) {}
    PidgetAddress(const PageAddress &page, std::uint16_t number) noexcept : m_page(page), m_number(number) {}
    /** The number is optional. It is read as by strtoll() and cut to 16 bits. Throws as PageAddress does. */
    explicit PidgetAddress(std::string_view text);

    const PageAddress &page() const noexcept { return m_page; }
    std::uint16_t number() const noexcept { return m_number; }
    std::string toString() const;

private:
    PageAddress m_page;
    std::uint16_t m_number = 0;
};

} // namespace zel
