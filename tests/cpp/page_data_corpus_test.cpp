#include <zel/page_data.hpp>

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>

/** The reader against the files of tests/data/page_data, whose README tells their form. */
namespace {

using Json = nlohmann::json;
using Bytes = std::vector<std::uint8_t>;

std::filesystem::path corpusFile(const std::string &name)
{
    return std::filesystem::path(ZEL_PAGE_DATA_CORPUS) / name;
}

/** The bytes of a line: "256* 08 00 01 # comment". */
void appendLine(Bytes &bytes, const std::string &line)
{
    std::istringstream words(line.substr(0, line.find('#')));
    unsigned times = 1;
    Bytes once;
    for (std::string word; words >> word;) {
        if (word.back() == '*')
            times = static_cast<unsigned>(std::stoul(word));
        else
            once.push_back(static_cast<std::uint8_t>(std::stoul(word, nullptr, 16)));
    }
    for (; times > 0; --times)
        bytes.insert(bytes.end(), once.begin(), once.end());
}

Bytes bytesOf(const std::string &name)
{
    std::ifstream in(corpusFile(name + ".hex"));
    Bytes bytes;
    for (std::string line; std::getline(in, line);)
        appendLine(bytes, line);
    return bytes;
}

Json expectedReading(const std::string &name)
{
    std::ifstream in(corpusFile(name + ".json"));
    return Json::parse(in);
}

std::string hex(zelpp::Bytes bytes)
{
    std::string text;
    for (const std::uint8_t byte : bytes)
        for (const int shift : {4, 0})
            text += "0123456789abcdef"[byte >> shift & 0xF];
    return text;
}

/** A character for each byte, as JSON wants it: in UTF-8. */
std::string fromLatin1(std::string_view text)
{
    std::string utf8;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80) {
            utf8 += c;
        } else {
            utf8 += static_cast<char>(0xC0 | byte >> 6);
            utf8 += static_cast<char>(0x80 | (byte & 0x3F));
        }
    }
    return utf8;
}

Json typedJson(const zelpp::Value &value);

Json valueJson(const zelpp::Value &value)
{
    if (value.type() == zelpp::ValueType::boolean)
        return *value.number() != 0;
    if (value.number())
        return *value.number();
    if (value.text())
        return fromLatin1(*value.text());
    if (value.binary())
        return hex(*value.binary());
    if (value.type() == zelpp::ValueType::escapedBinary)
        return hex(value.unescaped());
    if (!value.isArray())
        return nullptr;
    Json elements = Json::array();
    for (const zelpp::Value &element : value)
        elements.push_back(typedJson(element));
    return elements;
}

Json typedJson(const zelpp::Value &value)
{
    return {{"type", zelpp::typeName(value.type())}, {"value", valueJson(value)}};
}

Json entriesJson(const std::vector<zelpp::Entry> &entries)
{
    Json list = Json::array();
    for (const zelpp::Entry &entry : entries) {
        Json json = typedJson(entry.value);
        json["key"] = entry.key;
        list.push_back(json);
    }
    return list;
}

Json reading(const zelpp::PageData &data)
{
    Json pages = Json::array();
    for (const zelpp::Page &page : data)
        pages.push_back({{"address", page.address()},
                         {"stylo", page.isStylo()},
                         {"strokes", hex(page.strokes())},
                         {"entries", entriesJson(page.entries())}});
    Json json = {{"request", {{"address", data.requestAddress()}, {"pidget", data.requestPidget()}}},
                 {"penId", nullptr},
                 {"serial", nullptr},
                 {"pages", pages},
                 {"properties", entriesJson(data.properties())}};
    if (const std::optional<std::uint64_t> id = data.penId()) {
        char text[32];
        std::snprintf(text, sizeof text, "0x%016llx", static_cast<unsigned long long>(*id));
        json["penId"] = text;
        json["serial"] = data.penSerial();
    }
    return json;
}

std::vector<std::string> caseNames()
{
    std::vector<std::string> names;
    for (const auto &file : std::filesystem::directory_iterator(ZEL_PAGE_DATA_CORPUS))
        if (file.path().extension() == ".hex")
            names.push_back(file.path().stem().string());
    std::sort(names.begin(), names.end());
    return names;
}

class PageDataCorpus : public testing::TestWithParam<std::string>
{
};

TEST_P(PageDataCorpus, IsReadAsExpected)
{
    const Json expected = expectedReading(GetParam());
    const Bytes bytes = bytesOf(GetParam());
    const zelpp::Result<zelpp::PageData, zelpp::PageDataError> data = zelpp::PageData::tryView(bytes);
    if (expected.contains("refusedAt")) {
        ASSERT_FALSE(data);
        EXPECT_EQ(data.error().offset(), expected["refusedAt"].get<std::uint64_t>()) << data.error().what();
        return;
    }
    ASSERT_TRUE(data) << data.error().what();
    Json read = reading(*data);
    if (expected.contains("fieldStarts"))
        read["fieldStarts"] = expected["fieldStarts"];
    EXPECT_EQ(read, expected);
}

TEST_P(PageDataCorpus, CutIsRefusedAtTheFieldThatIsCut)
{
    const Json expected = expectedReading(GetParam());
    if (expected.contains("refusedAt"))
        return;
    const Bytes bytes = bytesOf(GetParam());
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        const Bytes cut(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length)); // its own block
        const auto data = zelpp::PageData::tryView(cut);
        ASSERT_FALSE(data) << length;
        EXPECT_LE(data.error().offset(), length);
        if (!expected.contains("fieldStarts"))
            continue;
        std::uint64_t field = 0;
        for (const Json &start : expected["fieldStarts"])
            if (start.get<std::uint64_t>() <= length)
                field = start.get<std::uint64_t>();
        EXPECT_EQ(data.error().offset(), field) << length;
    }
}

INSTANTIATE_TEST_SUITE_P(Files, PageDataCorpus, testing::ValuesIn(caseNames()),
                         [](const auto &named) { return named.param; });

TEST(PageDataCorpusFolder, EveryCaseHasItsReadingAndEveryReadingItsCase)
{
    const std::vector<std::string> names = caseNames();
    EXPECT_GE(names.size(), 40u);
    for (const auto &file : std::filesystem::directory_iterator(ZEL_PAGE_DATA_CORPUS)) {
        const std::filesystem::path &path = file.path();
        const char *const other = path.extension() == ".hex" ? ".json" : ".hex";
        if (path.filename() == "README.md")
            continue;
        EXPECT_TRUE(std::filesystem::exists(corpusFile(path.stem().string() + other))) << path;
    }
}

} // namespace
