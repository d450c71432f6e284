#include "fuzz/fuzz_target.h"

#include <zel/page_data.hpp>

namespace {

/** Looks at every value, at as many as the budget allows: an array of bodiless elements may hold billions. */
void lookAt(const zelpp::Value &value, unsigned &budget)
{
    ZEL_FUZZ_REQUIRE(!value.text() || value.text()->size() + 2 <= value.body().size());
    ZEL_FUZZ_REQUIRE(value.unescaped().size() <= value.body().size());
    const std::uint8_t *at = value.body().begin();
    for (const zelpp::Value &element : value) {
        if (budget == 0)
            return;
        --budget;
        ZEL_FUZZ_REQUIRE(element.body().begin() >= at && element.body().end() <= value.body().end());
        at = element.body().end();
        lookAt(element, budget);
    }
}

} // namespace

// Page data as the C++ header reads it: what is refused is refused within the bytes, and at the same place
// when they are cut behind it; what is read covers the bytes without gap or overlap, and loses nothing when
// a page is taken out.
ZEL_FUZZ_TARGET(cpp_page_data)
{
    const zelpp::Bytes bytes(input.data(), input.size());
    const auto data = zelpp::PageData::tryView(bytes);
    if (!data) {
        ZEL_FUZZ_REQUIRE(data.error().offset() <= input.size());
        const auto cut = static_cast<std::size_t>(data.error().offset());
        const auto again = zelpp::PageData::tryView(bytes.subrun(0, cut));
        ZEL_FUZZ_REQUIRE(again || again.error().offset() == cut);
        return;
    }
    unsigned budget = 10000;
    const std::uint8_t *at = bytes.begin() + 26;
    for (const zelpp::Page &page : *data) {
        ZEL_FUZZ_REQUIRE(page.record().begin() >= at);
        ZEL_FUZZ_REQUIRE(page.strokes().begin() >= page.record().begin() + 15);
        ZEL_FUZZ_REQUIRE(page.strokes().end() <= page.record().end());
        ZEL_FUZZ_REQUIRE(zelpp::parseAddress(page.address()) == page.addressNumber() ||
                         page.address().find('*') != std::string::npos);
        at = page.record().end();
        for (const zelpp::Entry &entry : page.entries())
            lookAt(entry.value, budget);
    }
    for (const zelpp::Entry &entry : data->properties()) {
        ZEL_FUZZ_REQUIRE(entry.value.body().begin() > at);
        at = entry.value.body().end();
        lookAt(entry.value, budget);
    }
    ZEL_FUZZ_REQUIRE(at <= bytes.end());
    ZEL_FUZZ_REQUIRE(!data->properties().empty() ? at == bytes.end() : true);
}
