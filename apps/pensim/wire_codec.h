#pragma once

#include "request.h"

#include <optional>
#include <span>
#include <stdexcept>

namespace pensim {

/** The input does not follow the protocol, or is larger than the service accepts. */
class MalformedInput : public std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/** The limits on one request. The largest that hosts send is a firmware block of 64 KiB. */
inline constexpr std::size_t kLongestRequest = 16 << 20; // bytes
inline constexpr std::size_t kMostValues = 100000;       // each takes some 100 bytes of memory
inline constexpr std::size_t kDeepestValue = 64;         // arrays within arrays

/** Appends the value's wire form. */
void encodeValue(const Value &value, Bytes &out);

/** Appends a response: the status alone, or the status and a result. */
void encodeResponse(std::int32_t status, const std::optional<Value> &result, Bytes &out);

/** Puts a request together from bytes that arrive in pieces of any size. It looks at each byte once and
 *  holds memory for what arrived, never for what was announced.
 *
 *      while (decoder.take(input))
 *          answer(decoder.request()); */
class RequestDecoder
{
public:
    /** Takes bytes from the front of `input`, up to the end of the request. Returns false when all were taken
     *  and more are needed. Throws MalformedInput; the decoder is of no use after that. */
    bool take(std::span<const std::uint8_t> &input);
    /** The whole request; the decoder is ready for the next. */
    Request request();

private:
    enum class Step { header, index, type, number, length, content, escaped, escape };
    /** An array that is being filled. */
    struct Level {
        Type type;
        Type elementType;
        std::size_t left; // items still to come, unless a terminator ends them
        std::vector<Value> items;
    };

    bool fill(std::span<const std::uint8_t> &input);
    void expect(Step step, std::size_t size);
    void expectIndex();
    void interpret();
    void begin(Type type);
    void beginContent();
    void push(Type type, Type elementType, std::size_t count);
    void continueLevel();
    void finish(Value value);
    void deliver();
    void takeEscaped(std::uint8_t byte);
    std::uint64_t number(std::size_t size) const;

    Step m_step = Step::header;
    std::size_t m_tokenSize = 5;
    Bytes m_token; // the bytes so far of the piece that the step needs
    std::size_t m_bytes = 0;
    std::size_t m_values = 0;
    Type m_type = Type::null;     // of the value that is being read
    std::optional<Value> m_value; // complete, but not delivered yet
    Bytes m_escaped;
    std::vector<Level> m_levels;
    std::size_t m_argumentsLeft = 0;
    bool m_whole = false;
    Request m_request;
};

} // namespace pensim
