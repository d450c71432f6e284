#include "properties.h"

#include <algorithm>
#include <span>

namespace pensim {

namespace {

constexpr std::size_t kOwnerCardItems = 18;

bool isType(const Value &value, Type type)
{
    return value.type() == type;
}
bool isBool(const Value &value)
{
    return isType(value, Type::boolean);
}
bool isShort(const Value &value)
{
    return isType(value, Type::short16);
}
bool isLong(const Value &value)
{
    return isType(value, Type::long64);
}
bool isText(const Value &value)
{
    return isType(value, Type::string);
}
bool isNull(const Value &value)
{
    return isType(value, Type::null);
}
bool isBinary(const Value &value)
{
    return isType(value, Type::binary);
}

bool isOwnerCard(const Value &value)
{
    return value.isArray() && value.items().size() == kOwnerCardItems &&
           std::all_of(value.items().begin(), value.items().end(), isText);
}

bool isPin(const Value &value)
{
    const std::string &text = value.text();
    return isText(value) && text.size() >= 4 && text.size() <= 16 &&
           text.find_first_not_of("0123456789") == std::string::npos;
}

bool isWakeUpTime(const Value &value)
{
    return isType(value, Type::int32) &&
           (value.number() == 0 || (value.number() >= 60 && value.number() <= 86400));
}

bool areBinaries(std::span<const Value> items)
{
    return std::all_of(items.begin(), items.end(), isBinary);
}

bool isAuthenticator(const Value &value)
{
    return isNull(value) ||
           (value.items().size() == 2 && areBinaries(value.items()) && !value.items()[1].bytes().empty());
}

bool isSigningKey(const Value &value)
{
    return isNull(value) || (value.items().size() == 9 && isShort(value.items()[0]) &&
                             areBinaries(std::span(value.items()).subspan(1)));
}

bool isCertificate(const Value &value)
{
    return isNull(value) || (isBinary(value) && !value.bytes().empty());
}

// The properties that a host may write, and which values each takes.
struct Writable {
    std::uint16_t id;
    bool (*accepts)(const Value &);
};

constexpr Writable kWritable[] = {
    {property::ownerCard, isOwnerCard},     {property::ownerEmail, isText},
    {property::ownerPhone, isText},         {property::penTime, isLong},
    {property::autoPowerOff, isShort},      {property::bluetoothEnabled, isBool},
    {property::bluetoothPin, isPin},        {property::discoverableAllowed, isBool},
    {property::wakeUpTime, isWakeUpTime},   {property::certificateAuthenticator, isAuthenticator},
    {property::certificate, isCertificate}, {property::signingKey, isSigningKey},
};

std::int64_t hostMillis()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

Value texts(std::initializer_list<const char *> items)
{
    std::vector<Value> values;
    for (const char *item : items)
        values.push_back(Value::string(item));
    return Value::array(std::move(values));
}

Value revisions()
{
    std::vector<Value> items = texts({"2.10", "R2_3D", "1.0", "3.4", "1.1", "5.2"}).items();
    items.push_back(Value::short16(0x0a1b));
    return Value::array(std::move(items));
}

Value battery()
{
    return Value::dataArray(Type::short16, {Value::short16(87), Value::short16(3912), Value::short16(0),
                                            Value::short16(24), Value::short16(65535)});
}

// Item 7 is the size of the memory; what the others count, no host asks.
Value memoryOf(std::uint32_t size)
{
    std::vector<Value> items(8, Value::int32(0));
    items[0] = Value::int32(87);
    items[1] = Value::int32(3912);
    items[7] = Value::int32(size);
    return Value::array(std::move(items));
}

std::map<std::uint16_t, Value> builtIn(const PenSpec &spec)
{
    using namespace property;
    return {
        {penId, Value::long64(spec.id)},
        {softwareVersion, Value::short16(static_cast<std::uint16_t>(spec.softwareVersion))},
        {property::battery, pensim::battery()},
        {property::revisions, pensim::revisions()},
        {property::memory, memoryOf(spec.memory)},
        {clockDifference, Value::long64(0)},
        {patternVersion, Value::short16(0x0102)},
        {manufacturerData, Value::string("Simulated by pensim")},
        {brand, Value::string(spec.brand)},
        {secureDelete, Value::boolean(false)},
        {locale, Value::string("en_GB")},
        {ownerCard, Value::array(std::vector<Value>(kOwnerCardItems, Value::string("")))},
        {ownerEmail, Value::string("")},
        {ownerPhone, Value::string("")},
        {publicProperties,
         Value::array({Value::short16(ownerCard), Value::short16(ownerEmail), Value::short16(ownerPhone)})},
        {autoPowerOff, Value::short16(10)},
        {bluetoothEnabled, Value::boolean(true)},
        {bluetoothPin, Value::string("0000")},
        {discoverableAllowed, Value::boolean(false)},
        {wakeUpTime, Value::int32(0)},
    };
}

// Secrets are never read back: a host learns only that there is one.
Value presence(const Value &stored)
{
    return isNull(stored) ? stored : Value::boolean(true);
}

std::uint64_t numberAt(const Bytes &bytes, std::size_t at)
{
    std::uint64_t number = 0;
    for (std::size_t i = at; i < at + 8; ++i)
        number = number << 8 | (i < bytes.size() ? bytes[i] : 0);
    return number;
}

// Stands for what a pen would read out of a true certificate: how many there are, and its first two words.
Value certificateInfo(const Value &stored)
{
    if (isNull(stored))
        return stored;
    return Value::array({Value::short16(1), Value::long64(numberAt(stored.bytes(), 0)),
                         Value::long64(numberAt(stored.bytes(), 8))});
}

Value valueIn(const std::map<std::uint16_t, Value> &values, std::uint16_t id)
{
    const auto found = values.find(id);
    return found == values.end() ? Value::null() : found->second;
}

} // namespace

Properties::Properties(const PenSpec &spec)
    : m_softwareVersion(spec.softwareVersion), m_values(builtIn(spec)), m_forced(spec.properties)
{
    seeHost();
}

bool Properties::supports(std::uint16_t id) const
{
    if (id >= property::certificateAuthenticator && id <= property::signingKey)
        return m_softwareVersion >= kSecurityVersion;
    if (id == property::wakeUpTime || id == property::secureDelete)
        return m_softwareVersion >= kWakeUpVersion;
    return true;
}

Value Properties::computed(std::uint16_t id, std::uint64_t usedBytes) const
{
    if (id == property::penTime)
        return Value::long64(static_cast<std::uint64_t>(hostMillis() + m_clockOffset));
    if (id == property::freeMemory) {
        const std::uint64_t total = memorySize();
        return Value::long64(total - std::min(total, usedBytes));
    }
    const Value stored = valueIn(m_values, id);
    if (id == property::certificate)
        return certificateInfo(stored);
    if (id == property::certificateAuthenticator || id == property::signingKey)
        return presence(stored);
    return stored;
}

Value Properties::read(std::uint16_t id, std::uint64_t usedBytes) const
{
    if (const auto forced = m_forced.find(id); forced != m_forced.end())
        return forced->second;
    return supports(id) ? computed(id, usedBytes) : Value::null();
}

std::int32_t Properties::write(std::uint16_t id, const Value &value)
{
    const auto writable = std::find_if(std::begin(kWritable), std::end(kWritable),
                                       [id](const Writable &row) { return row.id == id; });
    if (writable == std::end(kWritable) || !supports(id) || !writable->accepts(value))
        return status::propertyRefused;
    m_forced.erase(id);
    m_values[id] = value;
    if (id == property::penTime) {
        m_clockOffset = static_cast<std::int64_t>(value.number()) - hostMillis();
        seeHost();
    }
    return 0;
}

void Properties::set(std::uint16_t id, Value value)
{
    m_forced[id] = std::move(value);
}

void Properties::setMemory(std::uint32_t bytes)
{
    m_forced.erase(property::memory);
    m_values[property::memory] = memoryOf(bytes);
}

std::uint32_t Properties::memorySize() const
{
    const Value memory = read(property::memory, 0);
    return memory.items().size() > 7 ? static_cast<std::uint32_t>(memory.items()[7].number()) : 0;
}

std::map<std::uint16_t, Value> Properties::all(std::uint64_t usedBytes) const
{
    std::map<std::uint16_t, Value> all = m_forced;
    for (const auto &[id, value] : m_values)
        all.try_emplace(id, read(id, usedBytes));
    for (const std::uint16_t id : {property::freeMemory, property::penTime})
        all.try_emplace(id, read(id, usedBytes));
    std::erase_if(all, [](const auto &row) { return isNull(row.second); });
    return all;
}

std::map<std::uint16_t, Value> Properties::changed(PenSpec spec) const
{
    spec.properties.clear();
    spec.memory = memorySize();
    const Properties fresh(spec);
    std::map<std::uint16_t, Value> changed = m_forced;
    for (const auto &[id, value] : m_values)
        if (id != property::systemTime && read(id, 0) != fresh.read(id, 0))
            changed.try_emplace(id, read(id, 0));
    return changed;
}

void Properties::seeHost()
{
    m_values[property::systemTime] = Value::long64(static_cast<std::uint64_t>(hostMillis()));
}

} // namespace pensim
