#include "pen_world.h"

#include "pensim/request.h"

#include <algorithm>
#include <array>
#include <string>
#include <system_error>
#include <thread>

namespace soak {

using pensim::Bytes;
using pensim::Ending;
using pensim::Reply;
using pensim::Value;

namespace {

constexpr const char *kPassword = "geheim";

Bytes randomBytes(Random &random, std::size_t longest)
{
    Bytes bytes(random.below(longest + 1));
    for (auto &byte : bytes)
        byte = static_cast<Bytes::value_type>(random.next());
    return bytes;
}

pensim::PageSpec page(Random &random, std::uint64_t number)
{
    const std::size_t size = random.oneIn(20) ? 1u << 20 : static_cast<std::size_t>(random.below(20000));
    return {.address = pensim::pageAddress(1, 2, 3, number, 0xfff),
            .strokes = Value::binary(pensim::generatedStrokes(size, number))};
}

pensim::PenSpec pen(Random &random, std::uint64_t id)
{
    static constexpr std::array<std::uint64_t, 4> kSoftware{0x0501, 0x0502, 0x0503, 0x0601};
    // Below the ports that the system gives to clients: one of those could take a port that is to be listened
    // on again.
    pensim::PenSpec spec{
        .id = id, .softwareVersion = random.pick(kSoftware), .port = static_cast<std::uint16_t>(20000 + id)};
    if (spec.softwareVersion <= 0x0503 && random.oneIn(3))
        spec.protocols = {"PSP40"};
    for (std::uint64_t i = random.below(8); i != 0; --i)
        spec.pages.push_back(page(random, i));
    if (random.oneIn(2))
        spec.styloPages.push_back(page(random, 20));
    if (random.oneIn(4))
        spec.password = kPassword;
    if (random.oneIn(2))
        spec.encryptedData = randomBytes(random, 5000);
    return spec;
}

std::int32_t randomStatus(Random &random)
{
    static constexpr std::array<std::int32_t, 8> kStatuses{-9001, -9002,     -9003, -4013,
                                                           -1,    INT32_MIN, 1,     INT32_MAX};
    return random.pick(kStatuses);
}

// Whatever answer it is, the exchange ends.
Reply randomReply(Random &random)
{
    switch (random.below(6)) {
    case 0:
        return Reply::withStatus(randomStatus(random));
    case 1:
        return Reply::cut(random.below(200));
    case 2:
        return Reply::withBytes(randomBytes(random, 300)).then(Ending::close);
    case 3:
        return Reply::closing();
    case 4:
        return Reply::resetting();
    default:
        return Reply::normal().after(std::chrono::milliseconds(random.below(20)));
    }
}

std::uint32_t randomInstruction(Random &random)
{
    namespace instruction = pensim::instruction;
    static constexpr std::array kInstructions{instruction::getProperty,
                                              instruction::getProperty,
                                              instruction::setProperty,
                                              instruction::listPages,
                                              instruction::beginSyncSession,
                                              instruction::endSyncSession,
                                              instruction::getPage,
                                              instruction::getStylo,
                                              instruction::setMmiState,
                                              instruction::removePage,
                                              instruction::clearStrokes,
                                              instruction::lockStatus,
                                              instruction::unlock,
                                              instruction::setPassword,
                                              instruction::getHint,
                                              instruction::setHint,
                                              instruction::hasEncryptedData,
                                              instruction::getEncryptedData,
                                              instruction::clearEncryptedData};
    return random.pick(kInstructions);
}

// A port that was just listened on may be in use a moment longer.
template <class Listen>
void onceThePortIsFree(const Listen &listen)
{
    for (;;) {
        try {
            listen();
            return;
        } catch (const std::system_error &) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    }
}

std::vector<pensim::PenSpec> pens(Random &random)
{
    std::vector<pensim::PenSpec> specs;
    const std::uint64_t count = 1 + random.below(4);
    for (std::uint64_t id = 1; id <= count; ++id)
        specs.push_back(pen(random, 0x100 + id));
    specs.push_back({.id = 0x200, .dfuMode = true});
    return specs;
}

} // namespace

PenWorld::PenWorld(Random &random) : m_service({.record = false}, {.pens = pens(random)})
{
    onceThePortIsFree([&] { m_service.start(); });
}

void PenWorld::disturb(Random random, const std::atomic<bool> &end)
{
    while (!end) {
        std::this_thread::sleep_for(std::chrono::microseconds(random.below(8000)));
        disturbOnce(random);
    }
}

void PenWorld::disturbOnce(Random &random)
{
    const std::vector<pensim::Pen *> pens = m_service.pens();
    if (random.oneIn(6))
        disturbRendezvous(random);
    else
        disturbPen(random, *random.pick(pens));
}

void PenWorld::disturbPen(Random &random, pensim::Pen &pen)
{
    switch (random.below(10)) {
    case 0:
        if (pen.docked())
            m_service.undock(pen.id());
        break;
    case 1:
        if (!pen.docked())
            onceThePortIsFree([&] { m_service.redock(pen.id()); });
        break;
    case 2:
        pen.closeConnections(random.oneIn(2) ? Ending::close : Ending::reset);
        break;
    case 3:
        onceThePortIsFree([&, refuse = random.oneIn(4)] { pen.refuseConnections(refuse); });
        break;
    case 4:
        pen.setSyncBusy(random.oneIn(4));
        break;
    case 5:
        pen.setPassword(random.oneIn(2) ? kPassword : "", "");
        break;
    case 6:
        pen.onConnection(randomReply(random), 1);
        break;
    case 7:
        pen.clearRules();
        break;
    default:
        pen.onInstruction(randomInstruction(random), randomReply(random), 1 + random.below(3));
        break;
    }
}

void PenWorld::disturbRendezvous(Random &random)
{
    pensim::Rendezvous &rendezvous = m_service.rendezvous();
    const Bytes garbage = randomBytes(random, 3000);
    switch (random.below(6)) {
    case 0:
        rendezvous.shutDown(random.oneIn(2) ? Ending::close : Ending::reset);
        onceThePortIsFree([&] { rendezvous.listen(); });
        break;
    case 1:
        rendezvous.closeConnections(random.oneIn(2) ? Ending::close : Ending::reset);
        break;
    case 2:
        rendezvous.setFragments(random.below(4), std::chrono::milliseconds(random.below(2)));
        break;
    case 3:
        rendezvous.send({reinterpret_cast<const char *>(garbage.data()), garbage.size()});
        break;
    case 4:
        rendezvous.onList(Reply::withBytes(garbage).then(Ending::close), 1);
        break;
    default:
        rendezvous.onConnection(randomReply(random), 1);
        break;
    }
}

void PenWorld::calmDown()
{
    m_service.rendezvous().clearRules();
    m_service.rendezvous().setFragments(0, {});
    for (pensim::Pen *pen : m_service.pens()) {
        pen->clearRules();
        pen->setPassword("", "");
        pen->setSyncBusy(false);
        onceThePortIsFree([&] { pen->refuseConnections(false); });
        pen->closeConnections(Ending::close);
        pen->addPage(
            {.address = pensim::pageAddress(1, 2, 3, 40, 0xfff), .strokes = Value::binary(knownStrokes())});
        if (!pen->docked())
            onceThePortIsFree([&] { m_service.redock(pen->id()); });
    }
    // Garbage may stand between a subscriber and the next notification: it starts again, with a list.
    m_service.rendezvous().closeConnections(Ending::close);
}

std::vector<std::uint64_t> PenWorld::penIds()
{
    std::vector<std::uint64_t> ids;
    for (const pensim::Pen *pen : m_service.pens())
        if (!pen->dfuMode())
            ids.push_back(pen->id());
    return ids;
}

Bytes PenWorld::knownStrokes()
{
    return pensim::generatedStrokes(1000, 4711);
}

} // namespace soak
