#include "instructions.h"

#include <algorithm>

namespace pensim {

namespace {

using ConnectionNumber = std::uint64_t;

constexpr std::uint64_t kStrokeFormat = 2;
constexpr std::size_t kLongestPassword = 31;

Answer done()
{
    return {};
}
Answer result(Value value)
{
    return {0, std::move(value)};
}
Answer refused(std::int32_t status)
{
    return {status, {}};
}
Answer yesOrNo(bool yes)
{
    return result(Value::int32(yes ? 1 : 0));
}

std::uint16_t propertyId(const Request &request)
{
    return static_cast<std::uint16_t>(request.argument(0).number());
}

Answer getProperty(PenState &pen, const Request &request, ConnectionNumber)
{
    return result(pen.readProperty(propertyId(request)));
}

Answer setProperty(PenState &pen, const Request &request, ConnectionNumber)
{
    return refused(pen.properties.write(propertyId(request), request.argument(1)));
}

Answer listPages(PenState &pen, const Request &, ConnectionNumber)
{
    std::vector<Value> items;
    items.reserve(pen.pages.pages().size());
    for (const PageSpec &page : pen.pages.pages())
        items.push_back(Value::array({Value::long64(page.address), Value::int32(page.size())}));
    return result(Value::array(std::move(items)));
}

Answer beginSyncSession(PenState &pen, const Request &, ConnectionNumber connection)
{
    if (pen.syncBusy || pen.sessionOwner)
        return yesOrNo(false);
    pen.sessionOwner = connection;
    pen.sessionPages = 0;
    return yesOrNo(true);
}

Answer endSyncSession(PenState &pen, const Request &, ConnectionNumber connection)
{
    pen.connectionClosed(connection);
    return done();
}

Value limited(const Value &strokes, std::uint64_t limit)
{
    if (strokes.type() != Type::binary || strokes.bytes().size() <= limit)
        return strokes;
    const Bytes &bytes = strokes.bytes();
    return Value::binary(Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(limit)));
}

Answer getPage(PenState &pen, const Request &request, ConnectionNumber connection)
{
    if (pen.sessionOwner != connection)
        return refused(status::noSession);
    if (request.argument(1).number() != kStrokeFormat)
        return refused(status::badArguments);
    const PageSpec *page = pen.pages.find(request.argument(0).number());
    if (page == nullptr)
        return refused(status::noSuchPage);
    ++pen.sessionPages;
    return result(limited(page->strokes, request.argument(2).number()));
}

Answer getStylo(PenState &pen, const Request &, ConnectionNumber connection)
{
    if (pen.sessionOwner != connection)
        return refused(status::noSession);
    std::vector<Value> items;
    for (const PageSpec &page : pen.styloPages)
        items.push_back(Value::array({Value::long64(page.address), page.strokes}));
    return result(Value::array(std::move(items)));
}

Answer setMmiState(PenState &pen, const Request &request, ConnectionNumber)
{
    pen.mmiState = static_cast<std::uint16_t>(request.argument(0).number());
    return done();
}

Answer removePage(PenState &pen, const Request &request, ConnectionNumber)
{
    if (request.argument(1).number() != kStrokeFormat)
        return refused(status::badArguments);
    return refused(pen.pages.remove(request.argument(0).number()) > 0 ? 0 : status::noSuchPage);
}

Answer clearStrokes(PenState &pen, const Request &request, ConnectionNumber)
{
    if (request.argument(0).number() != 0)
        return refused(status::badArguments);
    pen.pages.clear();
    pen.styloPages.clear();
    return done();
}

Answer lockStatus(PenState &pen, const Request &, ConnectionNumber)
{
    return result(Value::boolean(pen.locked));
}

Answer unlock(PenState &pen, const Request &request, ConnectionNumber)
{
    if (pen.locked && !pen.passwordMatches(request.argument(0)))
        return yesOrNo(false);
    pen.locked = false;
    return yesOrNo(true);
}

// Without a password there is nothing to prove.
Answer setPassword(PenState &pen, const Request &request, ConnectionNumber)
{
    const bool known = pen.password.empty() || pen.passwordMatches(request.argument(0));
    const std::string newPassword = request.argument(1).text();
    if (!known || newPassword.size() > kLongestPassword)
        return yesOrNo(false);
    pen.setPassword(newPassword);
    return yesOrNo(true);
}

Answer getHint(PenState &pen, const Request &, ConnectionNumber)
{
    return result(Value::string(pen.hint));
}

Answer setHint(PenState &pen, const Request &request, ConnectionNumber)
{
    pen.hint = request.argument(0).text();
    return done();
}

Answer hasEncryptedData(PenState &pen, const Request &, ConnectionNumber)
{
    return result(Value::boolean(pen.encryptedData.has_value()));
}

Answer getEncryptedData(PenState &pen, const Request &, ConnectionNumber)
{
    return result(pen.encryptedData ? Value::binary(*pen.encryptedData) : Value::null());
}

Answer clearEncryptedData(PenState &pen, const Request &, ConnectionNumber)
{
    const bool present = pen.encryptedData.has_value();
    pen.encryptedData.reset();
    return yesOrNo(present);
}

DfuMachine::Time now()
{
    return std::chrono::steady_clock::now();
}

Answer accepted(bool fine)
{
    return fine ? done() : refused(status::stalled);
}

Answer dfuDetach(PenState &pen, const Request &, ConnectionNumber)
{
    return accepted(pen.dfu.detach(now()));
}

Answer dfuDetachBoot(PenState &pen, const Request &, ConnectionNumber)
{
    if (!pen.dfu.detach(now()))
        return refused(status::stalled);
    pen.dfu.boot();
    pen.restartWanted = true;
    return done();
}

Answer dfuFunctionalDescriptor(PenState &pen, const Request &, ConnectionNumber)
{
    const auto descriptor = pen.dfu.functionalDescriptor();
    return result(Value::binary(Bytes(descriptor.begin(), descriptor.end())));
}

Answer dfuDownload(PenState &pen, const Request &request, ConnectionNumber)
{
    return accepted(pen.dfu.download(request.argument(0).bytes(), now()));
}

Answer dfuGetStatus(PenState &pen, const Request &, ConnectionNumber)
{
    const auto record = pen.dfu.getStatus(now());
    return record ? result(Value::binary(Bytes(record->begin(), record->end()))) : refused(status::stalled);
}

Answer dfuClearStatus(PenState &pen, const Request &, ConnectionNumber)
{
    return accepted(pen.dfu.clearStatus(now()));
}

Answer dfuAbort(PenState &pen, const Request &, ConnectionNumber)
{
    return accepted(pen.dfu.abort(now()));
}

Answer dfuGetState(PenState &pen, const Request &, ConnectionNumber)
{
    const auto state = pen.dfu.getState(now());
    return state ? result(Value::int32(static_cast<std::uint32_t>(*state))) : refused(status::stalled);
}

Answer dfuResetPort(PenState &pen, const Request &, ConnectionNumber)
{
    pen.dfu.reset(now());
    pen.restartWanted = true;
    return done();
}

using enum Type;

const Instruction kInstructions[] = {
    {instruction::getProperty, "get property", getProperty, {short16}},
    {instruction::setProperty, "set property", setProperty, {short16, any}},
    {instruction::listPages, "list pages", listPages, {}},
    {instruction::beginSyncSession, "begin sync session", beginSyncSession, {}},
    {instruction::endSyncSession, "end sync session", endSyncSession, {}},
    {instruction::getPage, "get page", getPage, {long64, long64, long64}},
    {instruction::getStylo, "get stylo pages", getStylo, {}},
    {instruction::setMmiState, "set MMI state", setMmiState, {short16}},
    {instruction::removePage, "remove page", removePage, {long64, long64, long64}},
    {instruction::clearStrokes, "clear strokes", clearStrokes, {int32}},
    {instruction::lockStatus, "lock status", lockStatus, {}, true},
    {instruction::unlock, "unlock", unlock, {binary}, true},
    {instruction::setPassword, "set password", setPassword, {binary, string}},
    {instruction::getHint, "get hint", getHint, {}, true},
    {instruction::setHint, "set hint", setHint, {string}},
    {instruction::hasEncryptedData, "has encrypted data", hasEncryptedData, {}, false, kSecurityVersion},
    {instruction::getEncryptedData, "get encrypted data", getEncryptedData, {}, false, kSecurityVersion},
    {instruction::clearEncryptedData,
     "clear encrypted data",
     clearEncryptedData,
     {},
     false,
     kSecurityVersion},
    {instruction::dfuDetach, "DFU detach", dfuDetach, {}, false, 0, true},
    {instruction::dfuDetachBoot, "DFU detach and boot", dfuDetachBoot, {}, false, 0, true},
    {instruction::dfuFunctionalDescriptor,
     "DFU functional descriptor",
     dfuFunctionalDescriptor,
     {},
     false,
     0,
     true},
    {instruction::dfuDownload, "DFU download", dfuDownload, {binary}, false, 0, true},
    {instruction::dfuGetStatus, "DFU get status", dfuGetStatus, {}, false, 0, true},
    {instruction::dfuClearStatus, "DFU clear status", dfuClearStatus, {}, false, 0, true},
    {instruction::dfuAbort, "DFU abort", dfuAbort, {}, false, 0, true},
    {instruction::dfuGetState, "DFU get state", dfuGetState, {}, false, 0, true},
    {instruction::dfuResetPort, "DFU reset port", dfuResetPort, {}, false, 0, true},
};

} // namespace

bool Instruction::isKnownTo(const PenState &pen) const
{
    return pen.dfu.dfuMode() ? inDfuMode : pen.softwareVersion >= minVersion;
}

bool Instruction::accepts(const Request &request) const
{
    if (request.arguments.size() != arguments.size())
        return false;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const Argument &given = request.arguments[i];
        if (given.index != i || (arguments[i] != any && given.value.type() != arguments[i]))
            return false;
    }
    return true;
}

const Instruction *findInstruction(std::uint32_t code)
{
    const auto found = std::find_if(std::begin(kInstructions), std::end(kInstructions),
                                    [code](const Instruction &row) { return row.code == code; });
    return found == std::end(kInstructions) ? nullptr : found;
}

std::size_t instructionCount()
{
    return std::size(kInstructions);
}

std::string codeText(std::uint32_t code)
{
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const auto character = static_cast<unsigned char>(code >> shift);
        text += character > ' ' && character < 0x7f ? static_cast<char>(character) : '?';
    }
    return text;
}

} // namespace pensim
