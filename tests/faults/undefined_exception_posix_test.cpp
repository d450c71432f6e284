// The exports that talk to no pen catch what nobody expects there, and tell it. Two things make it happen: an
// allocation that fails, and a log observer that throws.
#include "allocation_watch.h"

#include "dfu/dfu_client.h"
#include "dfu/dfu_listener.h"
#include "psp/psp_client2.h"
#include "session/pen_handle.h"
#include "support/connected_pen.h"
#include "sys/log.h"

#include "zel/zel.h"

#include <gtest/gtest.h>

#include <ostream>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace faults {

namespace {

std::vector<std::string> s_reported;
bool s_throws = false;

void onLog(zel::LogLevel level, std::string_view text)
{
    if (level == zel::LogLevel::Error)
        s_reported.emplace_back(text);
    else if (s_throws)
        throw std::runtime_error("a log observer's own");
}

void noAnnouncement(DiscoveryHandle *, void *) {}

// zelDisconnectPen, zelDfuDisconnectPen and the zelFree... functions have no case: nothing that they call can
// throw.
template <class Client>
constexpr bool kDisconnectsWithoutThrowing = noexcept(std::declval<Client &>().setPenConnected(
                                                 false)) &&noexcept(std::declval<Client &>().disconnect()) &&
                                             std::is_nothrow_destructible_v<Client>;
static_assert(kDisconnectsWithoutThrowing<zel::PspClient2>);
static_assert(kDisconnectsWithoutThrowing<zel::DfuClient>);

enum class Cause { FailingAllocation, ThrowingObserver };

struct Case {
    const char *name;
    Cause cause;
    /** Those of the firmware-upgrade mode share the ordinary ones' texts. */
    const char *text;
    std::uint32_t (*call)();
};

void PrintTo(const Case &each, std::ostream *out)
{
    *out << each.name;
}

std::uint32_t getApiVersion()
{
    char *text = nullptr;
    return zelGetApiVersion(&text);
}

std::uint32_t getDevicePenSerial()
{
    const zel::DiscoveryRecord record = zel::test::arrivalAt(1, 0x0503);
    char *text = nullptr;
    return zelGetDevicePenSerial(&record, &text);
}

std::uint32_t getPenSerial()
{
    PenHandle pen;
    pen.serial = "AKZ-AQ7-APS-AC";
    char *text = nullptr;
    return zelGetPenSerial(&pen, &text);
}

const Case kCases[] = {
    {"zelGetApiVersion", Cause::FailingAllocation, "zelGetApiVersion caught an undefined exception.",
     getApiVersion},
    {"zelGetDevicePenSerial", Cause::FailingAllocation,
     "zelGetDevicePenSerial caught an undefined exception.", getDevicePenSerial},
    {"zelGetPenSerial", Cause::ThrowingObserver, "zelGetPenSerial caught an undefined exception.",
     getPenSerial},
    {"zelEnumeratePens", Cause::ThrowingObserver, "zelEnumeratePens caught an undefined exception.",
     zelEnumeratePens},
    {"zelExit", Cause::ThrowingObserver, "zelExit caught an undefined exception.", zelExit},
    {"zelDfuExit", Cause::ThrowingObserver, "zelExit caught an undefined exception.", zelDfuExit},
};

const Case kStarts[] = {
    {"zelInitialize", Cause::ThrowingObserver, "zelInitialize caught an undefined exception.",
     [] { return zelInitialize(noAnnouncement, noAnnouncement, nullptr); }},
    {"zelDfuInit", Cause::ThrowingObserver, "zelDfuInit caught an undefined exception.",
     [] { return zelDfuInit(nullptr, noAnnouncement, noAnnouncement); }},
};

std::uint32_t callWith(const Case &each)
{
    const AllocationWatch watch;
    if (each.cause == Cause::FailingAllocation)
        failAllocation(1, Memory::FailsOnce);
    s_throws = each.cause == Cause::ThrowingObserver;
    const std::uint32_t code = each.call();
    s_throws = false;
    return code;
}

void expectUndefinedException(const Case &each)
{
    s_reported.clear();
    zel::setLogObserver(onLog);
    EXPECT_EQ(callWith(each), ZEL_ERR_UNEXPECTED);
    zel::setLogObserver(nullptr);
    EXPECT_EQ(s_reported, std::vector<std::string>{each.text});
}

class UndefinedException : public testing::TestWithParam<Case>
{
};

class UndefinedExceptionAtTheStart : public testing::TestWithParam<Case>
{
};

} // namespace

TEST_P(UndefinedException, IsToldWithTheNameOfTheExport)
{
    const zel::test::InitializedLibrary library;
    zel::setDfuListener(std::make_unique<zel::DfuRendezvousListener>());
    expectUndefinedException(GetParam());
    EXPECT_EQ(zelDfuExit(), ZEL_OK);
}

TEST_P(UndefinedExceptionAtTheStart, IsToldWithTheNameOfTheExport)
{
    expectUndefinedException(GetParam());
    EXPECT_EQ(zelExit(), ZEL_OK);
    EXPECT_EQ(zelDfuExit(), ZEL_OK);
}

INSTANTIATE_TEST_SUITE_P(Exports, UndefinedException, testing::ValuesIn(kCases),
                         [](const auto &each) { return each.param.name; });
INSTANTIATE_TEST_SUITE_P(Exports, UndefinedExceptionAtTheStart, testing::ValuesIn(kStarts),
                         [](const auto &each) { return each.param.name; });

} // namespace faults
