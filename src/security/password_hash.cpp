#include "security/password_hash.h"

#include "hash_chaining_value.h"
#include "security/rijndael256.h"

#include <cstring>

namespace zel {

namespace {

constexpr std::size_t kBlockSize = Rijndael256::kBlockSize;
constexpr std::size_t kPenIdSize = 8;
// Large enough for the longest password, a zero byte, the pen id, and zeros up to the end of the last block.
constexpr std::size_t kMaxInputLength = kMaxPasswordLength + 1 + kPenIdSize;
using HashInput = WipedBytes<(kMaxInputLength / kBlockSize + 1) * kBlockSize>;

/** Writes password, zero byte and pen id (most significant byte first) into the input, and returns the
 *  length. */
std::size_t buildInput(const char *password, std::uint64_t penId, HashInput &input)
{
    std::size_t length = 0;
    while (length < kMaxPasswordLength && password[length] != '\0') {
        input[length] = static_cast<std::uint8_t>(password[length]);
        ++length;
    }
    input[length++] = 0;
    for (int shift = 56; shift >= 0; shift -= 8)
        input[length++] = static_cast<std::uint8_t>(penId >> shift);
    return length;
}

/** One step of the hash: encrypts the digest so far, with the block of input as the key. */
void chain(PasswordDigest &digest, Rijndael256::ConstBlock block)
{
    PasswordDigest encrypted;
    Rijndael256(block).encrypt(digest, encrypted);
    for (std::size_t i = 0; i < digest.size(); ++i)
        digest[i] ^= encrypted[i];
}

/** Not inlined, so that the caller can wipe the stack that this function used. */
[[gnu::noinline]] PasswordDigest hashInput(const char *password, std::uint64_t penId)
{
    HashInput input;
    const std::size_t length = buildInput(password, penId, input);

    PasswordDigest digest = kHashChainingValue;
    // "<=" is intended: an input that fills its last block exactly is followed by one more block of zeros.
    for (std::size_t offset = 0; offset <= length; offset += kBlockSize)
        chain(digest, Rijndael256::ConstBlock(&input[offset], kBlockSize));
    return digest;
}

} // namespace

PasswordDigest hashPassword(const char *password, std::uint64_t penId)
{
    const PasswordDigest digest = hashInput(password, penId);
    wipeStackBelow();
    return digest;
}

} // namespace zel
