#pragma once

#include "zel/zel.h"

#include <cstdint>
#include <initializer_list>
#include <limits>
#include <string_view>

namespace zel {

/** What must exist when an export is called. Otherwise it returns ZEL_ERR_NOT_INITIALIZED. */
enum class Needs { Nothing, Manager, DfuManager, AnyManager };

/** Which exceptions an export turns into their own result codes. Each value includes those before it. Every
 *  other exception gives ZEL_ERR_UNEXPECTED. */
enum class Catches { Nothing, Connection, LockedPen, UnknownInstruction };

// Tests for an export's pointer arguments. Each returns whether the pointer was given. preset() and cleared()
// also write the output's initial value. They run before all other tests, so the host finds that value after
// every failure.

inline bool required(const void *pointer) noexcept
{
    return pointer != nullptr;
}

template <class T>
bool preset(T *output, T initial) noexcept
{
    if (output != nullptr)
        *output = initial;
    return output != nullptr;
}

template <class T>
bool cleared(T **output) noexcept
{
    return preset<T *>(output, nullptr);
}

/** A text that is composed of pieces at compile time: FixedText{"[", logName, "] failed"}. */
class FixedText
{
public:
    template <class... Pieces>
    constexpr FixedText(Pieces... pieces) // NOLINT(google-explicit-constructor): a plain text converts
    {
        (append(pieces), ...);
    }

    constexpr std::string_view view() const noexcept { return {m_characters, m_length}; }

private:
    constexpr void append(std::string_view piece)
    {
        for (const char character : piece)
            m_characters[m_length++] = character; // a text that is too long does not compile
    }

    char m_characters[95] = {};
    std::uint8_t m_length = 0;
};

/** A reference to the body of an export: any callable that returns a result code. CallFrame::run() takes this
 *  class and is no template itself, so its code exists only once. */
class CallBody
{
public:
    template <class F>
    CallBody(const F &function) noexcept // NOLINT(google-explicit-constructor): a lambda converts
        : m_function(&function),
          m_call([](const void *callable) -> std::uint32_t { return (*static_cast<const F *>(callable))(); })
    {
    }

    std::uint32_t operator()() const { return m_call(m_function); }

private:
    const void *m_function;
    std::uint32_t (*m_call)(const void *);
};

/** What all exports have in common. run() tests the arguments and the pen's version, logs the name, calls the
 *  body, and turns exceptions into result codes; no exception leaves it. A cancellation of the thread (POSIX)
 *  takes effect after the body. The members say how an export differs from the others. Texts that are not set
 *  are composed of the log name;
 *  "%s" in connectionText is replaced by the text of the exception. Make it a constexpr constant of its
 *  export, so that its texts are composed at compile time:
 *
 *      uint32_t zelSetWakeUpTime(PenHandle *pen, uint32_t seconds)
 *      {
 *          static constexpr CallFrame frame{.logName = "zelSetWakeUpTime", .minVersion = 0x0502};
 *          return frame.run(pen, {}, [&] {
 *              ...
 *              pen->psp().setValueProperty(property::PEN_WAKE_UP_TIME, Value::createInt(seconds));
 *              return ZEL_OK;
 *          });
 *      }
 *
 *  Immutable; any thread. */
struct CallFrame {
    static constexpr std::int16_t kAnyVersion = std::numeric_limits<std::int16_t>::min();
    static constexpr const char *kNoMark = "";

    const char *logName; ///< often, but not always, the export's name
    Needs needs = Needs::Manager;
    FixedText entryMark{"[", logName, "]"}; ///< logged first; kNoMark for none
    std::int16_t minVersion = kAnyVersion;  ///< oldest software version of a pen; compared as a signed number
    Catches catches = Catches::LockedPen;
    FixedText connectionText{"[", logName, "] failed"};
    FixedText lockedText{"[", logName, "] failed, pen is locked"};
    FixedText unknownText{"[", logName, "] failed, pen does not support the operation."};
    FixedText unexpectedText{logName, " caught an undefined exception."};
    FixedText notSupportedText{"[", logName, "] not supported by pen"};
    bool handlesSecrets = false; ///< wipes the stack that the body used

    /** For exports on a connected pen. A null pen counts as a missing argument. */
    std::uint32_t run(const PenHandle *pen, std::initializer_list<bool> given, CallBody body) const;
    /** For exports without a pen. */
    std::uint32_t run(std::initializer_list<bool> given, CallBody body) const;

private:
    std::uint32_t guard(const PenHandle *pen, CallBody body) const noexcept;
    std::uint32_t translate(const PenHandle *pen, CallBody body) const;
    std::uint32_t enter(const PenHandle *pen, CallBody body) const;
    std::uint32_t unexpected() const noexcept;
};

} // namespace zel
