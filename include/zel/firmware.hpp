/* SPDX-License-Identifier: MIT */
/** zel in C++: pens in firmware-upgrade mode (USB's device firmware upgrade class, DFU).
 *
 *      zelpp::DfuLibrary library;
 *      zelpp::DfuPen pen = library.connect(library.wait());
 *      pen.download(image, [](const zelpp::DownloadProgress &progress) {
 *          std::cout << progress.bytesSent << " of " << progress.bytesTotal << '\n';
 *      });
 *
 *  The library can run this mode and the ordinary one of zel.hpp at the same time. Threads, ownership and
 * errors are as described there.
 *
 *  C++17. */
#ifndef ZEL_FIRMWARE_HPP
#define ZEL_FIRMWARE_HPP

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <mutex>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <zel/zel.hpp>

namespace zelpp {
inline namespace ZELPP_VARIANT {

/** The states of a pen's upgrade, as the DFU class numbers them. */
enum class DfuState : std::uint8_t {
    appIdle = 0,           ///< runs its firmware
    appDetach = 1,         ///< runs its firmware; a reset now brings it into the mode
    idle = 2,              ///< in the mode, ready for an image
    downloadSync = 3,      ///< has received a block and waits for a request of its status
    downloadBusy = 4,      ///< writes a block
    downloadIdle = 5,      ///< ready for the next block
    manifestSync = 6,      ///< has the whole image and waits for a request of its status
    manifest = 7,          ///< installs the image
    manifestWaitReset = 8, ///< waits for a reset
    uploadIdle = 9,        ///< sends an image
    error = 10,            ///< waits until its status is cleared
};

/** The name that the DFU class gives a state: "dfuDNLOAD-IDLE"; "unknown state" for any other number. */
inline const char *dfuStateName(DfuState state) noexcept
{
    switch (state) {
    case DfuState::appIdle:
        return "appIDLE";
    case DfuState::appDetach:
        return "appDETACH";
    case DfuState::idle:
        return "dfuIDLE";
    case DfuState::downloadSync:
        return "dfuDNLOAD-SYNC";
    case DfuState::downloadBusy:
        return "dfuDNBUSY";
    case DfuState::downloadIdle:
        return "dfuDNLOAD-IDLE";
    case DfuState::manifestSync:
        return "dfuMANIFEST-SYNC";
    case DfuState::manifest:
        return "dfuMANIFEST";
    case DfuState::manifestWaitReset:
        return "dfuMANIFEST-WAIT-RESET";
    case DfuState::uploadIdle:
        return "dfuUPLOAD-IDLE";
    case DfuState::error:
        return "dfuERROR";
    }
    return "unknown state";
}

/** What a DFU status means: "the memory cannot be written"; "unknown fault" for any other number. The
 * packages for other languages have the same texts; their tests compare them with these. */
inline const char *dfuStatusText(std::uint8_t status) noexcept
{
    constexpr const char *texts[] = {
        "no error",
        "the image is not meant for this device",
        "the image failed a check of its origin or content",
        "the memory cannot be written",
        "the memory cannot be erased",
        "the memory is not empty after it was erased",
        "the memory cannot be programmed",
        "what was programmed reads back differently",
        "an address is out of range",
        "the image ended too early",
        "the firmware is damaged; the device cannot leave this mode",
        "a fault of the maker's own kind",
        "an unexpected USB reset",
        "an unexpected power-on reset",
        "something unknown went wrong",
        "an unexpected request",
    };
    return status < sizeof texts / sizeof *texts ? texts[status] : "unknown fault";
}

/** The status of an upgrade. */
struct DfuStatus {
    std::uint8_t status = 0;                  ///< 0, or what went wrong: dfuStatusText()
    std::chrono::milliseconds pollTimeout{0}; ///< how long to wait before asking again
    DfuState state = DfuState::idle;          ///< the state that the pen is in now
    std::uint8_t stringIndex = 0;             ///< index of the pen's own text for the status

    /** Whether the pen reports an error. */
    bool failed() const noexcept { return status != 0 || state == DfuState::error; }
};

/** What a pen's upgrade mode can do. */
struct DfuDescriptor {
    std::uint8_t attributes = 0; ///< bit 0 canDownload(), bit 1 canUpload(), bit 2 isManifestationTolerant()
    std::chrono::milliseconds detachTimeout{0}; ///< how long it waits for a reset after detach()
    std::uint16_t transferSize = 0;             ///< largest block, bytes

    /** Whether an image can be sent to it. */
    bool canDownload() const noexcept { return (attributes & 0x01) != 0; }
    /** Whether its image can be read. */
    bool canUpload() const noexcept { return (attributes & 0x02) != 0; }
    /** Whether it still answers after it has installed an image; a pen that does not needs a reset. */
    bool isManifestationTolerant() const noexcept { return (attributes & 0x04) != 0; }
};

/** How far a download has come. */
struct DownloadProgress {
    std::uint64_t bytesSent = 0;  ///< bytes that the pen has written
    std::uint64_t bytesTotal = 0; ///< bytes of the image
    std::uint64_t blocksSent = 0; ///< the same in blocks
    std::uint64_t blocks = 0;     ///< blocks of the image
    bool isComplete = false;      ///< the pen has the whole image and installs it, whatever the host does
};

/** Called with the progress of a download: before the first block, after each block, when the image is
 * complete, and repeatedly while the pen is busy. Any callable that takes a DownloadProgress. If it returns
 * false, the download is cancelled (Errc::cancelled): the pen is told to abort. The same happens if it
 * throws; the caller of the download then gets the exception. Once the image is complete, the pen installs it
 * in any case, and the host only stops waiting. */
class DownloadCallback
{
public:
    /** No callback. */
    DownloadCallback() = default;
    // NOLINTNEXTLINE(google-explicit-constructor)
    DownloadCallback(std::nullptr_t) {} ///< \copydoc DownloadCallback()
    /** Wraps a callable that returns nothing, or whether to go on. */
    template <class Callable, class Answer = std::invoke_result_t<const Callable &, const DownloadProgress &>>
    DownloadCallback(Callable callable) // NOLINT(google-explicit-constructor)
    {
        if constexpr (std::is_void_v<Answer>)
            m_callable = [callable = std::move(callable)](const DownloadProgress &progress) {
                callable(progress);
                return true;
            };
        else
            m_callable = std::move(callable);
    }

    /** Calls the callable. Returns whether to go on. */
    bool operator()(const DownloadProgress &progress) const { return !m_callable || m_callable(progress); }

private:
    std::function<bool(const DownloadProgress &)> m_callable;
};

/** Cancels downloads, from any thread:
 *
 *      zelpp::DownloadStop stop;
 *      std::thread worker([&] { result = pen.tryDownload(image, stop); });
 *      stop.request();
 *
 *  The download ends with Errc::cancelled between two requests, or during a pause that the pen asked for. It
 * does not end while a request waits for the pen's answer; DfuPen::abort() on a second connection then tells
 * the pen to give up the image. */
class DownloadStop
{
public:
    DownloadStop() = default;
    DownloadStop(const DownloadStop &) = delete;
    DownloadStop &operator=(const DownloadStop &) = delete;

    /** Cancels every download that uses this object, also later ones. Returns at once. */
    void request()
    {
        const std::lock_guard lock(m_mutex);
        m_isRequested = true;
        m_changed.notify_all();
    }
    /** Waits for request(), at most for the limit. Returns whether it was called. */
    bool waitFor(std::chrono::milliseconds limit) const
    {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, limit, [this] { return m_isRequested; });
    }
    /** Whether request() was called. */
    bool isRequested() const { return waitFor(std::chrono::milliseconds(0)); }

private:
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    bool m_isRequested = false;
};

namespace detail {

inline Mode &firmwareUpgradeMode()
{
    static constexpr auto start = [](Core &core) {
        const std::uint32_t code = zelDfuInit(&core, &Core::announced, &Core::announced);
        // A listener that could not be started leaves the mode initialised.
        if (code != ZEL_OK && code != ZEL_ERR_ALREADY_INITIALIZED)
            zelDfuExit();
        return code;
    };
    static Mode &mode = *new Mode{
        start,
        [] { return zelDfuExit(); },
        [](Core &core) {
            const std::uint32_t code = zelDfuExit();
            return code == ZEL_OK ? start(core) : code;
        },
        [](const DiscoveryHandle &record, PenInfo &pen) {
            LibraryText serial;
            // A function of the other mode, which may be starting or stopping.
            const Inside inside(ordinaryMode().gate);
            zelGetDevicePenSerial(&record, serial.out());
            pen.serial = serial.str();
            std::uint8_t number = 0;
            zelDfuGetMode(&record, &number);
            pen.firmwareUpgrade = number != 0;
        },
        "zelDfuInit",
        "zelDfuInit",
    };
    return mode;
}

inline std::uint16_t littleEndian16(const std::uint8_t *at) noexcept
{
    return static_cast<std::uint16_t>(at[0] | at[1] << 8);
}

} // namespace detail

/** A connected pen in firmware-upgrade mode; DfuLibrary::connect makes one. Move-only. The destructor
 * disconnects; until then the mode keeps running. For one thread at a time. */
class DfuPen
{
public:
    DfuPen(DfuPen &&) noexcept = default;            ///< Takes over the connection.
    DfuPen &operator=(DfuPen &&) noexcept = default; ///< Disconnects, and takes over the other connection.

    /** Ends the connection; so does the destructor. */
    void disconnect() noexcept { m_connection.close(); }
    /** Whether there is a handle: false after disconnect() and on a pen that was moved from. */
    bool isConnected() const noexcept { return m_connection.isOpen(); }
    /** The handle, to call functions of zel.h directly. The DfuPen still owns it. */
    DfuPenHandle *handle() const noexcept { return m_connection.handle(); }
    /** The pen's identity and serial text, as announced. */
    const PenInfo &info() const noexcept { return m_info; }
    /** The pen's serial text: "AKZ-AQ7-APS-AC". */
    const std::string &serial() const noexcept { return m_info.serial; }

    /** Sends an image and lets the pen install it, as the DFU class demands. First clears what an earlier
     * download left in the pen. After each block it asks for the status, with the pauses that the pen wants,
     * until the pen is ready for the next block. An empty block ends the image. If the pen needs a reset, it
     * gets one. Blocks until the pen has installed the image, or only has to restart.
     *
     *  Errc::downloadFailed if the pen reports an error (the text of the exception says which) or is not
     * ready for an image; Errc::notSupported if it takes no images; Errc::invalidArgument for an empty image.
     */
    void download(Bytes image, const DownloadCallback &progress = nullptr)
    {
        tryDownload(image, progress).value();
    }
    Result<void> tryDownload(Bytes image, const DownloadCallback &progress = nullptr) ///< \copydoc download
    {
        return tryDownload(image, DownloadStop(), progress);
    }
    /** The same; `stop` can cancel it. */
    void download(Bytes image, const DownloadStop &stop, const DownloadCallback &progress = nullptr)
    {
        tryDownload(image, stop, progress).value();
    }
    Result<void> tryDownload(Bytes image, const DownloadStop &stop, ///< \copydoc download
                             const DownloadCallback &progress = nullptr);

    /** The status of the upgrade. To ask before the pen's poll timeout is over is an error for the pen. */
    DfuStatus status() const { return tryStatus().value(); }
    Result<DfuStatus> tryStatus() const ///< \copydoc status
    {
        std::array<std::uint8_t, 6> record{};
        const std::uint32_t code = m_connection.call(zelDfuGetStatus, record.data());
        if (code != ZEL_OK)
            return detail::failure(code, "zelDfuGetStatus");
        DfuStatus status;
        status.status = record[0];
        status.pollTimeout =
            std::chrono::milliseconds(detail::littleEndian16(&record[1]) | std::uint32_t{record[3]} << 16);
        status.state = static_cast<DfuState>(record[4]);
        status.stringIndex = record[5];
        return status;
    }

    /** The state of the upgrade. */
    DfuState state() const { return tryState().value(); }
    Result<DfuState> tryState() const ///< \copydoc state
    {
        std::int32_t state = 0;
        const std::uint32_t code = m_connection.call(zelDfuGetState, &state);
        if (code != ZEL_OK)
            return detail::failure(code, "zelDfuGetState");
        return static_cast<DfuState>(state);
    }

    /** What the pen's upgrade mode can do. */
    DfuDescriptor descriptor() const { return tryDescriptor().value(); }
    Result<DfuDescriptor> tryDescriptor() const ///< \copydoc descriptor
    {
        constexpr std::uint8_t functionalDescriptor = 0x21;
        std::array<std::uint8_t, 7> record{};
        const std::uint32_t code = m_connection.call(zelDfuGetFunctionalDescriptor, record.data());
        if (code != ZEL_OK)
            return detail::failure(code, "zelDfuGetFunctionalDescriptor");
        // The record either begins with length and type and lacks the version, or it has the version and
        // lacks them.
        const bool isHeaded = record[0] == record.size() && record[1] == functionalDescriptor;
        const std::uint8_t *const at = record.data() + (isHeaded ? 2 : 0);
        DfuDescriptor descriptor;
        descriptor.attributes = at[0];
        descriptor.detachTimeout = std::chrono::milliseconds(detail::littleEndian16(at + 1));
        descriptor.transferSize = detail::littleEndian16(at + 3);
        return descriptor;
    }

    /** Sends one block of an image, at most 65,535 bytes (otherwise Errc::invalidArgument). */
    void sendBlock(std::uint16_t number, Bytes data) { trySendBlock(number, data).value(); }
    Result<void> trySendBlock(std::uint16_t number, Bytes data) ///< \copydoc sendBlock
    {
        if (data.size() > UINT16_MAX)
            return Error(Errc::invalidArgument, "zelDfuDownload", "the block is too long");
        const auto length = static_cast<std::uint16_t>(data.size());
        std::vector<std::uint8_t> block(4 + data.size());
        std::memcpy(block.data(), &number, 2);
        std::memcpy(block.data() + 2, &length, 2);
        std::copy(data.begin(), data.end(), block.begin() + 4);
        return request("zelDfuDownload", zelDfuDownload, static_cast<const void *>(block.data()));
    }

    /** Gives up the image that is being sent. */
    void abort() { tryAbort().value(); }
    Result<void> tryAbort() { return request("zelDfuAbort", zelDfuAbort); } ///< \copydoc abort
    /** Clears an error. */
    void clearStatus() { tryClearStatus().value(); }
    Result<void> tryClearStatus() ///< \copydoc clearStatus
    {
        return request("zelDfuClearStatus", zelDfuClearStatus);
    }
    /** Lets the pen change from its firmware to this mode; a reset of the port completes the change. */
    void detach() { tryDetach().value(); }
    Result<void> tryDetach() { return request("zelDfuDetach", zelDfuDetach); } ///< \copydoc detach
    /** Lets the pen go to its boot loader. */
    void detachToBootLoader() { tryDetachToBootLoader().value(); }
    Result<void> tryDetachToBootLoader() ///< \copydoc detachToBootLoader
    {
        return request("zelDfuDetachBoot", zelDfuDetachBoot);
    }
    /** Resets the pen's USB port: the pen leaves, and may come back in the other mode. */
    void resetPort() { tryResetPort().value(); }
    Result<void> tryResetPort() ///< \copydoc resetPort
    {
        return request("zelDfuResetPort", zelDfuResetPort);
    }

private:
    friend class DfuLibrary;
    using Connection = detail::Connection<DfuPenHandle, zelDfuDisconnectPen>;

    DfuPen(Connection connection, PenInfo info) noexcept
        : m_connection(std::move(connection)), m_info(std::move(info))
    {
    }

    template <class... Parameters, class... Arguments>
    Result<void> request(const char *name, std::uint32_t(ZEL_CALL *function)(DfuPenHandle *, Parameters...),
                         Arguments... arguments) const
    {
        return detail::done(m_connection.call(function, arguments...), name);
    }

    Connection m_connection;
    PenInfo m_info;
};

namespace detail {

/** One download. The first failed step is kept as the failure, and ends it. */
class Download
{
public:
    Download(DfuPen &pen, Bytes image, const DownloadStop &stop, const DownloadCallback &callback)
        : m_pen(pen), m_image(image), m_stop(stop), m_callback(callback)
    {
        m_progress.bytesTotal = image.size();
    }

    Result<void> run()
    {
        if (begin() && tell())
            while (m_progress.bytesSent < m_image.size())
                if (!sendNext())
                    break;
        if (!m_failure)
            manifest();
        if (m_failure)
            return *m_failure;
        return {};
    }

private:
    bool fail(const Error &error)
    {
        m_failure = error;
        return false;
    }

    bool done(const Result<void> &result) { return result ? true : fail(result.error()); }

    bool begin()
    {
        constexpr std::size_t usualBlock = 1024; // for a pen that names no size
        if (m_image.empty())
            return fail(Error(Errc::invalidArgument, "download", "the image is empty"));
        const Result<DfuDescriptor> descriptor = m_pen.tryDescriptor();
        if (!descriptor)
            return fail(descriptor.error());
        if (!descriptor->canDownload())
            return fail(Error(Errc::notSupported, "download", "the pen takes no images"));
        m_isTolerant = descriptor->isManifestationTolerant();
        m_blockSize = descriptor->transferSize != 0 ? descriptor->transferSize : usualBlock;
        m_progress.blocks = (m_image.size() + m_blockSize - 1) / m_blockSize;
        return makeIdle();
    }

    /** A download begins in dfuIDLE. Brings the pen there from the states that an earlier download may have
     * left. */
    bool makeIdle()
    {
        DfuStatus status;
        if (!ask(status))
            return false;
        if (status.state == DfuState::error && !done(m_pen.tryClearStatus()))
            return false;
        if ((status.state == DfuState::downloadIdle || status.state == DfuState::uploadIdle) &&
            !done(m_pen.tryAbort()))
            return false;
        if (!ask(status))
            return false;
        if (status.state == DfuState::idle)
            return true;
        return fail(
            Error(Errc::downloadFailed, "download",
                  std::string("the pen is not ready for an image: it is in ") + dfuStateName(status.state)));
    }

    bool ask(DfuStatus &status)
    {
        const Result<DfuStatus> answer = m_pen.tryStatus();
        if (!answer)
            return fail(answer.error());
        status = *answer;
        return true;
    }

    bool sendNext()
    {
        const auto sent = static_cast<std::size_t>(m_progress.bytesSent);
        const Bytes data = m_image.subrun(sent, m_blockSize);
        DfuStatus status;
        if (!send(data) || !settle(status))
            return false;
        if (status.state != DfuState::downloadIdle)
            return failWith(status);
        m_progress.bytesSent += data.size();
        ++m_progress.blocksSent;
        return tell();
    }

    bool send(Bytes data)
    {
        const Result<void> sent = m_pen.trySendBlock(m_number++, data);
        if (sent || sent.error().reason() == Errc::communication)
            return done(sent);
        return fail(Error(Errc::downloadFailed, "download",
                          std::string("the pen did not take a block; ") + disturbed()));
    }

    bool manifest()
    {
        DfuStatus status;
        if (!send({}))
            return false;
        m_progress.isComplete = true;
        if (!tell() || !settle(status))
            return false;
        if (status.state == DfuState::idle)
            return true;
        if (status.state != DfuState::manifest && status.state != DfuState::manifestWaitReset)
            return failWith(status);
        // The pen has the whole image by now. One that restarts at once may not answer any more.
        if (!pause(status))
            return false;
        const Result<void> reset = m_pen.tryResetPort();
        return reset || reset.error().reason() == Errc::communication ? true : fail(reset.error());
    }

    /** Asks for the status until the pen has finished its work. Waits before each question as long as the pen
     * says, because a question that comes too early is an error for it. */
    bool settle(DfuStatus &status)
    {
        while (ask(status)) {
            if (status.failed())
                return failWith(status);
            // A pen that is not manifestation tolerant answers no more while it installs; it can only be
            // reset.
            const bool isBusy = status.state == DfuState::downloadSync ||
                                status.state == DfuState::downloadBusy ||
                                status.state == DfuState::manifestSync ||
                                (status.state == DfuState::manifest && m_isTolerant);
            if (!isBusy)
                return true;
            if (!pause(status))
                return false;
        }
        return false;
    }

    /** Waits as long as the pen asks for, and at least a moment. During a long pause the host's callback is
     * called from time to time, and may cancel. */
    bool pause(const DfuStatus &status)
    {
        constexpr milliseconds step{100};
        for (milliseconds left = (std::max)(status.pollTimeout, milliseconds(1)); left.count() > 0;
             left -= step) {
            if (m_stop.waitFor((std::min)(left, step)))
                return cancel();
            if (left > step && !tell())
                return false;
        }
        return true;
    }

    bool tell()
    {
#if ZELPP_HAS_EXCEPTIONS
        try {
            if (m_callback(m_progress) && !m_stop.isRequested())
                return true;
        } catch (...) {
            if (!m_progress.isComplete)
                giveUp();
            throw;
        }
#else
        if (m_callback(m_progress) && !m_stop.isRequested())
            return true;
#endif
        return cancel();
    }

    bool cancel()
    {
        if (m_progress.isComplete)
            return fail(Error(Errc::cancelled, "download", "the pen has the whole image already"));
        return fail(Error(Errc::cancelled, "download",
                          giveUp() ? "the pen was told to give up the image"
                                   : "the pen could not be told to give up the image"));
    }

    /** For a pen that is busy the abort is an error, which then has to be cleared. */
    bool giveUp()
    {
        return m_pen.tryAbort() || m_pen.tryClearStatus();
    }

    bool failWith(const DfuStatus &status)
    {
        constexpr std::uint8_t unexpectedRequest = 15;
        std::string what = "the pen stopped after " + std::to_string(m_progress.bytesSent) +
                           " bytes: " + dfuStatusText(status.status) + "; status " +
                           std::to_string(status.status) + ", " + dfuStateName(status.state);
        if (!status.failed() || status.status == unexpectedRequest)
            what += std::string("; ") + disturbed();
        return fail(Error(Errc::downloadFailed, "download", what));
    }

    /** The pen's state is one that a download alone cannot cause. Every question to the pen changes its
     * state, so another program may have asked it. */
    static const char *disturbed() noexcept
    {
        return "did another program ask the pen meanwhile?";
    }

    DfuPen &m_pen;
    Bytes m_image;
    const DownloadStop &m_stop;
    const DownloadCallback &m_callback;
    DownloadProgress m_progress;
    std::size_t m_blockSize = 0;
    std::uint16_t m_number = 0;
    bool m_isTolerant = false;
    std::optional<Error> m_failure;
};

} // namespace detail

inline Result<void> DfuPen::tryDownload(Bytes image, const DownloadStop &stop,
                                        const DownloadCallback &progress)
{
    return detail::Download(*this, image, stop, progress).run();
}

/** The library's started firmware-upgrade mode: the pens present in it, and connections to them. Several
 * objects in one process share the started mode. Movable.
 *
 *  After the pen service went away, this mode hears of no pens any more; refresh() starts it again. */
class DfuLibrary : public Discovery
{
public:
    /** Starts the mode. From now on the pens present are announced. */
    DfuLibrary() : DfuLibrary(tryStart().value()) {}
    static Result<DfuLibrary> tryStart() ///< \copydoc DfuLibrary()
    {
        Result<std::shared_ptr<detail::Core>> core = detail::Core::get(detail::firmwareUpgradeMode());
        if (!core)
            return core.error();
        return DfuLibrary(*std::move(core));
    }

    /** Connects to a pen that is present; Errc::noPen when it is not. */
    DfuPen connect(const PenInfo &pen) const { return tryConnect(pen).value(); }
    Result<DfuPen> tryConnect(const PenInfo &pen) const ///< \copydoc connect
    {
        const detail::SharedRecord record = core()->record(pen.penId);
        if (!record)
            return Error(Errc::noPen, "zelDfuConnectPen", pen.serial);
        DfuPenHandle *handle = nullptr;
        std::uint32_t code = ZEL_OK;
        {
            const detail::Inside inside(core()->gate());
            code = zelDfuConnectPen(&handle, record.get());
        }
        DfuPen::Connection connection(core(), handle); // a failed connect may leave a handle too
        if (code != ZEL_OK)
            return detail::failure(code, "zelDfuConnectPen", pen.serial);
        return DfuPen(std::move(connection), pen);
    }

private:
    explicit DfuLibrary(std::shared_ptr<detail::Core> core) noexcept : Discovery(std::move(core)) {}
};

} // namespace ZELPP_VARIANT
} // namespace zelpp

#endif
