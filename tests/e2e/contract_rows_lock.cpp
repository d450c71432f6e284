#include "contract_table.h"

#include "support/wire.h"

namespace contract {

namespace {

namespace wire = zel::test::wire;

constexpr char kPassword[] = "ABCDEFGHIJKLMNOPQRSTUVW";
// The digest of that password on pen 0x0000012300ABCDEF, from libmcrypt.
const std::string kDigest = "07 00000020 13763BCDE1D858DF736F8A4C1A5103B4 0B24FF73DDDB1CA7BA43312976AA0F0E";

Expected granted(bool yes)
{
    return {.code = yes ? ZEL_OK : ZEL_ERR_INVALID_ARGUMENT};
}

/** The pen's word that the password is right; whatever it says, the hint follows. */
Meaning stored()
{
    return [](const Sample &sample) { return granted(sample.number == 1); };
}

} // namespace

std::vector<Row> lockRows() // NOLINT(readability-function-size): a table
{
    return {
        // Of the pen's failures it knows a lost connection alone; its texts spell the name in their way.
        {.name = "zelUnlockPen",
         .logName = "zelUnLockPen",
         .call = [](PenHandle *pen) { return outcome(zelUnlockPen(pen, kPassword)); },
         .entry = Lines{debug("[zelUnLockPen]"), debug("[zelUnLockPen] - hashPassword"),
                        debug("[zelUnLockPen] - unlock")},
         .exchanges = {{.request = bytesOf("'R1UL' 01  00 " + kDigest),
                        .result = wire::int32(1),
                        .meaning = [](const Sample &sample) { return granted(sample.number != 0); }}},
         .lockedCode = 11,
         .hashes = true},

        {.name = "zelSetPasswordData",
         .call =
             [](PenHandle *pen) { return outcome(zelSetPasswordData(pen, kPassword, "new", "the old one")); },
         .exchanges = {{.request = bytesOf("'R1PS' 02  00 " + kDigest + "  01 06 0004 'new' 00"),
                        .result = wire::int32(1),
                        .meaning = stored()},
                       {.request = bytesOf("'R1ST' 01  00 06 000C 'the old one' 00"),
                        .result = wire::int32(0),
                        .meaning = ignored()}},
         .hashes = true},

        {.name = "zelRemovePasswordData",
         .call = [](PenHandle *pen) { return outcome(zelRemovePasswordData(pen, kPassword)); },
         .exchanges = {{.request = bytesOf("'R1PS' 02  00 " + kDigest + "  01 06 0001 00"),
                        .result = wire::int32(1),
                        .meaning = stored()},
                       {.request = bytesOf("'R1ST' 01  00 06 0001 00"),
                        .result = wire::int32(0),
                        .meaning = ignored()}},
         .hashes = true},

        {.name = "zelGetPasswordHint",
         .call =
             [](PenHandle *pen) {
                 TextOutput hint;
                 const auto code = zelGetPasswordHint(pen, hint.place());
                 return outcome(code, hint);
             },
         .exchanges =
             {{.request = bytesOf("'R1GT' 00"),
               .result = wire::string("the cat"),
               .meaning = [](const Sample &sample) { return Expected{.outputs = '"' + sample.text + '"'}; }}},
         .outputs = "\"the cat\"",
         .refused = "null",
         .failed = "null"},

        // Preset to locked, so that a host that does not look at the code errs on the safe side.
        {.name = "zelGetPenLockedStatus",
         .call =
             [](PenHandle *pen) {
                 NumberOutput<std::uint8_t> locked;
                 const auto code = zelGetPenLockedStatus(pen, locked.place());
                 return outcome(code, locked);
             },
         .exchanges = {{.request = bytesOf("'R1GL' 00"), .result = wire::int32(0), .meaning = number(8)}},
         .outputs = "0",
         .refused = "1",
         .failed = "1",
         .lockedText = "[TarselPen::isLocked] failed, pen is locked",
         .connectionText = "[TarselPen::isLocked] failed"},
    };
}

} // namespace contract
