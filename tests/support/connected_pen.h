#pragma once

#include "pens/discovery_record.h"
#include "support/scripted_pen.h"

#include "zel/zel.h"

#include <cstdint>
#include <string>

namespace zel::test {

/** The library, initialised as long as this lives, with a listener that was never started: nothing
 *  announces pens, and no thread mixes its log texts with those of the test. */
class InitializedLibrary
{
public:
    InitializedLibrary();
    ~InitializedLibrary();
    InitializedLibrary(const InitializedLibrary &) = delete;
    InitializedLibrary &operator=(const InitializedLibrary &) = delete;
};

inline constexpr std::uint64_t kPenId = 0x12300ABCDEF;
inline constexpr const char *kPenSerial = "AKZ-AQ7-APS-AC";

/** The record of an arrival of the scripted pen, without USB ids. */
DiscoveryRecord arrivalOf(const ScriptedPen &service, std::uint16_t softwareVersion);
/** Likewise, of a pen with another service on that port. */
DiscoveryRecord arrivalAt(std::uint16_t servicePort, std::uint16_t softwareVersion);

/** A scripted pen and the library's handle on it. Connecting finds an unlocked pen; its requests are
 *  forgotten. Needs an initialised library. */
class ConnectedPen
{
public:
    static constexpr std::uint16_t kNewSoftware = 0x0503;

    explicit ConnectedPen(std::uint16_t softwareVersion = kNewSoftware);
    ~ConnectedPen();
    ConnectedPen(const ConnectedPen &) = delete;
    ConnectedPen &operator=(const ConnectedPen &) = delete;

    ScriptedPen &service() noexcept { return m_service; }
    PenHandle *handle() const noexcept { return m_handle; }
    /** Ends the connection, forgets what the service was asked, and connects afresh. */
    void reconnect();

private:
    void connect();

    ScriptedPen m_service;
    std::uint16_t m_softwareVersion;
    PenHandle *m_handle = nullptr;
};

/** A text that the library handed out, released with it. */
class HandedText
{
public:
    ~HandedText() { zelFreeString(&m_text); }
    char **out() noexcept { return &m_text; }
    bool isNull() const noexcept { return m_text == nullptr; }
    std::string text() const { return m_text; }

private:
    char *m_text = nullptr;
};

} // namespace zel::test
