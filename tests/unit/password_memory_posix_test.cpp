// What hashing a password leaves in memory. The hash runs on a thread whose stack is a block of this test,
// so that the whole of it can be searched afterwards.
#include "security/password_hash.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <pthread.h>

namespace {

constexpr std::size_t kStackSize = 1 << 20;
constexpr std::uint64_t kPenId = 0x1122334455667788;

/** No eight bytes of it in a row stand twice in it. */
std::string password()
{
    std::string text;
    for (int i = 0; i < 100; ++i)
        text += static_cast<char>(0x21 + (i * 37) % 94);
    return text;
}

/** What the thread does: it hashes a password, or keeps a careless copy. */
struct Job {
    std::string secret;
    zel::PasswordDigest digest{};
    bool hashes = true;
};

void *run(void *argument)
{
    Job &job = *static_cast<Job *>(argument);
    if (job.hashes) {
        job.digest = zel::hashPassword(job.secret.c_str(), kPenId);
    } else {
        volatile char copy[128];
        for (std::size_t i = 0; i < job.secret.size(); ++i)
            copy[i] = job.secret[i];
        job.digest[0] = static_cast<std::uint8_t>(copy[0]);
    }
    return nullptr;
}

// Sanitizers keep locals elsewhere than on the stack, and copies of what passes through their functions.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
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
    Job job{.secret = password(), .hashes = false};
    stack.runJob(job);
    EXPECT_TRUE(stack.holdsPartOf(job.secret, 8));
}

TEST(PasswordMemory, HashingLeavesNoPartOfThePasswordOnTheStack)
{
    if (!kStackIsTheProgramsOwn)
        GTEST_SKIP() << "the sanitizer's stack";
    OwnStack stack;
    Job job{.secret = password()};
    stack.runJob(job);
    EXPECT_NE(job.digest, zel::PasswordDigest{});
    EXPECT_FALSE(stack.holdsPartOf(job.secret, 4));
}
