#pragma once

#include "zel/zel.h"

#include <cstdint>
#include <initializer_list>
#include <limits>
#include <string_view>

namespace zel {

/** What has to exist before an export does anything; without it the answer is
 *  ZEL_ERR_NOT_INITIALIZED. */
enum class Needs { Nothing, Manager, DfuManager, AnyManager };

/** The exceptions that an export tells apart, each step adding to the one before. Every other
 *  exception gives ZEL_ERR_UNEXPECTED. */
enum class Catches { Nothing, Connection, LockedPen, UnknownInstruction };

// The pointers that an export may not do without. Each answers whether it was given; outputs are
// preset on the way, hence before any test, so that a host finds them so after every failure.

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

/** A text that is composed when the library is compiled; converts from a text that is finished. */
class FixedText
{
public:
    template <class... Pieces>
    constexpr FixedText(Pieces... pieces) // NOLINT(google-explicit-constructor): a finished text is meant
    {
        (append(pieces), ...);
    }

    constexpr std::string_view view() const noexcept { return {m_characters, m_length}; }

private:
    constexpr void append(std::string_view piece)
    {
        for (const char character : piece)
            m_characters[m_length++] = character; // too long for it: does not compile
    }

    char m_characters[95] = {};
    std::uint8_t m_length = 0;
};

/** What an export does inside its frame: any callable that returns a result code, borrowed for
 *  the call. Not a template parameter of the frame, so that the frame's code exists once. */
class CallBody
{
public:
    template <class F>
    CallBody(const F &function) noexcept // NOLINT(google-explicit-constructor): a lambda is meant
        : m_function(&function),
          m_call([](const void *callable) -> std::uint32_t { return (*static_cast<const F *>(callable))(); })
    {
    }

    std::uint32_t operator()() const { return m_call(m_function); }

private:
    const void *m_function;
    std::uint32_t (*m_call)(const void *);
};

/** What all exports have in common, and as data what is particular to each: the tests before the
 *  body, the log texts, and the translation of exceptions into result codes. No exception leaves
 *  run(), and a cancellation of the thread (POSIX) takes effect when the body is done. Texts that are
 *  not set are made of the log name; "%s" in connectionText stands for the exception's own text. A
 *  constant of its export, so its texts are composed when it is compiled.
 *
 *      uint32_t zelSetWakeUpTime(PenHandle *pen, uint32_t seconds)
 *      {
 *          static constexpr CallFrame frame{.logName = "zelSetWakeUpTime", .minVersion = 0x0502};
 *          return frame.run(pen, {}, [&] {
 *              ...
 *              pen->psp().setValueProperty(property::PEN_WAKE_UP_TIME, *Value::createInt(seconds));
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
    FixedText entryMark{"[", logName, "]"}; ///< kNoMark for exports that log none
    std::int16_t minVersion = kAnyVersion;  ///< of the pen's software, compared signed
    Catches catches = Catches::LockedPen;
    FixedText connectionText{"[", logName, "] failed"};
    FixedText lockedText{"[", logName, "] failed, pen is locked"};
    FixedText unknownText{"[", logName, "] failed, pen does not support the operation."};
    FixedText unexpectedText{logName, " caught an undefined exception."};
    FixedText notSupportedText{"[", logName, "] not supported by pen"};
    bool handlesSecrets = false; ///< of which the body leaves nothing on the stack

    /** For exports on a connected pen: a null pen counts among what was not given. */
    std::uint32_t run(const PenHandle *pen, std::initializer_list<bool> given, CallBody body) const;
    /** For exports without one. */
    std::uint32_t run(std::initializer_list<bool> given, CallBody body) const;

private:
    std::uint32_t guard(const PenHandle *pen, CallBody body) const noexcept;
    std::uint32_t translate(const PenHandle *pen, CallBody body) const;
    std::uint32_t enter(const PenHandle *pen, CallBody body) const;
    std::uint32_t unexpected() const noexcept;
};

} // namespace zel
