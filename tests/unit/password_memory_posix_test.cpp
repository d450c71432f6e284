// What hashing a password leaves in memory. The hash runs on a thread whose stack is a block of this test,
// so that the whole of it can be searched afterwards.
#include "security/password_hash.h"
#include "sys/secure_wipe.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <pthread.h>

namespace {

constexpr std::size_t kStackSize = 1 << 20;
constexpr std::uint64_t kLockedPenId = 0x1122334455667788;

/** No eight bytes of it in a row stand twice in it. */
std::string password()
{
    std::string text;
    for (int i = 0; i < 100; ++i)
        text += static_cast<char>(0x21 + (i * 37) % 94);
    return text;
}

struct Job {
    std::string secret;
    void (*work)(Job &); // what the thread does
    zel::PasswordDigest digest{};
};

void hash(Job &job)
{
    job.digest = zel::hashPassword(job.secret.c_str(), kLockedPenId);
}

/** Leaves the secret on the stack, 7 KiB below its caller. */
[[gnu::noinline]] void copyCarelessly(Job &job)
{
    volatile char room[7 * 1024];
    for (std::size_t i = 0; i < job.secret.size(); ++i)
        room[i] = job.secret[i];
    job.digest[0] = static_cast<std::uint8_t>(room[0]);
}

void copyAndWipe(Job &job)
{
    copyCarelessly(job);
    zel::wipeStackBelow();
}

void copyAndHash(Job &job)
{
    copyCarelessly(job);
    hash(job);
}

void *run(void *argument)
{
    Job &job = *static_cast<Job *>(argument);
    job.work(job);
    return nullptr;
}

// Sanitizers keep locals elsewhere than on the stack, and copies of what passes through their functions.
#ifdef ZEL_SANITIZED
constexpr bool kStackIsTheProgramsOwn = false;
#else
constexpr bool kStackIsTheProgramsOwn = true;
#endif

class OwnStack
{
public:
    // Recycled heap memory holds what other tests left there.
    OwnStack() { std::memset(m_bytes.get(), 0, kStackSize); }

    void runJob(Job &job)
    {
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        ASSERT_EQ(pthread_attr_setstack(&attributes, m_bytes.get(), kStackSize), 0);
        pthread_t thread;
        ASSERT_EQ(pthread_create(&thread, &attributes, run, &job), 0);
        pthread_join(thread, nullptr);
        pthread_attr_destroy(&attributes);
    }

    bool holds(const std::string &bytes) const
    {
        const auto *begin = reinterpret_cast<const char *>(m_bytes.get());
        return std::search(begin, begin + kStackSize, bytes.begin(), bytes.end()) != begin + kStackSize;
    }

    /** Any run of so many bytes of the text, as it stands or as the words of a cipher, whose bytes are
     *  turned round. */
    bool holdsPartOf(const std::string &text, std::size_t length) const
    {
        for (std::size_t at = 0; at + length <= text.size(); ++at) {
            std::string part = text.substr(at, length);
            if (holds(part))
                return true;
            for (std::size_t i = 0; i + 4 <= length; i += 4)
                std::reverse(part.begin() + static_cast<std::ptrdiff_t>(i),
                             part.begin() + static_cast<std::ptrdiff_t>(i) + 4);
            if (holds(part))
                return true;
        }
        return false;
    }

private:
    struct Free {
        void operator()(std::byte *bytes) const { std::free(bytes); }
    };

    std::unique_ptr<std::byte, Free> m_bytes{static_cast<std::byte *>(std::aligned_alloc(4096, kStackSize))};
};

} // namespace

TEST(PasswordMemory, SearchFindsWhatIsLeft)
{
    if (!kStackIsTheProgramsOwn)
        GTEST_SKIP() << "the sanitizer's stack";
    OwnStack stack;
    Job job{.secret = password(), .work = copyCarelessly};
    stack.runJob(job);
    EXPECT_TRUE(stack.holdsPartOf(job.secret, 8));
}

TEST(PasswordMemory, HashingLeavesNoPartOfThePasswordOnTheStack)
{
    if (!kStackIsTheProgramsOwn)
        GTEST_SKIP() << "the sanitizer's stack";
    OwnStack stack;
    Job job{.secret = password(), .work = hash};
    stack.runJob(job);
    EXPECT_NE(job.digest, zel::PasswordDigest{});
    EXPECT_FALSE(stack.holdsPartOf(job.secret, 4));
}

TEST(PasswordMemory, WipedStackHoldsNothingAsFarAsEightKibibytesDown)
{
    if (!kStackIsTheProgramsOwn)
        GTEST_SKIP() << "the sanitizer's stack";
    OwnStack stack;
    Job job{.secret = password(), .work = copyAndWipe};
    stack.runJob(job);
    EXPECT_FALSE(stack.holdsPartOf(job.secret, 8));
}

// Whatever the compiler made of it: what functions below the hash may have left goes with its end.
TEST(PasswordMemory, HashingWipesTheStackBelowItself)
{
    if (!kStackIsTheProgramsOwn)
        GTEST_SKIP() << "the sanitizer's stack";
    OwnStack stack;
    Job job{.secret = password(), .work = copyAndHash};
    stack.runJob(job);
    EXPECT_FALSE(stack.holdsPartOf(job.secret, 8));
}
