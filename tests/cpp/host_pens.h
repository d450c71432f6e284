#pragma once

#include "pensim/service.h"
#include "support/wire.h"

#include <zel/zel.hpp>

#include <chrono>
#include <gtest/gtest.h>
#include <string>
#include <vector>

/** What the tests of the C++ headers share: pens, and how long a test waits for what must come. */
namespace cpphost {

using namespace std::chrono_literals;
using zelpp::Errc;
using Bytes = zel::test::Bytes;
using Strings = std::vector<std::string>;

constexpr std::chrono::milliseconds kPatience = 30s;
/** Longer than the silence that ends a listing. */
constexpr std::chrono::milliseconds kSettled = 1500ms;

constexpr std::uint64_t kPenId = 0x12300abcdef;
constexpr const char *kSerial = "AKZ-AQ7-APS-AC";

inline pensim::PageSpec page(const char *address, std::size_t size)
{
    return {
        pensim::parsePageAddress(address), pensim::Value::binary(pensim::generatedStrokes(size, size)), {}};
}

/** A pen with pages of which the address of one occurs within those of two others. */
inline pensim::PenSpec penWithPages(std::uint64_t id = kPenId)
{
    pensim::PenSpec spec;
    spec.id = id;
    spec.brand = "Brand";
    spec.softwareVersion = 0x0601;
    spec.pages = {page("11.2.3.45", 300), page("2.1.2.3.4", 5000), page("0.2.3.4", 7),
                  page("1.2.3.4", 200000)};
    spec.styloPages = {page("0.9.9.9", 20)};
    return spec;
}

inline Strings addressesOf(const zelpp::PageData &data)
{
    Strings addresses;
    for (const zelpp::Page &page : data)
        addresses.push_back(page.address());
    return addresses;
}

inline Strings serialsOf(const std::vector<zelpp::PenInfo> &pens)
{
    Strings serials;
    for (const zelpp::PenInfo &pen : pens)
        serials.push_back(pen.serial);
    return serials;
}

/** The reason that a call throws, or 0 when it does not. */
template <class Call>
Errc thrown(Call call)
{
    try {
        call();
    } catch (const zelpp::Error &error) {
        return error.reason();
    }
    return Errc{};
}

/** A service with one pen, a library, and the pen connected. */
class ConnectedPen : public testing::Test
{
protected:
    void SetUp() override
    {
        m_service.start();
        m_pen = &m_service.pen(kPenId);
    }

    zelpp::Pen connect() { return m_library.connect(m_library.wait(kPatience)); }

    pensim::Service m_service{{}, {{penWithPages()}, {}}};
    pensim::Pen *m_pen = nullptr;
    zelpp::Library m_library;
};

} // namespace cpphost
