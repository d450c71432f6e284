#include "fuzz/fake_sockets.h"

#include "pens/discovery_record.h"
#include "rendezvous/rendezvous_listener.h"
#include "sys/exceptions.h"
#include "sys/thread.h"

#include <memory>

namespace {

constexpr zel::ListenerProfile kProfile{"RendezvousListener", "RendezvousThread", false};

/** The listener's work, without its thread and its pauses. */
class Listener : public zel::RendezvousListener
{
public:
    Listener() : RendezvousListener(kProfile, kRendezvousServer) {}

    void run()
    {
        if (!m_pRVClient->connectToRendezvousServer())
            return;
        announcePresentPens();
        // A server that fails without closing would be asked for ever.
        constexpr int kMostNotifications = 64;
        for (int i = 0; i < kMostNotifications; ++i)
            handleNotifications();
    }

protected:
    std::unique_ptr<zel::LThread> makeThread() override { return nullptr; }
};

void requireSound(const zel::DiscoveryRecord &record)
{
    ZEL_FUZZ_REQUIRE(record.brand.size() <= 127);
    ZEL_FUZZ_REQUIRE(record.brand.find('\r') == std::string::npos);
    ZEL_FUZZ_REQUIRE(!record.serial.empty());
    ZEL_FUZZ_REQUIRE(record.dfu <= 1);
}

void arrived(DiscoveryHandle *handle, void *)
{
    const std::unique_ptr<zel::DiscoveryRecord> record(static_cast<zel::DiscoveryRecord *>(handle));
    ZEL_FUZZ_REQUIRE(record->kind == ZEL_PEN_ARRIVED);
    ZEL_FUZZ_REQUIRE(record->serviceAddress == zel::RendezvousListener::kRendezvousServer.address);
    requireSound(*record);
}

void departed(DiscoveryHandle *handle, void *)
{
    const std::unique_ptr<zel::DiscoveryRecord> record(static_cast<zel::DiscoveryRecord *>(handle));
    ZEL_FUZZ_REQUIRE(record->kind == ZEL_PEN_DEPARTED);
    ZEL_FUZZ_REQUIRE(record->serviceAddress == 0 && record->servicePort == 0);
    requireSound(*record);
}

} // namespace

// Whatever the rendezvous server sends, in whatever pieces, each pen that is announced has a sound record
// and the listener ends by its own exceptions.
ZEL_FUZZ_TARGET(rendezvous)
{
    zel::fuzz::FakePeer server(zel::fuzz::stepsFrom(input));
    {
        Listener listener;
        listener.setCallbacks(arrived, departed, nullptr);
        try {
            listener.run();
        } catch (const zel::ZELRendezvousException &) {
        }
    }
    ZEL_FUZZ_REQUIRE(server.openSockets() == 0);
}
