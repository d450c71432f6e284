#include "rendezvous/rendezvous_listener.h"

#include "pens/discovery_record.h"
#include "pens/supported_pens.h"
#include "sys/clock.h"
#include "sys/exceptions.h"
#include "sys/log.h"
#include "sys/thread.h"

#include <exception>
#include <string>

namespace zel {

namespace {

enum class PenChange : std::uint32_t { Arrived = ZEL_PEN_ARRIVED, Departed = ZEL_PEN_DEPARTED };

/** Makes the record for a callback. The host owns it from the callback on. */
DiscoveryRecord *makeRecord(const RendezvousEvent &event, PenChange change, std::uint32_t address)
{
    auto record = std::make_unique<DiscoveryRecord>();
    record->kind = static_cast<std::uint32_t>(change);
    record->penId = event.penId.number();
    record->serial = event.penId.serialText();
    record->brand = event.penBrand;
    record->swVersion = event.penSwVersion;
    record->serviceAddress = change == PenChange::Arrived ? address : 0;
    record->servicePort = change == PenChange::Arrived ? event.servicePort : std::uint16_t{0};
    record->vendorId = event.vendorId;
    record->productId = event.productId;
    record->dfu = event.dfu ? 1 : 0;
    return record.release();
}

/** A kill may fail to stop a thread that is inside a callback, and the listener may be gone when the callback
 *  returns. Therefore this function must not be a member and must not touch the listener afterwards. */
void callHost(PenArrivedCallback callback, DiscoveryHandle *record, void *context)
{
    const ForeignCode call;
    callback(record, context);
}

} // namespace

RendezvousListener::RendezvousListener(const ListenerProfile &profile, const net::Endpoint &server)
    : m_profile(profile), m_server(server)
{
    m_pRVClient = std::make_unique<RendezvousClient>(m_server, profile.dfuMode);
}

RendezvousListener::~RendezvousListener() = default;

void RendezvousListener::setCallbacks(PenArrivedCallback arrived, PenDepartedCallback departed,
                                      void *callbackContext) noexcept
{
    m_arrived = arrived;
    m_departed = departed;
    m_callbackContext = callbackContext;
}

bool RendezvousListener::StartRendezvous()
{
    if (m_thread) {
        m_thread->kill();
        m_thread.reset();
    }
    m_stopRequested = false;
    if (m_pRVClient)
        m_pRVClient->rearm();
    try {
        m_thread = makeThread();
    } catch (const std::exception &) { // no memory, or no descriptor for the thread's event
        return false;
    }
    m_thread->start();
    return true;
}

bool RendezvousListener::StopRendezvous()
{
    m_stopRequested = true;
    if (m_pRVClient)
        m_pRVClient->disconnectFromRendezvousServer();
    else
        LogDebug("CZELManager::StopRendezvous: m_pRVClient == NULL");
    if (!m_thread)
        return true;
    if (m_thread->isRunning() && !m_thread->waitUntilEnded(kStopTimeoutMilliseconds) && m_thread->kill())
        LogDebug("*** ", m_profile.threadName, " refused to stop and was killed ***");
    m_thread.reset();
    return true;
}

void RendezvousListener::serve()
{
    connectWithWait();
    announcePresentPens();
    while (!isStopRequested()) {
        handleNotifications();
        pauseFor(kPauseMilliseconds);
    }
}

void RendezvousListener::connectWithWait()
{
    // Deliberately, the loop connects and subscribes once more after a successful wait, on a new socket.
    while (!m_pRVClient->connectToRendezvousServer())
        m_pRVClient->waitForRendezvousServer();
}

void RendezvousListener::announcePresentPens()
{
    for (const RendezvousEvent &event : presentPens()) {
        // Test for a stop before every pen, so that a stop waits for one callback at most.
        if (isStopRequested())
            return;
        if (event.command != RendezvousCommand::Connect)
            continue;
        if (!IsSupportedPen(event.pspVersions, event.penSwVersion)) {
            // The pens after it in the list are not announced either. Hosts rely on this.
            LogInfo("Unsuported pen enumerated.");
            return;
        }
        announceArrival(event);
    }
}

std::vector<RendezvousEvent> RendezvousListener::presentPens()
{
    try {
        return m_pRVClient->enumerate();
    } catch (const ZELException &failure) {
        logFailure("processing rendezvous event", failure);
        return {};
    }
}

void RendezvousListener::handleNotifications()
{
    LogDebug(m_profile.listenerName, "::handleNotifications()");
    if (!isStopRequested())
        handleEvent(nextEvent());
}

RendezvousEvent RendezvousListener::nextEvent()
{
    try {
        return m_pRVClient->waitForRendezvousEvent();
    } catch (const ZELRendezvousShutDownException &) {
        throw ZELRendezvousShutDownException();
    } catch (const ZELException &failure) {
        logFailure("processing rendezvous event", failure);
        return {};
    }
}

void RendezvousListener::handleEvent(const RendezvousEvent &event)
{
    switch (event.command) {
    case RendezvousCommand::Connect:
        penArrived(event);
        return;
    case RendezvousCommand::Disconnect:
        penDeparted(event);
        return;
    case RendezvousCommand::ServerGone:
        LogWarning("Rendezvous server port was closed.");
        throw ZELRendezvousShutDownException();
    case RendezvousCommand::SocketShutDown:
        LogWarning("Rendezvous socket shutdown signalled.");
        return;
    case RendezvousCommand::Unknown:
        break;
    }
    LogError("Commmand not known");
}

void RendezvousListener::penArrived(const RendezvousEvent &event)
{
    LogDebug("New AbstractPen object created, but not added to PenManager");
    try {
        if (!IsSupportedPen(event.pspVersions, event.penSwVersion)) {
            LogInfo("Unsuported pen docked.");
            return;
        }
        announceArrival(event);
        LogInfo("Pen connected ", event.servicePort);
    } catch (const ZELException &failure) {
        logFailure("creating pen", failure);
    }
}

void RendezvousListener::penDeparted(const RendezvousEvent &event)
{
    try {
        if (!IsSupportedPen(event.pspVersions, event.penSwVersion)) {
            LogInfo("Unsuported pen undocked.");
            return;
        }
        announceDeparture(event);
    } catch (const PenNotConnectedException &failure) {
        logFailure("pen undocked", failure);
    }
    LogInfo("Pen disconnected ", event.servicePort);
}

void RendezvousListener::announceArrival(const RendezvousEvent &event)
{
    if (m_arrived == nullptr)
        return;
    callHost(m_arrived, makeRecord(event, PenChange::Arrived, m_server.address), m_callbackContext);
}

void RendezvousListener::announceDeparture(const RendezvousEvent &event)
{
    // This tests the arrival callback but calls the departure callback: a host without an arrival callback is
    // not told of departures either.
    if (m_arrived == nullptr)
        return;
    callHost(m_departed, makeRecord(event, PenChange::Departed, 0), m_callbackContext);
}

void RendezvousListener::logFailure(const char *what, const std::exception &failure) const
{
    LogError("[", m_profile.listenerName, "] ", what, " failed (", failure.what(), ")");
}

} // namespace zel
