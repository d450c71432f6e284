/* SPDX-License-Identifier: MIT */
/** zel in C++: finds digital pens and talks to them.
 *
 *      zelpp::Library library;
 *      zelpp::Pen pen = library.connect(library.wait());
 *      pen.fetchAll().save("pages.zel");
 *
 *  Built on zel.h alone, which describes what the functions mean; header-only.
 *
 *  - Ownership. A Library starts the C library. Its pens keep the C library running, and the last of these
 *    objects stops it, in whatever order they are destroyed. Texts, lists and pens that are returned belong
 * to the host. Page data owns the library's block and releases it by itself.
 *  - Threads. The library's own thread never runs code of the host; it only records what was announced. The
 *    host asks for it with Library::pens(), wait() and Events. Several threads may use a Library or an Events
 *    at once; a Pen may be used by one thread at a time, different pens by different threads.
 *  - Blocking. An operation of a Pen blocks until its exchanges, which zel.h names, are done. There is no
 *    time limit.
 *  - Errors. error.hpp: exceptions, or Results from the twins whose names begin with "try".
 *  - Time limits accept every type that converts to milliseconds: `10s`.
 *
 *  C++17. page_data.hpp reads what a retrieval returns; firmware.hpp is for pens in firmware-upgrade mode. */
#ifndef ZEL_ZEL_HPP
#define ZEL_ZEL_HPP

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <deque>
#include <functional>
#include <iterator>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include <zel/error.hpp>
#include <zel/page_data.hpp>
#include <zel/zel.h>

namespace zelpp {
inline namespace ZELPP_VARIANT {

/** A pen as it was announced. Plain data, without a connection: it may be copied and kept for any time. */
struct PenInfo {
    std::uint64_t penId = 0;      ///< the pen's identity
    std::string serial;           ///< the identity as people read it: "AKZ-AQ7-APS-AC"
    std::uint16_t vendorId = 0;   ///< USB vendor id; 0 in firmware-upgrade mode
    std::uint16_t productId = 0;  ///< USB product id; 0 in firmware-upgrade mode
    bool firmwareUpgrade = false; ///< whether it announced itself in firmware-upgrade mode

    /** Whether both are the same pen. */
    friend bool operator==(const PenInfo &a, const PenInfo &b) noexcept { return a.penId == b.penId; }
    /** Whether they are different pens. */
    friend bool operator!=(const PenInfo &a, const PenInfo &b) noexcept { return !(a == b); }
};

/** What happened to a pen. */
struct PenEvent {
    /** The kinds of events. */
    enum class Kind {
        arrived,  ///< the pen is present from now on
        repeated, ///< announced again while present: the pen service was away; connections to it may be lost
        departed, ///< the pen is no longer present
    };

    Kind kind = Kind::arrived; ///< what happened
    PenInfo pen;               ///< to which pen
};

/** A text for the pen: a literal, a char pointer or a std::string; borrowed for the call. A std::string
 *  with a NUL inside cannot be sent and counts as an invalid argument. */
class Text
{
public:
    /** A NUL-terminated text. */
    Text(const char *text) noexcept : m_text(text) {} // NOLINT(google-explicit-constructor)
    /** The text of a string. */
    Text(const std::string &text) noexcept // NOLINT(google-explicit-constructor)
        : m_text(text.find('\0') == std::string::npos ? text.c_str() : nullptr)
    {
    }

    /** The text, or null when it cannot be sent. */
    const char *get() const noexcept { return m_text; }

private:
    const char *m_text;
};

namespace detail {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/** The library does not say when a listing of pens is complete. It counts as complete when no pen was
 * announced for this time. */
constexpr milliseconds kQuiet{1000};

/** When a time limit ends. Limits beyond a year count as a year, so that the sum cannot overflow. */
inline Clock::time_point deadlineAfter(milliseconds limit)
{
    constexpr milliseconds longest = std::chrono::hours(24 * 365);
    return Clock::now() + (std::min)(limit, longest);
}

/** Keeps a rule of zel.h: while the library is started, stopped or made to enumerate its pens, no other
 * function of it may run. These three run in alone(), which waits until no other function is inside, and lets
 * none in until it is done. The others call enter() and leave(). While alone() still waits, others may enter,
 * so a thread that is inside may enter a second time. */
class Gate
{
public:
    void enter()
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return !m_isAlone; });
        ++m_inside;
    }
    void leave()
    {
        const std::lock_guard lock(m_mutex);
        if (--m_inside == 0)
            m_changed.notify_all();
    }
    template <class Function>
    std::uint32_t alone(Function function)
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return !m_isAlone && m_inside == 0; });
        m_isAlone = true;
        lock.unlock();
        const std::uint32_t code = function();
        lock.lock();
        m_isAlone = false;
        m_changed.notify_all();
        return code;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::size_t m_inside = 0;
    bool m_isAlone = false;
};

/** Marks that a function of the library is running. */
class Inside
{
public:
    explicit Inside(Gate &gate) : m_gate(gate) { m_gate.enter(); }
    ~Inside() { m_gate.leave(); }
    Inside(const Inside &) = delete;
    Inside &operator=(const Inside &) = delete;

private:
    Gate &m_gate;
};

class Core;

/** One of the library's two modes: its functions, and the Core while it is started. There is one object for
 * each mode in the process. It is never destroyed, because global objects of the host may need it until the
 * end. */
struct Mode {
    std::uint32_t (*start)(Core &core);
    std::uint32_t (*stop)();
    std::uint32_t (*restart)(Core &core);
    /** Fills in what the record says of the pen. Called on the library's thread. */
    void (*describe)(const DiscoveryHandle &record, PenInfo &pen);
    const char *startName;
    const char *restartName;

    Gate gate{};
    std::mutex mutex{};
    std::condition_variable changed{};
    bool isRunning = false;
    std::weak_ptr<Core> core{};
};

/** A text that the library allocated; the destructor releases it. */
class LibraryText
{
public:
    LibraryText() = default;
    ~LibraryText() { zelFreeString(&m_text); }
    LibraryText(const LibraryText &) = delete;
    LibraryText &operator=(const LibraryText &) = delete;

    char **out() noexcept { return &m_text; }
    std::string str() const { return m_text != nullptr ? m_text : ""; }

private:
    char *m_text = nullptr;
};

struct FreeRecord {
    void operator()(DiscoveryHandle *record) const noexcept { zelFreeDiscoveryHandle(&record); }
};
using OwnedRecord = std::unique_ptr<DiscoveryHandle, FreeRecord>;
using SharedRecord = std::shared_ptr<const DiscoveryHandle>;

/** The events that one Events has not returned yet; guarded by the Core's mutex. */
struct EventQueue {
    std::deque<PenEvent> events;
    bool isClosed = false;
};

inline bool sameSerial(std::string_view a, std::string_view b) noexcept
{
    const auto upper = [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [&](char x, char y) { return upper(x) == upper(y); });
}

/** The started library in one mode, and the list of the pens present, which the library itself does not
 *  keep. The host's Library and everything that needs the library started share it; the last owner stops the
 *  library. */
class Core
{
public:
    explicit Core(Mode &mode) : m_mode(mode) {}
    Core(const Core &) = delete;
    Core &operator=(const Core &) = delete;
    ~Core()
    {
        if (!m_isStarted)
            return;
        m_mode.gate.alone(m_mode.stop);
        const std::lock_guard lock(m_mode.mutex);
        m_mode.isRunning = false;
        m_mode.changed.notify_all();
    }

    /** The Core of the mode that is started, or else a fresh one. */
    static Result<std::shared_ptr<Core>> get(Mode &mode)
    {
        auto fresh = std::make_shared<Core>(mode);
        {
            std::unique_lock lock(mode.mutex);
            std::shared_ptr<Core> present;
            // A Core that has no owner any more may still be stopping the library.
            mode.changed.wait(lock, [&] {
                present = mode.core.lock();
                return present || !mode.isRunning;
            });
            if (present)
                return present;
            mode.isRunning = true;
        }
        const std::uint32_t code = mode.gate.alone([&] { return mode.start(*fresh); });
        const std::lock_guard lock(mode.mutex);
        mode.isRunning = code == ZEL_OK;
        fresh->m_isStarted = mode.isRunning;
        mode.changed.notify_all();
        if (code != ZEL_OK)
            return Error(static_cast<Errc>(code), mode.startName);
        mode.core = fresh;
        return fresh;
    }

    /** Both callbacks of the library. */
    static void ZEL_CALL announced(DiscoveryHandle *handle, void *core) noexcept
    {
        OwnedRecord record(handle);
#if ZELPP_HAS_EXCEPTIONS
        try {
            static_cast<Core *>(core)->file(std::move(record));
        } catch (...) { // no memory: the pen stays unknown until it is announced again
        }
#else
        static_cast<Core *>(core)->file(std::move(record));
#endif
    }

    Gate &gate() noexcept
    {
        return m_mode.gate;
    }

    std::vector<PenInfo> pens()
    {
        const std::lock_guard lock(m_mutex);
        settle();
        std::vector<PenInfo> pens;
        pens.reserve(m_pens.size());
        for (const Present &present : m_pens)
            pens.push_back(present.info);
        return pens;
    }

    /** The latest record of a pen's arrival; null when the pen is not present. */
    SharedRecord record(std::uint64_t penId)
    {
        const std::lock_guard lock(m_mutex);
        const auto present = find(penId);
        return present == m_pens.end() ? nullptr : present->record;
    }

    std::optional<PenInfo> wait(std::string_view serial, milliseconds limit)
    {
        std::unique_lock lock(m_mutex);
        std::optional<PenInfo> found;
        waitUntil(lock, deadlineAfter(limit), [&] {
            for (const Present &present : m_pens) {
                if (serial.empty() || sameSerial(present.info.serial, serial)) {
                    found = present.info;
                    return true;
                }
            }
            return false;
        });
        return found;
    }

    /** Waits for the first pen, and then until no further pen was announced for the time `quiet`. */
    void waitForListing(milliseconds limit, milliseconds quiet)
    {
        std::unique_lock lock(m_mutex);
        waitUntil(lock, deadlineAfter(limit), [&] { return !m_pens.empty(); });
        while (!m_pens.empty() && Clock::now() < m_lastArrival + quiet)
            m_changed.wait_until(lock, m_lastArrival + quiet);
    }

    std::shared_ptr<EventQueue> subscribe()
    {
        auto queue = std::make_shared<EventQueue>();
        const std::lock_guard lock(m_mutex);
        settle();
        for (const Present &present : m_pens)
            queue->events.push_back({PenEvent::Kind::arrived, present.info});
        m_queues.push_back(queue);
        return queue;
    }

    std::optional<PenEvent> next(EventQueue &queue, milliseconds limit)
    {
        std::unique_lock lock(m_mutex);
        waitUntil(lock, deadlineAfter(limit), [&] { return queue.isClosed || !queue.events.empty(); });
        if (queue.isClosed || queue.events.empty())
            return std::nullopt;
        PenEvent event = std::move(queue.events.front());
        queue.events.pop_front();
        return event;
    }

    bool isClosed(const EventQueue &queue)
    {
        const std::lock_guard lock(m_mutex);
        return queue.isClosed;
    }

    void close(EventQueue &queue)
    {
        const std::lock_guard lock(m_mutex);
        queue.isClosed = true;
        m_changed.notify_all();
    }

    /** Has every pen announced again. Pens that are not announced within kQuiet count as departed. */
    Result<void> refresh()
    {
        const std::uint32_t code = m_mode.gate.alone([this] {
            {
                const std::lock_guard lock(m_mutex);
                openBurst(Clock::now());
                m_isResync = true;
                m_changed.notify_all();
            }
            return m_mode.restart(*this);
        });
        if (code != ZEL_OK)
            return Error(static_cast<Errc>(code), m_mode.restartName);
        return {};
    }

private:
    struct Present {
        PenInfo info;
        SharedRecord record;
        bool isConfirmed;
    };

    std::vector<Present>::iterator find(std::uint64_t penId)
    {
        return std::find_if(m_pens.begin(), m_pens.end(),
                            [penId](const Present &present) { return present.info.penId == penId; });
    }

    void file(OwnedRecord record)
    {
        PenInfo info;
        info.penId = record->penId;
        m_mode.describe(*record, info);
        const std::lock_guard lock(m_mutex);
        settle();
        if (record->kind == ZEL_PEN_ARRIVED)
            arrive(std::move(info), std::move(record));
        else
            depart(find(info.penId));
        m_changed.notify_all();
    }

    /** If a pen is announced although it is present, the pen service was away and now lists its pens again.
     * The listing has no end mark: it is complete when no pen was announced for kQuiet. Pens that were not in
     * it have departed. Pens that came shortly before the first repeated one belong to the listing too. */
    void arrive(PenInfo info, OwnedRecord record)
    {
        const Clock::time_point now = Clock::now();
        m_lastArrival = now;
        if (!m_burstEnd)
            openBurst(now);
        m_burstEnd = now + kQuiet;
        const auto present = find(info.penId);
        const bool isRepeated = present != m_pens.end();
        m_isResync = m_isResync || isRepeated;
        tell({isRepeated ? PenEvent::Kind::repeated : PenEvent::Kind::arrived, info});
        if (isRepeated)
            *present = {std::move(info), std::move(record), true};
        else
            m_pens.push_back({std::move(info), std::move(record), true});
    }

    void depart(std::vector<Present>::iterator present)
    {
        if (present == m_pens.end())
            return;
        tell({PenEvent::Kind::departed, present->info});
        m_pens.erase(present);
    }

    void openBurst(Clock::time_point now)
    {
        m_burstEnd = now + kQuiet;
        m_isResync = false;
        for (Present &present : m_pens)
            present.isConfirmed = false;
    }

    /** Ends a burst of arrivals whose time is over. No thread waits for that moment, so every function that
     * reads or changes the list calls this first. */
    void settle()
    {
        if (!m_burstEnd || Clock::now() < *m_burstEnd)
            return;
        m_burstEnd.reset();
        if (!m_isResync)
            return;
        for (std::size_t i = m_pens.size(); i-- > 0;)
            if (!m_pens[i].isConfirmed)
                depart(m_pens.begin() + static_cast<std::ptrdiff_t>(i));
    }

    void tell(const PenEvent &event)
    {
        for (std::size_t i = m_queues.size(); i-- > 0;) {
            if (const std::shared_ptr<EventQueue> queue = m_queues[i].lock())
                queue->events.push_back(event);
            else
                m_queues.erase(m_queues.begin() + static_cast<std::ptrdiff_t>(i));
        }
    }

    /** Waits until the condition holds, or the time is over. */
    template <class Condition>
    void waitUntil(std::unique_lock<std::mutex> &lock, Clock::time_point deadline, Condition condition)
    {
        for (;;) {
            settle();
            if (condition() || Clock::now() >= deadline)
                return;
            m_changed.wait_until(lock, m_burstEnd ? (std::min)(deadline, *m_burstEnd) : deadline);
        }
    }

    Mode &m_mode;
    bool m_isStarted = false;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<Present> m_pens;
    Clock::time_point m_lastArrival;
    std::optional<Clock::time_point> m_burstEnd;
    bool m_isResync = false;
    std::vector<std::weak_ptr<EventQueue>> m_queues;
};

inline Mode &ordinaryMode()
{
    static Mode &mode = *new Mode{
        [](Core &core) {
            const std::uint32_t code = zelInitialize(&Core::announced, &Core::announced, &core);
            // A listener that could not be started leaves the library initialised.
            if (code != ZEL_OK && code != ZEL_ERR_ALREADY_INITIALIZED)
                zelExit();
            return code;
        },
        [] { return zelExit(); },
        [](Core &) { return zelEnumeratePens(); },
        [](const DiscoveryHandle &record, PenInfo &pen) {
            LibraryText serial;
            zelGetDevicePenSerial(&record, serial.out());
            pen.serial = serial.str();
            // For older pens the function returns "not supported", but sets both numbers nevertheless.
            zelGetDeviceVidAndPid(&record, &pen.vendorId, &pen.productId);
        },
        "zelInitialize",
        "zelEnumeratePens",
    };
    return mode;
}

/** A handle of a pen, and the Core that it needs. Move-only. The destructor disconnects; the library stops
 * later.
 */
template <class Handle, std::uint32_t(ZEL_CALL *Disconnect)(Handle **)>
class Connection
{
public:
    Connection(std::shared_ptr<Core> core, Handle *handle) noexcept
        : m_core(std::move(core)), m_handle(handle)
    {
    }
    Connection(Connection &&other) noexcept
        : m_core(std::move(other.m_core)), m_handle(std::exchange(other.m_handle, nullptr))
    {
    }
    Connection &operator=(Connection &&other) noexcept
    {
        if (this != &other) {
            close();
            m_core = std::move(other.m_core);
            m_handle = std::exchange(other.m_handle, nullptr);
        }
        return *this;
    }
    ~Connection() { close(); }

    void close() noexcept
    {
        call([this] { return Disconnect(&m_handle); });
        m_handle = nullptr;
        m_core.reset();
    }

    bool isOpen() const noexcept { return m_handle != nullptr; }
    Handle *handle() const noexcept { return m_handle; }

    /** Calls a function of the library. The arguments are those that follow the handle. */
    template <class... Parameters, class... Arguments>
    std::uint32_t call(std::uint32_t(ZEL_CALL *function)(Handle *, Parameters...),
                       Arguments... arguments) const
    {
        return call([&] { return function(m_handle, arguments...); });
    }
    template <class Function>
    std::uint32_t call(const Function &function) const
    {
        if (m_handle == nullptr)
            return ZEL_ERR_INVALID_ARGUMENT;
        const Inside inside(m_core->gate());
        return function();
    }

private:
    std::shared_ptr<Core> m_core;
    Handle *m_handle;
};

inline Error failure(std::uint32_t code, const char *operation, const std::string &detail = {})
{
    return {static_cast<Errc>(code), operation, detail};
}

inline Result<void> done(std::uint32_t code, const char *operation)
{
    if (code != ZEL_OK)
        return failure(code, operation);
    return {};
}

} // namespace detail

/** The version of the library's API, as zelGetApiVersion returns it: "1.0.0.0_6". Needs no Library. */
inline std::string apiVersion()
{
    detail::LibraryText text;
    zelGetApiVersion(text.out());
    return text.str();
}

/** Arrivals and departures of pens, one after the other, for a loop or a thread of the host:
 *
 *      for (const zelpp::PenEvent &event : library.events())
 *          std::cout << event.pen.serial << '\n';
 *
 *  The first events are arrivals of the pens that are present. Every Events object gets all events, and keeps
 *  those that nobody has taken yet. Any thread may call close(), which ends the loop; everything else is for
 * one thread at a time. Keeps the library running. */
class Events
{
public:
    class Iterator;

    Events(Events &&) noexcept = default;            ///< Takes over the events that nobody has taken yet.
    Events &operator=(Events &&) noexcept = default; ///< \copydoc Events(Events&&)
    ~Events() = default;

    /** The next event; nothing if none comes within the time, or after close(). */
    std::optional<PenEvent> next(std::chrono::milliseconds limit) { return m_core->next(*m_queue, limit); }
    /** Ends the loop that waits for the next event; no event comes any more. Any thread may call it. */
    void close() { m_core->close(*m_queue); }

    /** Waits for the first event. */
    Iterator begin();
    /** Where the loop ends: after close(). */
    Iterator end() noexcept;

private:
    friend class Discovery;
    explicit Events(std::shared_ptr<detail::Core> core)
        : m_core(std::move(core)), m_queue(m_core->subscribe())
    {
    }

    std::shared_ptr<detail::Core> m_core;
    std::shared_ptr<detail::EventQueue> m_queue;
};

/** Goes through the events; each step waits for the next one. */
class Events::Iterator
{
public:
    using iterator_category = std::input_iterator_tag; ///< Each event is seen once.
    using value_type = PenEvent;                       ///< An event.
    using difference_type = std::ptrdiff_t;            ///< Distances have no use here.
    using pointer = const PenEvent *;                  ///< To the event.
    using reference = const PenEvent &;                ///< To the event.

    reference operator*() const noexcept { return *m_event; } ///< The event.
    pointer operator->() const noexcept { return &*m_event; } ///< A member of the event.
    /** Waits for the next event. */
    Iterator &operator++()
    {
        do
            m_event = m_events->next((std::chrono::milliseconds::max)());
        while (!m_event && !m_events->m_core->isClosed(*m_events->m_queue));
        return *this;
    }
    /** Waits for the next event. */
    void operator++(int) { ++*this; }
    /** Whether both are at the end. */
    friend bool operator==(const Iterator &a, const Iterator &b) noexcept
    {
        return a.m_event.has_value() == b.m_event.has_value();
    }
    /** Whether one is at the end and the other is not. */
    friend bool operator!=(const Iterator &a, const Iterator &b) noexcept { return !(a == b); }

private:
    friend class Events;
    explicit Iterator(Events *events) noexcept : m_events(events) {}

    Events *m_events;
    std::optional<PenEvent> m_event;
};

inline Events::Iterator Events::begin()
{
    return ++Iterator(this);
}

inline Events::Iterator Events::end() noexcept
{
    return Iterator(this);
}

/** The pens present: what Library and DfuLibrary have in common. Any thread may use it.
 *
 *  The list is made from the announcements. A pen service that was away announces its pens again when it
 * comes back. A pen that it does not announce then counts as departed one second after the last announcement.
 * While the service is away the list does not change. If the service comes back with none of these pens, the
 * list does not change either, until the host calls refresh(). */
class Discovery
{
public:
    Discovery(Discovery &&) noexcept = default;            ///< Takes over; the library keeps running.
    Discovery &operator=(Discovery &&) noexcept = default; ///< \copydoc Discovery(Discovery&&)

    /** The pens present now, in the order of their arrival. A library that has just been started knows none
     *  yet: wait(), discover(), events(). */
    std::vector<PenInfo> pens() const { return m_core->pens(); }

    /** The pens present, after they were listed: waits for the first pen, at most for `limit`, and then until
     * no further pen was announced for `quiet`. Empty if there is none. */
    std::vector<PenInfo> discover(std::chrono::milliseconds limit = std::chrono::seconds(2),
                                  std::chrono::milliseconds quiet = std::chrono::milliseconds(300)) const
    {
        m_core->waitForListing(limit, quiet);
        return m_core->pens();
    }

    /** Waits for any pen. Returns the one that has been present longest, or else the first that arrives.
     *  Errc::noPen if there is none within the time. */
    PenInfo wait(std::chrono::milliseconds limit = std::chrono::seconds(10)) const
    {
        return tryWait(limit).value();
    }
    Result<PenInfo>
    tryWait(std::chrono::milliseconds limit = std::chrono::seconds(10)) const ///< \copydoc wait
    {
        return waited({}, limit);
    }

    /** Waits for the pen with this serial text, in upper or lower case: "AKZ-AQ7-APS-AC". Errc::noPen if it
     * is not present within the time. */
    PenInfo wait(std::string_view serial, std::chrono::milliseconds limit = std::chrono::seconds(10)) const
    {
        return tryWait(serial, limit).value();
    }
    Result<PenInfo> tryWait(std::string_view serial, ///< \copydoc wait
                            std::chrono::milliseconds limit = std::chrono::seconds(10)) const
    {
        if (serial.empty())
            return Error(Errc::invalidArgument, "wait", "no serial text");
        return waited(serial, limit);
    }

    /** Arrivals and departures from now on. The first events are arrivals of the pens that are present. */
    Events events() const { return Events(m_core); }

    /** Asks the pen service to list its pens again. First waits until no operation of this mode's pens is
     * running. Does not wait for the answer; pens that the service does not list within a second count as
     * departed. */
    void refresh() const { tryRefresh().value(); }
    Result<void> tryRefresh() const { return m_core->refresh(); } ///< \copydoc refresh

protected:
    explicit Discovery(std::shared_ptr<detail::Core> core) noexcept
        : m_core(std::move(core)) {} ///< Shares it.
    ~Discovery() = default;

    /** The started library. */
    const std::shared_ptr<detail::Core> &core() const noexcept { return m_core; }

private:
    Result<PenInfo> waited(std::string_view serial, std::chrono::milliseconds limit) const
    {
        if (std::optional<PenInfo> pen = m_core->wait(serial, limit))
            return *std::move(pen);
        return Error(Errc::noPen, "wait", std::string(serial));
    }

    std::shared_ptr<detail::Core> m_core;
};

/** A moment, in milliseconds since 1 January 1970, GMT. */
using Time = std::chrono::time_point<std::chrono::system_clock, std::chrono::milliseconds>;

/** The clocks that a pen knows. */
struct PenTime {
    Time pen;  ///< the pen's own clock
    Time host; ///< the host's clock as the pen last saw it
};

/** Revisions of the pen's parts. */
struct Revisions {
    std::string revision0; ///< number 0 of the pen's list
    std::string hardware;  ///< number 1
    std::string revision3; ///< number 3
    std::string revision5; ///< number 5
};

/** The pages that hold strokes. */
struct PageList {
    std::vector<std::string> addresses; ///< by ascending address: "1.2.3.4"
    std::uint32_t totalBytes = 0;       ///< bytes of strokes in all of them, cut to 32 bits
};

/** How far a retrieval has come. */
struct FetchProgress {
    std::uint32_t pages = 0;      ///< pages fetched so far
    std::uint32_t bytesSoFar = 0; ///< bytes of strokes fetched so far
    std::uint32_t bytesTotal = 0; ///< bytes of strokes to fetch
};

/** Called with the progress of a retrieval: once before the first page and once after each page, on the
 * thread that fetches. It may use other pens, but not this one. If it throws, the retrieval goes on to its
 * end, and its caller then gets the exception. */
using FetchCallback = std::function<void(const FetchProgress &)>;

/** The numbers that describe a certificate, in the pen's order. */
struct CertificateInfo {
    std::uint16_t number = 0; ///< the first
    std::uint64_t value1 = 0; ///< the second
    std::uint64_t value2 = 0; ///< the third
};

/** The texts of the owner. */
struct UserData {
    std::string a; ///< the first text
    std::string b; ///< the second
    std::string c; ///< the third
};

/** How much of the pen's memory is used. */
struct MemoryStatus {
    std::uint64_t used = 0;  ///< bytes
    std::uint64_t total = 0; ///< bytes
};

/** The five numbers that describe the battery, in the pen's order; empty where the pen does not know one. */
using BatteryStatus = std::array<std::optional<std::uint16_t>, 5>;

/** Bytes that the library allocated. Copies share them; the last one releases them. */
class LibraryBytes
{
public:
    /** No bytes. */
    LibraryBytes() = default;
    /** Takes over a block that zelFreePageData releases. */
    LibraryBytes(std::uint8_t *block, std::size_t size) : m_block(block, &release), m_size(size) {}

    const std::uint8_t *data() const noexcept { return m_block.get(); }         ///< The first byte.
    std::size_t size() const noexcept { return m_size; }                        ///< How many there are.
    bool empty() const noexcept { return m_size == 0; }                         ///< Whether there are none.
    const std::uint8_t *begin() const noexcept { return m_block.get(); }        ///< Start of the range.
    const std::uint8_t *end() const noexcept { return m_block.get() + m_size; } ///< End of the range.
    const std::shared_ptr<std::uint8_t> &block() const noexcept { return m_block; } ///< The block itself.

private:
    static void release(std::uint8_t *block) { zelFreePageData(&block); }

    std::shared_ptr<std::uint8_t> m_block;
    std::size_t m_size = 0;
};

namespace detail {

/** A retrieval that runs on this thread. The library's callback gets no context pointer, but the library
 * calls it on the thread that fetches: a thread-local pointer leads to the retrieval. A callback that fetches
 * from another pen starts an inner retrieval. */
class RunningFetch
{
public:
    explicit RunningFetch(const FetchCallback &callback) : m_callback(callback), m_outer(current())
    {
        current() = this;
    }
    ~RunningFetch() { current() = m_outer; }
    RunningFetch(const RunningFetch &) = delete;
    RunningFetch &operator=(const RunningFetch &) = delete;

    ProgressCallback callback() const noexcept { return m_callback ? &RunningFetch::progress : nullptr; }

    /** Throws what the host's callback threw. */
    void rethrow() const
    {
#if ZELPP_HAS_EXCEPTIONS
        if (m_thrown)
            std::rethrow_exception(m_thrown);
#endif
    }

private:
    static RunningFetch *&current() noexcept
    {
        static thread_local RunningFetch *fetch = nullptr;
        return fetch;
    }

    static void ZEL_CALL progress(const char *, std::uint32_t bytesSoFar, std::uint32_t bytesTotal) noexcept
    {
        RunningFetch &fetch = *current();
        const FetchProgress progress{fetch.m_calls++, bytesSoFar, bytesTotal};
#if ZELPP_HAS_EXCEPTIONS
        if (fetch.m_thrown)
            return;
        try {
            fetch.m_callback(progress);
        } catch (...) {
            fetch.m_thrown = std::current_exception();
        }
#else
        fetch.m_callback(progress);
#endif
    }

    const FetchCallback &m_callback;
    RunningFetch *m_outer;
    std::uint32_t m_calls = 0;
#if ZELPP_HAS_EXCEPTIONS
    std::exception_ptr m_thrown;
#endif
};

/** The list that makes zelGetPages return all pages that are wanted, and perhaps others. */
struct Selection {
    std::string list;
    std::vector<std::uint64_t> extras; ///< pages that it returns although they are not wanted
    std::string missing;               ///< an address that the pen does not have
};

/** zelGetPages fetches every page whose address occurs anywhere in the text of the list. It fails if the
 * number of these pages is not the number of addresses in the list. So the list must also name every page
 * whose address is a part of a wanted one ("1.2.3.4" within "11.2.3.45"); these pages are removed from the
 * result later. */
inline Selection selectPages(const std::vector<std::string> &wanted, const std::vector<std::string> &present)
{
    constexpr std::size_t shortest = sizeof "0.0.0.0" - 1;
    const std::unordered_set<std::string_view> pages(present.begin(), present.end());
    const std::unordered_set<std::string_view> asked(wanted.begin(), wanted.end());
    Selection selection;
    std::unordered_set<std::string_view> within;
    for (const std::string_view address : asked) {
        if (pages.count(address) == 0) {
            selection.missing = address;
            return selection;
        }
        for (std::size_t from = 0; from + shortest <= address.size(); ++from)
            for (std::size_t length = shortest; from + length <= address.size(); ++length)
                if (const auto page = pages.find(address.substr(from, length)); page != pages.end())
                    within.insert(*page);
    }
    // Goes through the pen's list, because a page that is in it twice also counts twice.
    for (const std::string &address : present) {
        if (within.count(address) == 0)
            continue;
        selection.list += address + ";";
        if (asked.count(address) == 0)
            selection.extras.push_back(parseAddress(address).value_or(0));
    }
    return selection;
}

/** Removes pages from a block that the library made: moves the later records forward and lowers the count.
 *  Returns the new size. */
inline std::size_t removePages(std::uint8_t *block, const PageData &data,
                               const std::vector<std::uint64_t> &addresses)
{
    constexpr std::size_t countAt = 22;
    const std::unordered_set<std::uint64_t> unwanted(addresses.begin(), addresses.end());
    std::uint8_t *to = block + countAt + 4;
    const std::uint8_t *rest = to;
    std::size_t kept = 0;
    for (const Page &page : data) {
        const Bytes record = page.record();
        rest = record.end();
        if (unwanted.count(page.addressNumber()) != 0)
            continue;
        std::memmove(to, record.data(), record.size());
        to += record.size();
        ++kept;
    }
    const std::size_t restSize = static_cast<std::size_t>(data.bytes().end() - rest);
    std::memmove(to, rest, restSize);
    block[countAt] = static_cast<std::uint8_t>(kept >> 8);
    block[countAt + 1] = static_cast<std::uint8_t>(kept & 0xFF);
    return static_cast<std::size_t>(to - block) + restSize;
}

} // namespace detail

/** A connected pen; Library::connect makes one. Move-only. The destructor disconnects; until then the library
 *  keeps running. For one thread at a time.
 *
 *  Below each operation is its twin, which returns a Result. zel.h describes what can fail and why, at the
 *  function that the operation is named after. After disconnect(), and on a pen that was moved from, every
 *  operation fails with Errc::invalidArgument. Once the connection is lost, every operation fails with
 *  Errc::communication. */
class Pen
{
public:
    Pen(Pen &&) noexcept = default;            ///< Takes over the connection.
    Pen &operator=(Pen &&) noexcept = default; ///< Disconnects, and takes over the other connection.

    /** Ends the connection; so does the destructor. */
    void disconnect() noexcept { m_connection.close(); }
    /** Whether there is a handle: false after disconnect() and on a pen that was moved from. Stays true when
     * the connection is lost; that shows only when an operation fails. */
    bool isConnected() const noexcept { return m_connection.isOpen(); }
    /** The handle, to call functions of zel.h directly. The Pen still owns it. */
    PenHandle *handle() const noexcept { return m_connection.handle(); }

    /** The pen's identity and serial text, as announced. No exchange. */
    const PenInfo &info() const noexcept { return m_info; }
    /** The pen's serial text: "AKZ-AQ7-APS-AC". No exchange. */
    const std::string &serial() const noexcept { return m_info.serial; }

    /** The pen's product name; empty when it has none. */
    std::string productName() const { return tryProductName().value(); }
    Result<std::string> tryProductName() const ///< \copydoc productName
    {
        detail::LibraryText text;
        const std::uint32_t code = m_connection.call(zelGetPenProductName, text.out());
        if (code == ZEL_ERR_INVALID_ARGUMENT && isConnected())
            return std::string();
        return given(code, "zelGetPenProductName", text);
    }

    // ---- Settings

    /** The pen's clock, and the host's as the pen last saw it. */
    PenTime time() const { return tryTime().value(); }
    Result<PenTime> tryTime() const ///< \copydoc time
    {
        std::uint64_t pen = 0;
        std::uint64_t host = 0;
        const std::uint32_t code = m_connection.call(zelGetTime, &pen, &host);
        if (code != ZEL_OK)
            return detail::failure(code, "zelGetTime");
        return PenTime{moment(pen), moment(host)};
    }
    /** Sets the pen's clock. */
    void setTime(Time time) { trySetTime(time).value(); }
    Result<void> trySetTime(Time time) ///< \copydoc setTime
    {
        return set("zelSetTime", zelSetTime, static_cast<std::uint64_t>(time.time_since_epoch().count()));
    }
    /** Sets the pen's clock to the host's. */
    void setTimeToNow() { trySetTimeToNow().value(); }
    Result<void> trySetTimeToNow() ///< \copydoc setTimeToNow
    {
        return trySetTime(
            std::chrono::time_point_cast<std::chrono::milliseconds>(std::chrono::system_clock::now()));
    }

    /** Whether the pen's Bluetooth is on. */
    bool bluetoothEnabled() const { return tryBluetoothEnabled().value(); }
    Result<bool> tryBluetoothEnabled() const ///< \copydoc bluetoothEnabled
    {
        return flag("zelGetBluetoothEnabled", zelGetBluetoothEnabled);
    }
    /** Switches the pen's Bluetooth on or off. */
    void setBluetoothEnabled(bool on) { trySetBluetoothEnabled(on).value(); }
    Result<void> trySetBluetoothEnabled(bool on) ///< \copydoc setBluetoothEnabled
    {
        return set("zelSetBluetoothEnabled", zelSetBluetoothEnabled, static_cast<std::uint8_t>(on));
    }

    /** Whether the pen may be discovered over Bluetooth. */
    bool bluetoothDiscoverableAllowed() const { return tryBluetoothDiscoverableAllowed().value(); }
    Result<bool> tryBluetoothDiscoverableAllowed() const ///< \copydoc bluetoothDiscoverableAllowed
    {
        return flag("zelGetBluetoothDiscoverableAllowed", zelGetBluetoothDiscoverableAllowed);
    }
    /** Allows the pen to be discovered over Bluetooth, or forbids it. */
    void setBluetoothDiscoverableAllowed(bool allowed)
    {
        trySetBluetoothDiscoverableAllowed(allowed).value();
    }
    Result<void>
    trySetBluetoothDiscoverableAllowed(bool allowed) ///< \copydoc setBluetoothDiscoverableAllowed
    {
        return set("zelSetBluetoothDiscoverableAllowed", zelSetBluetoothDiscoverableAllowed,
                   static_cast<std::uint8_t>(allowed));
    }

    /** The pen's Bluetooth PIN; empty when there is none. */
    std::string bluetoothPin() const { return tryBluetoothPin().value(); }
    Result<std::string> tryBluetoothPin() const ///< \copydoc bluetoothPin
    {
        return text("zelGetBluetoothPin", zelGetBluetoothPin);
    }
    /** Sets the pen's Bluetooth PIN: 4 to 16 digits. */
    void setBluetoothPin(Text pin) { trySetBluetoothPin(pin).value(); }
    Result<void> trySetBluetoothPin(Text pin) ///< \copydoc setBluetoothPin
    {
        return set("zelSetBluetoothPin", zelSetBluetoothPin, pin.get());
    }

    /** After how long the pen switches itself off, in its own unit. */
    std::uint16_t autoPowerOff() const { return tryAutoPowerOff().value(); }
    Result<std::uint16_t> tryAutoPowerOff() const ///< \copydoc autoPowerOff
    {
        return number<std::uint16_t>("zelGetAutoPowerOff", zelGetAutoPowerOff);
    }
    /** Sets after how long the pen switches itself off, in its own unit. */
    void setAutoPowerOff(std::uint16_t value) { trySetAutoPowerOff(value).value(); }
    Result<void> trySetAutoPowerOff(std::uint16_t value) ///< \copydoc setAutoPowerOff
    {
        return set("zelSetAutoPowerOff", zelSetAutoPowerOff, value);
    }

    /** The time after which the pen wakes by itself; 0 for never. */
    std::chrono::seconds wakeUpTime() const { return tryWakeUpTime().value(); }
    Result<std::chrono::seconds> tryWakeUpTime() const ///< \copydoc wakeUpTime
    {
        const Result<std::uint32_t> seconds = number<std::uint32_t>("zelGetWakeUpTime", zelGetWakeUpTime);
        if (!seconds)
            return seconds.error();
        return std::chrono::seconds(*seconds);
    }
    /** Sets the time after which the pen wakes by itself: 0 (never) or 60 s to 24 h. */
    void setWakeUpTime(std::chrono::seconds time) { trySetWakeUpTime(time).value(); }
    Result<void> trySetWakeUpTime(std::chrono::seconds time) ///< \copydoc setWakeUpTime
    {
        constexpr std::chrono::seconds tooLong{UINT32_MAX};
        const bool fits = time.count() >= 0 && time < tooLong;
        return set("zelSetWakeUpTime", zelSetWakeUpTime,
                   static_cast<std::uint32_t>((fits ? time : tooLong).count()));
    }

    /** Whether the pen deletes strokes securely. */
    bool secureDeleteEnabled() const { return trySecureDeleteEnabled().value(); }
    Result<bool> trySecureDeleteEnabled() const ///< \copydoc secureDeleteEnabled
    {
        return flag("zelGetSecureDeleteEnabled", zelGetSecureDeleteEnabled);
    }

    /** Revisions of the pen's parts. */
    Revisions revisions() const { return tryRevisions().value(); }
    Result<Revisions> tryRevisions() const ///< \copydoc revisions
    {
        detail::LibraryText first;
        detail::LibraryText second;
        detail::LibraryText third;
        detail::LibraryText fourth;
        const std::uint32_t code =
            m_connection.call(zelGetPenRevisions, first.out(), second.out(), third.out(), fourth.out());
        if (code != ZEL_OK)
            return detail::failure(code, "zelGetPenRevisions");
        return Revisions{first.str(), second.str(), third.str(), fourth.str()};
    }

    // ---- Pages

    /** The pages that hold strokes. */
    PageList pages() const { return tryPages().value(); }
    Result<PageList> tryPages() const ///< \copydoc pages
    {
        char *text = nullptr;
        PageList list;
        const std::uint32_t code = m_connection.call(zelGetPageList, &text, &list.totalBytes);
        if (code != ZEL_OK)
            return reasonOf(code, "zelGetPageList");
        for (const char *at = text; *at != '\0';) {
            const char *const end = at + std::strcspn(at, ";");
            list.addresses.emplace_back(at, end);
            at = *end == ';' ? end + 1 : end;
        }
        zelFreePageList(&text);
        return list;
    }

    /** Fetches every page, the pages of the stylo, and the properties that identify the pen. */
    PageData fetchAll(const FetchCallback &progress = nullptr) const { return tryFetchAll(progress).value(); }
    Result<PageData> tryFetchAll(const FetchCallback &progress = nullptr) const ///< \copydoc fetchAll
    {
        return fetchBlock("zelGetAllPages", progress, {},
                          [this](ProgressCallback callback, std::uint8_t **data, std::uint32_t *length) {
                              return m_connection.call(zelGetAllPages, callback, data, length);
                          });
    }

    /** Fetches the pages with the addresses given, in any order ("1.2.3.4"), and otherwise as fetchAll().
     *  An address that is given twice counts once. Errc::invalidArgument if one is no address, or if the pen
     *  has no such page. Needs one exchange more than zelGetPages, to learn which pages there are.
     *
     *  If the pen also holds a page whose address is a part of the text of a wanted one ("1.2.3.4" within
     *  "11.2.3.45"), the library fetches that page too. It counts in the progress, but is not in the result.
     */
    PageData fetch(const std::vector<std::string> &addresses, const FetchCallback &progress = nullptr) const
    {
        return tryFetch(addresses, progress).value();
    }
    Result<PageData> tryFetch(const std::vector<std::string> &addresses, ///< \copydoc fetch
                              const FetchCallback &progress = nullptr) const
    {
        std::vector<std::string> wanted;
        for (const std::string &text : addresses) {
            const std::optional<std::uint64_t> address = parseAddress(text);
            if (!address)
                return Error(Errc::invalidArgument, "zelGetPages", "\"" + text + "\" is no page address");
            wanted.push_back(addressText(*address));
        }
        const Result<PageList> present = tryPages();
        if (!present)
            return present.error();
        const detail::Selection selection = detail::selectPages(wanted, present->addresses);
        if (!selection.missing.empty())
            return Error(Errc::invalidArgument, "zelGetPages", "the pen has no page " + selection.missing);
        return fetchBlock("zelGetPages", progress, selection.extras,
                          [&](ProgressCallback callback, std::uint8_t **data, std::uint32_t *length) {
                              return m_connection.call(zelGetPages, selection.list.c_str(), callback, data,
                                                       length);
                          });
    }

    /** Removes the strokes of one page from the pen; trailing numbers of the address may be "*". */
    void removePage(Text address) { tryRemovePage(address).value(); }
    Result<void> tryRemovePage(Text address) ///< \copydoc removePage
    {
        const char *const text = address.get();
        if (text == nullptr || !parseAddress(text))
            return Error(Errc::invalidArgument, "zelRemovePage", "no page address");
        const std::uint32_t code = m_connection.call(zelRemovePage, text);
        if (code != ZEL_OK)
            return reasonOf(code, "zelRemovePage");
        return {};
    }
    /** Removes all strokes from the pen. */
    void removeAllStrokes() { tryRemoveAllStrokes().value(); }
    Result<void> tryRemoveAllStrokes() ///< \copydoc removeAllStrokes
    {
        const std::uint32_t code = m_connection.call(zelRemoveAllStrokes);
        if (code != ZEL_OK)
            return reasonOf(code, "zelRemoveAllStrokes");
        return {};
    }

    // ---- Lock and password

    /** Whether the pen is locked. */
    bool isLocked() const { return tryIsLocked().value(); }
    Result<bool> tryIsLocked() const ///< \copydoc isLocked
    {
        return flag("zelGetPenLockedStatus", zelGetPenLockedStatus);
    }
    /** Unlocks the pen; Errc::invalidArgument if it refuses the password. If the pen was locked when it was
     *  connected, and did not announce its software version, connect it again before you call operations that
     *  need a newer version. */
    void unlock(Text password) { tryUnlock(password).value(); }
    Result<void> tryUnlock(Text password) ///< \copydoc unlock
    {
        return set("zelUnlockPen", zelUnlockPen, password.get());
    }
    /** Sets the password, 1 to 31 bytes, and its hint; `current` is empty when there is none yet. */
    void setPassword(Text current, Text password, Text hint)
    {
        trySetPassword(current, password, hint).value();
    }
    Result<void> trySetPassword(Text current, Text password, Text hint) ///< \copydoc setPassword
    {
        return set("zelSetPasswordData", zelSetPasswordData, current.get(), password.get(), hint.get());
    }
    /** Removes the password and its hint. */
    void removePassword(Text current) { tryRemovePassword(current).value(); }
    Result<void> tryRemovePassword(Text current) ///< \copydoc removePassword
    {
        return set("zelRemovePasswordData", zelRemovePasswordData, current.get());
    }
    /** The hint to the password. */
    std::string passwordHint() const { return tryPasswordHint().value(); }
    Result<std::string> tryPasswordHint() const ///< \copydoc passwordHint
    {
        return text("zelGetPasswordHint", zelGetPasswordHint);
    }

    // ---- Certificates, signing key and encrypted data: pens with software 0x0503 or newer

    /** Installs the certificate authenticator; the first part may be empty. */
    void installCertificateAuthenticator(Bytes part1, Bytes part2)
    {
        tryInstallCertificateAuthenticator(part1, part2).value();
    }
    Result<void> tryInstallCertificateAuthenticator(Bytes part1, ///< \copydoc installCertificateAuthenticator
                                                    Bytes part2)
    {
        return set("zelInstallCertificateAuthenticator", zelInstallCertificateAuthenticator, part1.data(),
                   length(part1), part2.data(), length(part2));
    }
    /** Whether the pen holds a certificate authenticator. */
    bool hasCertificateAuthenticator() const { return tryHasCertificateAuthenticator().value(); }
    Result<bool> tryHasCertificateAuthenticator() const ///< \copydoc hasCertificateAuthenticator
    {
        return flag("zelHasCertificateAuthenticator", zelHasCertificateAuthenticator);
    }

    /** Installs the signing key: a number that the pen gets with it, and eight parts, each may be empty. */
    void installSigningKey(std::uint16_t number, const std::array<Bytes, 8> &parts)
    {
        tryInstallSigningKey(number, parts).value();
    }
    Result<void> tryInstallSigningKey(std::uint16_t number, ///< \copydoc installSigningKey
                                      const std::array<Bytes, 8> &p)
    {
        return set("zelInstallSigningKey", zelInstallSigningKey, number, p[0].data(), length(p[0]),
                   p[1].data(), length(p[1]), p[2].data(), length(p[2]), p[3].data(), length(p[3]),
                   p[4].data(), length(p[4]), p[5].data(), length(p[5]), p[6].data(), length(p[6]),
                   p[7].data(), length(p[7]));
    }
    /** Whether the pen holds a signing key. */
    bool hasSigningKey() const { return tryHasSigningKey().value(); }
    Result<bool> tryHasSigningKey() const ///< \copydoc hasSigningKey
    {
        return flag("zelHasSigningKey", zelHasSigningKey);
    }
    /** Removes the signing key. */
    void clearSigningKey() { tryClearSigningKey().value(); }
    Result<void> tryClearSigningKey() ///< \copydoc clearSigningKey
    {
        return set("zelClearSigningKey", zelClearSigningKey);
    }

    /** Installs the certificate. */
    void installCertificate(Bytes certificate) { tryInstallCertificate(certificate).value(); }
    Result<void> tryInstallCertificate(Bytes certificate) ///< \copydoc installCertificate
    {
        return set("zelInstallCertificate", zelInstallCertificate, certificate.data(), length(certificate));
    }
    /** The numbers that describe the certificate; Errc::unexpected also when there is none. */
    CertificateInfo certificateInfo() const { return tryCertificateInfo().value(); }
    Result<CertificateInfo> tryCertificateInfo() const ///< \copydoc certificateInfo
    {
        CertificateInfo info;
        const std::uint32_t code =
            m_connection.call(zelGetCertificateInfo, &info.number, &info.value1, &info.value2);
        if (code != ZEL_OK)
            return detail::failure(code, "zelGetCertificateInfo");
        return info;
    }
    /** Removes the certificate. */
    void clearCertificate() { tryClearCertificate().value(); }
    Result<void> tryClearCertificate() ///< \copydoc clearCertificate
    {
        return set("zelClearCertificate", zelClearCertificate);
    }

    /** Whether the pen holds encrypted data. */
    bool hasEncryptedData() const { return tryHasEncryptedData().value(); }
    Result<bool> tryHasEncryptedData() const ///< \copydoc hasEncryptedData
    {
        return flag("zelHasEncryptedData", zelHasEncryptedData);
    }
    /** Fetches the pen's encrypted data; Errc::invalidArgument when there is none.
     *  argument  passed to zelGetEncryptedData, where it has no effect */
    LibraryBytes encryptedData(std::uint64_t argument = 0) const
    {
        return tryEncryptedData(argument).value();
    }
    Result<LibraryBytes> tryEncryptedData(std::uint64_t argument = 0) const ///< \copydoc encryptedData
    {
        std::uint8_t *data = nullptr;
        std::uint32_t size = 0;
        const std::uint32_t code = m_connection.call(zelGetEncryptedData, argument, &data, &size);
        if (code != ZEL_OK)
            return detail::failure(code, "zelGetEncryptedData");
        return LibraryBytes(data, size);
    }
    /** Removes the pen's encrypted data. */
    void clearEncryptedData() { tryClearEncryptedData().value(); }
    Result<void> tryClearEncryptedData() ///< \copydoc clearEncryptedData
    {
        return set("zelClearEncryptedData", zelClearEncryptedData);
    }

    // ---- User data and status

    /** The texts of the owner. */
    UserData userData() const { return tryUserData().value(); }
    Result<UserData> tryUserData() const ///< \copydoc userData
    {
        detail::LibraryText a;
        detail::LibraryText b;
        detail::LibraryText c;
        const std::uint32_t code = m_connection.call(zelGetUserData, a.out(), b.out(), c.out());
        if (code != ZEL_OK)
            return detail::failure(code, "zelGetUserData");
        return UserData{a.str(), b.str(), c.str()};
    }
    /** Stores the texts of the owner. */
    void setUserData(const UserData &data) { trySetUserData(data).value(); }
    Result<void> trySetUserData(const UserData &data) ///< \copydoc setUserData
    {
        return set("zelSetUserData", zelSetUserData, Text(data.a).get(), Text(data.b).get(),
                   Text(data.c).get());
    }

    /** How much of the pen's memory is used. */
    MemoryStatus memoryStatus() const { return tryMemoryStatus().value(); }
    Result<MemoryStatus> tryMemoryStatus() const ///< \copydoc memoryStatus
    {
        MemoryStatus status;
        const std::uint32_t code = m_connection.call(zelGetMemoryStatus, &status.used, &status.total);
        if (code != ZEL_OK)
            return detail::failure(code, "zelGetMemoryStatus");
        return status;
    }
    /** The numbers that describe the battery. */
    BatteryStatus batteryStatus() const { return tryBatteryStatus().value(); }
    Result<BatteryStatus> tryBatteryStatus() const ///< \copydoc batteryStatus
    {
        constexpr std::uint16_t unknown = 65535;
        std::array<std::uint16_t, 5> v{};
        const std::uint32_t code = m_connection.call(zelGetBatteryStatus, &v[0], &v[1], &v[2], &v[3], &v[4]);
        if (code != ZEL_OK)
            return detail::failure(code, "zelGetBatteryStatus");
        BatteryStatus status;
        for (std::size_t i = 0; i < v.size(); ++i)
            if (v[i] != unknown)
                status[i] = v[i];
        return status;
    }

private:
    friend class Library;
    using Connection = detail::Connection<PenHandle, zelDisconnectPen>;

    Pen(Connection connection, PenInfo info) noexcept
        : m_connection(std::move(connection)), m_info(std::move(info))
    {
    }

    static Time moment(std::uint64_t millis) noexcept
    {
        return Time(std::chrono::milliseconds(static_cast<std::int64_t>(millis)));
    }

    /** The largest length that fits into 32 bits stands for every longer one; no pen accepts so much. */
    static std::uint32_t length(Bytes bytes) noexcept
    {
        return static_cast<std::uint32_t>((std::min<std::size_t>)(bytes.size(), UINT32_MAX));
    }

    template <class... Parameters, class... Arguments>
    Result<void> set(const char *name, std::uint32_t(ZEL_CALL *function)(PenHandle *, Parameters...),
                     Arguments... arguments) const
    {
        return detail::done(m_connection.call(function, arguments...), name);
    }

    template <class Number>
    Result<Number> number(const char *name, std::uint32_t(ZEL_CALL *function)(PenHandle *, Number *)) const
    {
        Number value = 0;
        const std::uint32_t code = m_connection.call(function, &value);
        if (code != ZEL_OK)
            return detail::failure(code, name);
        return value;
    }

    Result<bool> flag(const char *name, std::uint32_t(ZEL_CALL *function)(PenHandle *, std::uint8_t *)) const
    {
        const Result<std::uint8_t> value = number<std::uint8_t>(name, function);
        if (!value)
            return value.error();
        return *value != 0;
    }

    static Result<std::string> given(std::uint32_t code, const char *name, const detail::LibraryText &text)
    {
        if (code != ZEL_OK)
            return detail::failure(code, name);
        return text.str();
    }

    Result<std::string> text(const char *name, std::uint32_t(ZEL_CALL *function)(PenHandle *, char **)) const
    {
        detail::LibraryText out;
        const std::uint32_t code = m_connection.call(function, out.out());
        return given(code, name, out);
    }

    /** The functions on pages return one code for every failure. So this asks the pen whether it is locked,
     * or whether the connection is lost. */
    Error reasonOf(std::uint32_t code, const char *name) const
    {
        if (code != ZEL_ERR_UNEXPECTED)
            return detail::failure(code, name);
        std::uint8_t locked = 0;
        const std::uint32_t asked = m_connection.call(zelGetPenLockedStatus, &locked);
        if (asked == ZEL_OK && locked != 0)
            return Error(Errc::penLocked, name);
        return detail::failure(asked == ZEL_ERR_COMMUNICATION ? asked : code, name);
    }

    template <class Function>
    Result<PageData> fetchBlock(const char *name, const FetchCallback &progress,
                                const std::vector<std::uint64_t> &extras, const Function &fetch) const
    {
        std::uint8_t *data = nullptr;
        std::uint32_t size = 0;
        const detail::RunningFetch running(progress);
        const std::uint32_t code = fetch(running.callback(), &data, &size);
        const LibraryBytes block(data, size);
        running.rethrow();
        if (code == ZEL_ERR_INVALID_ARGUMENT && isConnected())
            return Error(Errc::invalidArgument, name, "the pen broke the retrieval off");
        if (code != ZEL_OK)
            return detail::failure(code, name);
        Result<PageData, PageDataError> pages = PageData::tryAdopt(block.block(), block.size());
        if (pages && !extras.empty())
            pages =
                PageData::tryAdopt(block.block(), detail::removePages(block.block().get(), *pages, extras));
        if (!pages) {
            const Error &error = pages.error();
            return Error(error);
        }
        return *std::move(pages);
    }

    Connection m_connection;
    PenInfo m_info;
};

/** The started library: the pens present, and connections to them. Several objects in one process share the
 *  started library. Movable.
 *
 *  Errc::alreadyInitialized when other code of the process has called zelInitialize itself. */
class Library : public Discovery
{
public:
    /** Starts the library. From now on the pens present are announced. While there is no pen service, the
     * library looks for it every 3 seconds. */
    Library() : Library(tryStart().value()) {}
    static Result<Library> tryStart() ///< \copydoc Library()
    {
        Result<std::shared_ptr<detail::Core>> core = detail::Core::get(detail::ordinaryMode());
        if (!core)
            return core.error();
        return Library(*std::move(core));
    }

    /** Connects to a pen that is present; Errc::noPen when it is not. Up to three exchanges. A locked pen
     *  connects too. */
    Pen connect(const PenInfo &pen) const { return tryConnect(pen).value(); }
    Result<Pen> tryConnect(const PenInfo &pen) const ///< \copydoc connect
    {
        const detail::SharedRecord record = core()->record(pen.penId);
        if (!record)
            return Error(Errc::noPen, "zelConnectPen", pen.serial);
        PenHandle *handle = nullptr;
        std::uint32_t code = ZEL_OK;
        {
            const detail::Inside inside(core()->gate());
            code = zelConnectPen(record.get(), &handle);
        }
        Pen::Connection connection(core(), handle); // a failed connect may leave a handle too
        if (code != ZEL_OK)
            return detail::failure(code, "zelConnectPen", pen.serial);
        return Pen(std::move(connection), pen);
    }

private:
    explicit Library(std::shared_ptr<detail::Core> core) noexcept : Discovery(std::move(core)) {}
};

} // namespace ZELPP_VARIANT
} // namespace zelpp

#endif
