// Whatever becomes of a call that is given a password or a key: when it returns, no part of that, and of what
// is made of it, is left in the memory of the process. That of the Windows build is not searched: the sources
// are the same, but for the wipe.
#include "allocation_watch.h"
#include "every_allocation.h"
#include "hash_steps.h"

#include "net/socket.h"
#include "pens/discovery_record.h"
#include "security/rijndael256.h"
#include "support/connected_pen.h"
#include "support/loopback.h"
#include "support/memory_search.h"
#include "support/stack_room.h"

#include "zel/zel.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <thread>
#include <unistd.h>

namespace faults {

namespace {

namespace wire = zel::test::wire;
using zel::test::Bytes;
using zel::test::MemorySearch;
using Finds = std::vector<MemorySearch::Find>;

// Sanitizers keep locals elsewhere than on the stack, freed blocks for a while, and copies of what passes
// through their functions.
#ifdef ZEL_SANITIZED
constexpr bool kMemoryIsTheProgramsOwn = false;
#else
constexpr bool kMemoryIsTheProgramsOwn = true;
#endif

constexpr std::size_t kPage = 4096;

/** The registers are not wiped. Whoever binds a function at its first call saves them on the stack, be it
 * long after the library's call: so everything is bound when the program starts. */
[[gnu::constructor]] void bindAtStart(int, char **arguments, char **)
{
    if (std::getenv("LD_BIND_NOW") == nullptr && setenv("LD_BIND_NOW", "1", 1) == 0)
        execv("/proc/self/exe", arguments);
}

/** A page that is gone, with all that was in it, when this is. */
class Page
{
public:
    Page()
        : m_bytes(static_cast<std::uint8_t *>(
              mmap(nullptr, kPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)))
    {
        EXPECT_NE(static_cast<void *>(m_bytes), MAP_FAILED);
    }
    ~Page() { munmap(m_bytes, kPage); }
    Page(const Page &) = delete;
    Page &operator=(const Page &) = delete;

    std::uint8_t *bytes() const noexcept { return m_bytes; }
    const char *text() const noexcept { return reinterpret_cast<const char *>(m_bytes); }

private:
    std::uint8_t *m_bytes;
};

/** A text that no other secret has a part of, and that stands nowhere until it is written out. */
class Secret
{
public:
    explicit Secret(std::size_t length) : m_seed(++s_count), m_length(length) {}

    std::span<const std::uint8_t> writeTo(std::uint8_t *place) const
    {
        std::uint64_t state = m_seed;
        for (std::size_t i = 0; i < m_length; ++i) {
            state = state * 0xD1342543DE82EF95 + 0x9E3779B97F4A7C15;
            *static_cast<volatile std::uint8_t *>(place + i) = // not left out, even if nobody reads it
                static_cast<std::uint8_t>((state >> 40) % 255 + 1);
        }
        return {place, m_length};
    }

    std::size_t length() const noexcept { return m_length; }

private:
    static inline std::uint64_t s_count = 0;

    std::uint64_t m_seed;
    std::size_t m_length;
};

/** A pen's service that reads no request: what it is sent stays with the system. */
class ForgetfulPen
{
public:
    ForgetfulPen()
    {
        const zel::DiscoveryRecord record = zel::test::arrivalAt(m_listener.port(), kSoftware);
        std::thread service([this] {
            m_socket = m_listener.accept();
            answer(wire::result(wire::boolean(false)));
            answer(wire::result(wire::short16(kSoftware)));
        });
        EXPECT_EQ(zelConnectPen(&record, &m_handle), ZEL_OK);
        service.join();
        const std::size_t asked =
            wire::request("R1GL").size() + wire::request("R1GP", {wire::short16(1)}).size();
        EXPECT_EQ(loopback::receiveExactly(m_socket, asked).size(), asked);
    }

    ~ForgetfulPen() { EXPECT_EQ(zelDisconnectPen(&m_handle), ZEL_OK); }
    ForgetfulPen(const ForgetfulPen &) = delete;
    ForgetfulPen &operator=(const ForgetfulPen &) = delete;

    PenHandle *handle() const noexcept { return m_handle; }

    /** To the next request, in advance. */
    void answer(const Bytes &bytes)
    {
        loopback::sendAll(m_socket, {reinterpret_cast<const char *>(bytes.data()), bytes.size()});
    }
    void end() { zel::net::shutdown(m_socket.get(), zel::net::ShutdownDirection::Send); }
    void reset() { loopback::reset(std::move(m_socket)); }

    /** The requests that were not read. */
    std::span<const std::uint8_t> readInto(const Page &page)
    {
        return {page.bytes(),
                static_cast<std::size_t>(std::max(0, zel::net::recv(m_socket.get(), page.bytes(), kPage)))};
    }

private:
    static constexpr std::uint16_t kSoftware = 0x0503;

    loopback::Listener m_listener;
    loopback::OwnedSocket m_socket;
    PenHandle *m_handle = nullptr;
};

/** A call that is given a password or, in its place, a key. */
struct Export {
    const char *name;
    std::uint32_t (*call)(PenHandle *pen, const char *password, const char *newPassword);
    std::vector<std::string_view> sends = {};
    std::uint32_t codeOfLockedPen = ZEL_ERR_PEN_LOCKED;
    std::uint32_t codeOfZero = ZEL_ERR_INVALID_ARGUMENT;
};

void PrintTo(const Export &each, std::ostream *out)
{
    *out << each.name;
}

const Export kUnlock = {
    .name = "zelUnlockPen",
    .call = [](PenHandle *pen, const char *password, const char *) { return zelUnlockPen(pen, password); },
    .sends = {"the digest"},
    .codeOfLockedPen = ZEL_ERR_UNEXPECTED};

const Export kSetPassword = {.name = "zelSetPasswordData",
                             .call =
                                 [](PenHandle *pen, const char *password, const char *newPassword) {
                                     return zelSetPasswordData(pen, password, newPassword, "the usual one");
                                 },
                             .sends = {"the digest", "the new password"}};

const Export kSetPasswordWithoutHint = {
    .name = "zelSetPasswordData", .call = [](PenHandle *pen, const char *password, const char *newPassword) {
        return zelSetPasswordData(pen, password, newPassword, nullptr);
    }};

const Export kRemovePassword = {.name = "zelRemovePasswordData",
                                .call = [](PenHandle *pen, const char *password,
                                           const char *) { return zelRemovePasswordData(pen, password); },
                                .sends = {"the digest"}};

struct HostBytes {
    explicit HostBytes(const char *text)
        : data(reinterpret_cast<const std::uint8_t *>(text)),
          length(static_cast<std::uint32_t>(std::strlen(text)))
    {
    }
    const std::uint8_t *data;
    std::uint32_t length;
};

const Export kInstallSigningKey = {.name = "zelInstallSigningKey",
                                   .call =
                                       [](PenHandle *pen, const char *key, const char *) {
                                           const HostBytes part(key);
                                           return zelInstallSigningKey(
                                               pen, 1, part.data, part.length, part.data, part.length,
                                               part.data, part.length, part.data, part.length, part.data,
                                               part.length, part.data, part.length, part.data, part.length,
                                               part.data, part.length);
                                       },
                                   .sends = {"the password"},
                                   .codeOfZero = ZEL_OK};

const Export kInstallAuthenticator = {.name = "zelInstallCertificateAuthenticator",
                                      .call =
                                          [](PenHandle *pen, const char *key, const char *) {
                                              const HostBytes part(key);
                                              return zelInstallCertificateAuthenticator(
                                                  pen, part.data, part.length, part.data, part.length);
                                          },
                                      .sends = {"the password"},
                                      .codeOfZero = ZEL_OK};

class SecretsInMemory : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!kMemoryIsTheProgramsOwn)
            GTEST_SKIP() << "the sanitizer's memory";
        give(100, 31);
    }

    /** Passwords of these lengths from now on. */
    void give(std::size_t password, std::size_t newPassword)
    {
        m_password = Secret(password);
        m_newPassword = Secret(newPassword);
        seek();
        zel::test::wipeStackRoom();
    }

    /** Makes the call, which sees the n-th allocation fail. */
    std::uint32_t call(const Export &made, PenHandle *pen, std::size_t n = 0,
                       Memory memory = Memory::FailsOnce)
    {
        const Page password;
        const Page newPassword;
        m_password.writeTo(password.bytes());
        m_newPassword.writeTo(newPassword.bytes());
        return zel::test::callBelowStackRoom([&] {
            const AllocationWatch watch;
            failAllocation(n, memory);
            return made.call(pen, password.text(), newPassword.text());
        });
    }

    void expectCode(std::uint32_t expected, const Export &made, PenHandle *pen)
    {
        const std::uint32_t code = call(made, pen);
        expectNothingLeft();
        EXPECT_EQ(code, expected);
    }

    void checkEveryAllocation(const Export &made, Memory memory)
    {
        const std::size_t failures = failEveryAllocation([&](std::size_t n) {
            ForgetfulPen pen;
            pen.answer(wire::status(1));
            pen.answer(wire::status(0));
            call(made, pen.handle(), n, memory);
            expectNothingLeft();
            return allocationHasFailed();
        });
        EXPECT_NE(failures, 0u);
    }

    void expectNothingLeft()
    {
        for (const MemorySearch::Find &find : m_search.run())
            ADD_FAILURE() << testing::PrintToString(find);
    }

    /** So many bytes of the password, or a few less; where it is not told, anywhere. */
    void expectFound(std::size_t length, std::string_view where = {})
    {
        const Finds finds = m_search.run();
        EXPECT_TRUE(std::ranges::any_of(finds, [&](const MemorySearch::Find &find) {
            return (where.empty() || find.where == where) && find.length <= length &&
                   find.length + 32 >= length;
        })) << testing::PrintToString(finds);
    }

    MemorySearch m_search;
    Secret m_password{0};
    Secret m_newPassword{0};

private:
    void seek()
    {
        const Page password;
        const Page newPassword;
        const auto text = m_password.writeTo(password.bytes());
        m_search.seekText("the password", text);
        m_search.seekText("the new password", m_newPassword.writeTo(newPassword.bytes()));
        showHashSteps(text, zel::test::kPenId, [this](const char *what, std::span<const std::uint8_t> bytes) {
            m_search.seekWords(what, bytes);
        });
    }

    zel::test::InitializedLibrary m_library;
};

class SecretsOfACall : public SecretsInMemory, public testing::WithParamInterface<Export>
{
protected:
    void expectCode(std::uint32_t expected, const ForgetfulPen &pen)
    {
        SecretsInMemory::expectCode(expected, GetParam(), pen.handle());
    }
};

/** Some bytes of .bss. */
std::uint8_t s_global[512];

} // namespace

// What is found when it is there, so that finding nothing says something.

TEST_F(SecretsInMemory, AreFoundOnTheHeap)
{
    const auto block = std::make_unique<std::uint8_t[]>(m_password.length());
    m_password.writeTo(block.get());
    expectFound(m_password.length(), "[heap]");
}

// But for what the heap itself writes into it.
TEST_F(SecretsInMemory, AreFoundInAFreedBlock)
{
    {
        const auto block = std::make_unique<std::uint8_t[]>(m_password.length());
        m_password.writeTo(block.get());
    }
    expectFound(m_password.length(), "[heap]");
}

TEST_F(SecretsInMemory, AreFoundOnTheDeadPartOfTheStack)
{
    zel::test::callBelowStackRoom([&] {
        std::uint8_t local[512];
        m_password.writeTo(local);
        return 0;
    });
    expectFound(m_password.length(), "[stack]");
}

TEST_F(SecretsInMemory, AreFoundOnTheStackOfAThread)
{
    std::thread([&] {
        std::uint8_t local[512];
        m_password.writeTo(local);
        expectFound(m_password.length());
    }).join();
}

TEST_F(SecretsInMemory, AreFoundInAGlobal)
{
    m_password.writeTo(s_global);
    expectFound(m_password.length());
}

TEST_F(SecretsInMemory, AreFoundInPagesOfTheSystem)
{
    const Page page;
    m_password.writeTo(page.bytes() + kPage - m_password.length());
    expectFound(m_password.length());
}

TEST_F(SecretsInMemory, AreFoundInAnyWidth)
{
    const Page page;
    const Page wide;
    const auto text = m_password.writeTo(page.bytes());
    for (const std::size_t width : {2u, 4u}) {
        std::fill_n(wide.bytes(), kPage, std::uint8_t{0});
        for (std::size_t i = 0; i < text.size(); ++i)
            wide.bytes()[i * width] = text[i];
        const Finds finds = m_search.in({wide.bytes(), kPage});
        ASSERT_EQ(finds.size(), 1u);
        EXPECT_EQ(finds[0].length, width * text.size());
    }
}

// As the library itself lays them out.
TEST_F(SecretsInMemory, AreFoundInAKeySchedule)
{
    const Page page;
    const auto text = m_password.writeTo(page.bytes());
    const zel::Rijndael256 cipher(text.first<32>());
    const Finds finds = m_search.in({reinterpret_cast<const std::uint8_t *>(&cipher), sizeof cipher});
    ASSERT_EQ(finds.size(), 2u);
    EXPECT_EQ(finds[0].what, std::string_view("the password"));
    EXPECT_EQ(finds[0].length, 32u);
    EXPECT_EQ(finds[1].what, std::string_view("a round key"));
    EXPECT_EQ(finds[1].length, 14 * 32u);
}

TEST_F(SecretsInMemory, AreNotFoundWhereThereAreNone)
{
    expectNothingLeft();
}

TEST_P(SecretsOfACall, AreGoneWhenThePenAccepts)
{
    ForgetfulPen pen;
    pen.answer(wire::status(1));
    pen.answer(wire::status(0));
    expectCode(ZEL_OK, pen);

    // And they were there to be found.
    const Page requests;
    const Finds finds = m_search.in(pen.readInto(requests));
    const std::pair<std::string_view, std::size_t> lengths[] = {{"the password", m_password.length()},
                                                                {"the new password", m_newPassword.length()},
                                                                {"the digest", 32}};
    for (const auto &[what, length] : lengths) {
        const bool sent =
            std::ranges::any_of(finds, [&, what = what, length = length](const MemorySearch::Find &find) {
                return find.what == what && find.length == length;
            });
        EXPECT_EQ(sent, std::ranges::count(GetParam().sends, what) != 0) << what;
    }
}

TEST_P(SecretsOfACall, AreGoneWhenThePenAnswersZero)
{
    ForgetfulPen pen;
    pen.answer(wire::status(0));
    pen.answer(wire::status(0));
    expectCode(GetParam().codeOfZero, pen);
}

TEST_P(SecretsOfACall, AreGoneWhenThePasswordIsLongerThanWhatCounts)
{
    give(300, 31);
    ForgetfulPen pen;
    pen.answer(wire::status(1));
    pen.answer(wire::status(0));
    expectCode(ZEL_OK, pen);
}

TEST_P(SecretsOfACall, AreGoneWhenThePenSaysItIsLocked)
{
    ForgetfulPen pen;
    pen.answer(wire::status(-9003));
    expectCode(GetParam().codeOfLockedPen, pen);
}

TEST_P(SecretsOfACall, AreGoneWhenTheAnswerIsNoValue)
{
    ForgetfulPen pen;
    pen.answer({0x63});
    expectCode(ZEL_ERR_UNEXPECTED, pen);
}

TEST_P(SecretsOfACall, AreGoneWhenTheConnectionEndsInTheAnswer)
{
    ForgetfulPen pen;
    Bytes half = wire::status(1);
    half.resize(half.size() / 2);
    pen.answer(half);
    pen.end();
    expectCode(ZEL_ERR_COMMUNICATION, pen);
}

TEST_P(SecretsOfACall, AreGoneWhenNothingCanBeSent)
{
    ForgetfulPen pen;
    pen.reset();
    expectCode(ZEL_ERR_COMMUNICATION, pen);
}

TEST_P(SecretsOfACall, AreGoneWhenThereIsNoConnection)
{
    const zel::DiscoveryRecord record = zel::test::arrivalAt(loopback::Listener().port(), 0x0503);
    PenHandle *pen = nullptr;
    EXPECT_EQ(zelConnectPen(&record, &pen), ZEL_ERR_UNEXPECTED);
    SecretsInMemory::expectCode(ZEL_ERR_COMMUNICATION, GetParam(), pen);
    EXPECT_EQ(zelDisconnectPen(&pen), ZEL_OK);
}

TEST_P(SecretsOfACall, AreGoneWhenAnAllocationFails)
{
    checkEveryAllocation(GetParam(), Memory::FailsOnce);
}

TEST_P(SecretsOfACall, AreGoneWhenTheMemoryRunsOut)
{
    checkEveryAllocation(GetParam(), Memory::StaysShort);
}

INSTANTIATE_TEST_SUITE_P(Exports, SecretsOfACall,
                         testing::Values(kUnlock, kSetPassword, kRemovePassword, kInstallSigningKey,
                                         kInstallAuthenticator),
                         [](const auto &each) { return std::string(each.param.name); });

TEST_F(SecretsInMemory, AreGoneWhenAKeyIsLargerThanTheBuffers)
{
    give(1000, 31);
    ForgetfulPen pen;
    pen.answer(wire::status(1));
    expectCode(ZEL_OK, kInstallSigningKey, pen.handle());
    checkEveryAllocation(kInstallSigningKey, Memory::FailsOnce);
}

// What is refused has been hashed before.

TEST_F(SecretsInMemory, AreGoneWhenTheNewPasswordIsTooLong)
{
    give(100, 32);
    const ForgetfulPen pen;
    expectCode(ZEL_ERR_INVALID_ARGUMENT, kSetPassword, pen.handle());
}

TEST_F(SecretsInMemory, AreGoneWhenThereIsNoHint)
{
    const ForgetfulPen pen;
    expectCode(ZEL_ERR_INVALID_ARGUMENT, kSetPasswordWithoutHint, pen.handle());
}

} // namespace faults
