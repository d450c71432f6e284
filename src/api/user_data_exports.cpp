#include "api/call_frame.h"
#include "api/copy_out.h"
#include "protocol/values/value_convert.h"
#include "psp/property_ids.h"
#include "session/pen_handle.h"

using namespace zel;

namespace {

/** The owner's card: text A, and seventeen fields that are always empty. */
Value createCard(const std::string &textA)
{
    constexpr int kEmptyFields = 17;
    ValueList fields;
    fields.push_back(Value::createString(textA));
    for (int i = 0; i < kEmptyFields; ++i)
        fields.push_back(Value::createString(""));
    return Value::createValueArray(std::move(fields));
}

std::string readText(PspClient2 &psp, std::uint16_t property)
{
    const Value value = psp.getValueProperty(property);
    return isNull(value) ? std::string() : toText(value);
}

} // namespace

uint32_t zelSetUserData(PenHandle *pen, const char *textA, const char *textB, const char *textC)
{
    // The text for a locked pen names the other export. It is fixed.
    static constexpr CallFrame frame{
        .logName = "zelSetUserData",
        .connectionText = "[TarselPen::setUserData] failed, pen not connected",
        .lockedText = "[TarselPen::getUserData] failed, pen is locked",
    };
    return frame.run(pen, {required(textA), required(textB), required(textC)}, [&] {
        PspClient2 &psp = pen->psp();
        psp.setValueProperty(property::PEN_OWNER_EMAIL, Value::createString(textB));
        psp.setValueProperty(property::PEN_OWNER_CELL_PHONE, Value::createString(textC));
        psp.setValueProperty(property::PEN_OWNER_VCARD, createCard(textA));
        return ZEL_OK;
    });
}

uint32_t zelGetUserData(PenHandle *pen, char **textA, char **textB, char **textC)
{
    static constexpr CallFrame frame{
        .logName = "zelGetUserData",
        .connectionText = "[TarselPen::getUserData] failed, pen not connected: %s",
        .lockedText = "[TarselPen::getUserData] failed, pen is locked",
    };
    return frame.run(pen, {cleared(textA), cleared(textB), cleared(textC)}, [&] {
        PspClient2 &psp = pen->psp();
        // The list is not used, but an answer that is no list is an error.
        psp.getValueProperty(property::UNNAMED_201A).getArray();
        const std::string textOfC = readText(psp, property::PEN_OWNER_CELL_PHONE);
        const std::string textOfB = readText(psp, property::PEN_OWNER_EMAIL);
        const Value card = psp.getValueProperty(property::PEN_OWNER_VCARD);
        const std::string textOfA = toText(elementAt(card.getArray(), 0));
        CopyOutStrings({{textOfA, textA}, {textOfB, textB}, {textOfC, textC}});
        return ZEL_OK;
    });
}
