#include "listener_modes.h"

#include "dfu/dfu_listener.h"
#include "session/manager.h"

#include <ostream>

namespace faults {

namespace {

zel::RendezvousListener &createManager(const zel::net::Endpoint &server)
{
    zel::setManager(std::make_unique<zel::CZELManager>(server));
    return *zel::manager();
}

zel::RendezvousListener &createDfuListener(const zel::net::Endpoint &server)
{
    zel::setDfuListener(std::make_unique<zel::DfuRendezvousListener>(server));
    return *zel::dfuListener();
}

std::uint32_t initialise(PenArrivedCallback announced)
{
    return zelInitialize(announced, announced, nullptr);
}

std::uint32_t initialiseDfu(PenArrivedCallback announced)
{
    return zelDfuInit(nullptr, announced, announced);
}

} // namespace

const ListenerMode kPens = {"Pens", "*** RendezvousThread started ***", createManager, initialise, zelExit};
const ListenerMode kFirmware = {"Firmware", "*** CDfuRendezvousThread started ***", createDfuListener,
                                initialiseDfu, zelDfuExit};

void PrintTo(const ListenerMode &mode, std::ostream *out)
{
    *out << mode.name;
}

std::string nameOfMode(const testing::TestParamInfo<ListenerMode> &mode)
{
    return mode.param.name;
}

} // namespace faults
