/* SPDX-License-Identifier: MIT */
/** How the C++ interface of zel reports failures: by exceptions, or by results for hosts without them.
 *
 *  Every operation that can fail exists twice. The plain one throws; its twin, `try...`, returns a Result:
 *
 *      std::string name = pen.productName();            // throws zelpp::Error, or a class derived from it
 *      zelpp::Result<std::string> name = pen.tryProductName();
 *      if (!name)
 *          log(name.error().what());
 *
 *  Everything compiles with -fno-exceptions. There the plain operations end the process (std::terminate)
 *  instead of throwing, as the standard library does; such a host calls the twins.
 *
 *  C++17. Included by the other headers. */
#ifndef ZEL_ERROR_HPP
#define ZEL_ERROR_HPP

#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <system_error>
#include <utility>
#include <variant>

#include <zel/zel.h>
#include <zel/zel_result.h>

#if defined(__cpp_exceptions) || defined(_CPPUNWIND)
#define ZELPP_HAS_EXCEPTIONS 1
#define ZELPP_VARIANT throwing
#else
#define ZELPP_HAS_EXCEPTIONS 0
#define ZELPP_VARIANT nonthrowing
#endif

/** The C++ interface. The library's own classes are in the namespace `zel`; this one has another name, so
 * that one program may contain both.
 *
 *  Sources with and without exceptions see different inline functions under the same names. The inline
 *  namespace keeps them apart if one program is linked from both. */
namespace zelpp {
inline namespace ZELPP_VARIANT {

/** Why an operation failed: the library's result codes, and some reasons of this interface's own. */
enum class Errc : std::uint32_t {
    invalidArgument = ZEL_ERR_INVALID_ARGUMENT,
    penLocked = ZEL_ERR_PEN_LOCKED,
    communication = ZEL_ERR_COMMUNICATION,
    notSupported = ZEL_ERR_NOT_SUPPORTED,
    notInitialized = ZEL_ERR_NOT_INITIALIZED,
    alreadyInitialized = ZEL_ERR_ALREADY_INITIALIZED,
    valueOutOfRange = ZEL_ERR_VALUE_OUT_OF_RANGE,
    syncBusy = ZEL_ERR_SYNC_BUSY,
    deviceNotSupported = ZEL_ERR_DEVICE_NOT_SUPPORTED,
    unexpected = ZEL_ERR_UNEXPECTED,
    noPen = 256,          ///< the pen is not present, or did not arrive in time
    cancelled = 257,      ///< the host cancelled the operation
    downloadFailed = 258, ///< the pen did not take the firmware
    badPageData = 259,    ///< the bytes are not page data
    fileAccess = 260,     ///< a file cannot be read or written
};

namespace detail {

struct OwnReason {
    const char *name;
    const char *sentence;
};

inline OwnReason ownReason(std::uint32_t code) noexcept
{
    switch (static_cast<Errc>(code)) {
    case Errc::noPen:
        return {"noPen", "The pen is not present, or did not arrive in time."};
    case Errc::cancelled:
        return {"cancelled", "The host gave the operation up."};
    case Errc::downloadFailed:
        return {"downloadFailed", "The pen did not take the firmware."};
    case Errc::badPageData:
        return {"badPageData", "The bytes are no page data."};
    case Errc::fileAccess:
        return {"fileAccess", "The file cannot be read or written."};
    default:
        return {nullptr, nullptr};
    }
}

class Category final : public std::error_category
{
public:
    const char *name() const noexcept override { return "zel"; }
    std::string message(int code) const override
    {
        const OwnReason own = ownReason(static_cast<std::uint32_t>(code));
        return own.sentence != nullptr ? own.sentence : zelResultText(static_cast<std::uint32_t>(code));
    }
};

} // namespace detail

/** The category of every error code of this interface; its name is "zel". */
inline const std::error_category &category() noexcept
{
    static const detail::Category instance;
    return instance;
}

/** Converts an Errc to a std::error_code, also in comparisons. */
inline std::error_code make_error_code(Errc code) noexcept
{
    return {static_cast<int>(code), category()};
}

/** A failed operation. what() reads "zelSetTime: The pen is locked by its password."; if more is known, it is
 *  added in brackets: "zelGetPages (the pen has no page 7.7.7.7): ...".
 *
 *  The failures that programs usually handle in different ways are thrown as classes of their own:
 * LockedError, CommunicationError, BusyError, NotSupportedError, InvalidArgumentError, NoPenError. */
class Error : public std::system_error
{
public:
    /** operation  a text that lives as long as the program, usually the name of the function of zel.h
     *  detail     what more is known; may be empty */
    Error(Errc code, const char *operation, const std::string &detail = std::string())
        : std::system_error(make_error_code(code), detail.empty()
                                                       ? std::string(operation)
                                                       : std::string(operation) + " (" + detail + ")"),
          m_operation(operation),
          m_detail(detail.empty() ? nullptr : std::make_shared<const std::string>(detail))
    {
    }

    /** The reason; `error.code() == Errc::penLocked` asks the same. */
    Errc reason() const noexcept { return static_cast<Errc>(code().value()); }
    /** The result code of zel.h, or one of the further numbers of Errc. */
    std::uint32_t number() const noexcept { return static_cast<std::uint32_t>(code().value()); }
    /** The name of the code: "ZEL_ERR_PEN_LOCKED". */
    const char *name() const noexcept
    {
        const detail::OwnReason own = detail::ownReason(number());
        return own.name != nullptr ? own.name : zelResultName(number());
    }
    /** The operation that failed, usually a function of zel.h: "zelSetTime". */
    const char *operation() const noexcept { return m_operation; }
    /** What more is known: "the pen has no page 7.7.7.7"; may be empty. */
    std::string detail() const { return m_detail ? *m_detail : std::string(); }
    /** The sentence that explains the code. */
    std::string sentence() const { return code().message(); }

    /** Throws the error as the class that stands for its reason. */
    [[noreturn]] void raise() const;

private:
    const char *m_operation;
    std::shared_ptr<const std::string> m_detail; // shared, because copying an exception must not throw
};

/** The pen is locked by its password (Errc::penLocked). */
class LockedError : public Error
{
public:
    /** From an error with that reason. */
    explicit LockedError(const Error &error) : Error(error) {}
};

/** The connection to the pen failed or is lost (Errc::communication). */
class CommunicationError : public Error
{
public:
    /** From an error with that reason. */
    explicit CommunicationError(const Error &error) : Error(error) {}
};

/** The pen did not begin a sync session; try again later (Errc::syncBusy). */
class BusyError : public Error
{
public:
    /** From an error with that reason. */
    explicit BusyError(const Error &error) : Error(error) {}
};

/** The pen cannot do this, or its USB identity is not accepted (Errc::notSupported,
 *  Errc::deviceNotSupported). */
class NotSupportedError : public Error
{
public:
    /** From an error with that reason. */
    explicit NotSupportedError(const Error &error) : Error(error) {}
};

/** An argument cannot be used (Errc::invalidArgument, Errc::valueOutOfRange). */
class InvalidArgumentError : public Error
{
public:
    /** From an error with that reason. */
    explicit InvalidArgumentError(const Error &error) : Error(error) {}
};

/** The pen is not present, or did not arrive in time (Errc::noPen). */
class NoPenError : public Error
{
public:
    /** From an error with that reason. */
    explicit NoPenError(const Error &error) : Error(error) {}
};

inline void Error::raise() const
{
#if ZELPP_HAS_EXCEPTIONS
    switch (reason()) {
    case Errc::penLocked:
        throw LockedError(*this);
    case Errc::communication:
        throw CommunicationError(*this);
    case Errc::syncBusy:
        throw BusyError(*this);
    case Errc::notSupported:
    case Errc::deviceNotSupported:
        throw NotSupportedError(*this);
    case Errc::invalidArgument:
    case Errc::valueOutOfRange:
        throw InvalidArgumentError(*this);
    case Errc::noPen:
        throw NoPenError(*this);
    default:
        throw *this;
    }
#else
    std::terminate();
#endif
}

/** What an operation returned: its value, or the error. C++17 has no such type of its own.
 *  E  offers raise(), which throws the error as an exception */
template <class T, class E = Error>
class [[nodiscard]] Result
{
public:
    /** Success. */
    // NOLINTNEXTLINE(google-explicit-constructor)
    Result(T value) : m_content(std::in_place_index<0>, std::move(value)) {}
    /** Failure. */
    // NOLINTNEXTLINE(google-explicit-constructor)
    Result(E error) : m_content(std::in_place_index<1>, std::move(error)) {}

    /** Whether there is a value. */
    explicit operator bool() const noexcept { return m_content.index() == 0; }

    /** The value. If there is none, throws the error. */
    T &value() & { return check(), **this; }
    const T &value() const & { return check(), **this; }  ///< \copydoc value
    T &&value() && { return check(), std::move(**this); } ///< \copydoc value
    /** The value, or `other` if there is none. */
    T valueOr(T other) const & { return *this ? **this : std::move(other); }

    /** The value. Only call it if there is one. */
    T &operator*() noexcept { return *std::get_if<0>(&m_content); }
    const T &operator*() const noexcept { return *std::get_if<0>(&m_content); } ///< \copydoc operator*
    T *operator->() noexcept { return std::get_if<0>(&m_content); }             ///< A member of the value.
    const T *operator->() const noexcept { return std::get_if<0>(&m_content); } ///< \copydoc operator->
    /** The error. Only call it if there is no value. */
    const E &error() const noexcept { return *std::get_if<1>(&m_content); }

private:
    void check() const
    {
        if (!*this)
            error().raise();
    }

    std::variant<T, E> m_content;
};

/** What an operation without a value returned: nothing, or the error. */
template <class E>
class [[nodiscard]] Result<void, E>
{
public:
    /** Success. */
    Result() = default;
    /** Failure. */
    // NOLINTNEXTLINE(google-explicit-constructor)
    Result(E error) : m_content(std::in_place_index<1>, std::move(error)) {}

    /** Whether it succeeded. */
    explicit operator bool() const noexcept { return m_content.index() == 0; }
    /** Throws the error if there is one. */
    void value() const
    {
        if (!*this)
            error().raise();
    }
    /** The error. Only call it after a failure. */
    const E &error() const noexcept { return *std::get_if<1>(&m_content); }

private:
    std::variant<std::monostate, E> m_content;
};

} // namespace ZELPP_VARIANT
} // namespace zelpp

namespace std {
/** Lets Errc be compared with std::error_code. */
template <>
struct is_error_code_enum<zelpp::Errc> : true_type {
};
} // namespace std

#endif
