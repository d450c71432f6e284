#include "common/measured.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace zel::bench {

namespace {

/** A figure of /proc/self/status in bytes. Uses plain read(), because nothing here may allocate memory. */
std::size_t statusBytes(const char *field)
{
    char text[4096] = {};
    const int file = open("/proc/self/status", O_RDONLY | O_CLOEXEC);
    const ssize_t length = read(file, text, sizeof text - 1);
    close(file);
    const char *const found = length > 0 ? std::strstr(text, field) : nullptr;
    return found == nullptr ? 0 : std::strtoul(found + std::strlen(field), nullptr, 10) * 1024;
}

void resetHighWaterMark()
{
    const int file = open("/proc/self/clear_refs", O_WRONLY | O_CLOEXEC);
    if (write(file, "5", 1) != 1)
        std::fprintf(stderr, "the high-water mark of memory cannot be reset\n");
    close(file);
}

std::chrono::duration<double> timeOf(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

using ReadCounts = void (*)(std::uint64_t *);

ReadCounts counter()
{
    static const auto found = reinterpret_cast<ReadCounts>(dlsym(RTLD_DEFAULT, "zelBenchReadCounts"));
    return found;
}

Counts countsNow()
{
    Counts counts{};
    if (const ReadCounts readCounts = counter())
        readCounts(counts.data());
    return counts;
}

} // namespace

Measured::Measured(const Settings &settings)
{
    const auto server = static_cast<pid_t>(settings.number("server", 0));
    m_hasServer = server != 0 && clock_getcpuclockid(server, &m_serverClock) == 0;
    resetHighWaterMark();
    m_residentBefore = statusBytes("VmRSS:");
    m_before = countsNow();
    m_processorTime = processorTime();
    m_start = std::chrono::steady_clock::now();
}

std::chrono::duration<double> Measured::processorTime() const
{
    const std::chrono::duration<double> own = timeOf(CLOCK_PROCESS_CPUTIME_ID);
    return m_hasServer ? own + timeOf(m_serverClock) : own;
}

void Measured::stop()
{
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - m_start;
    const std::chrono::duration<double> processor = processorTime() - m_processorTime;
    const Counts after = countsNow();
    const std::size_t peak = statusBytes("VmHWM:");
    tell("seconds", taken.count());
    tell("processor_seconds", processor.count());
    tell("peak", peak > m_residentBefore ? static_cast<double>(peak - m_residentBefore) : 0.0);
    if (counter() == nullptr)
        return;
    static constexpr const char *kNames[kCounts] = {"allocations", "receives", "sends", "empty_sends"};
    for (std::size_t i = 0; i < kCounts; ++i)
        tell(kNames[i], static_cast<double>(after[i] - m_before[i]));
}

} // namespace zel::bench
