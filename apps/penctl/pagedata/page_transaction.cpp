#include "pagedata/page_transaction.h"

#include <fmt/format.h>

#include "pagedata/field_reader.h"
#include "pagedata/format_error.h"
#include "pagedata/value_reader.h"

namespace penctl {

namespace {

/** The lengths that the file announces for its own structures. A later writer may add fields behind the known
 *  ones: they are skipped. */
struct Layout {
    static constexpr uint16_t kHeader = 24;
    static constexpr uint16_t kPageHeader = 15;
    static constexpr uint16_t kEntryHeader = 2;
    static constexpr uint16_t kValueHeader = 1;

    uint16_t header = 0;
    uint16_t pageHeader = 0;
    uint16_t pageEntryHeader = 0;
    uint16_t entryHeader = 0;
    uint16_t valueHeader = 0;
    uint16_t pages = 0;
    uint16_t properties = 0;
};

void requireLength(uint16_t length, uint16_t least, const char *what)
{
    if (length < least)
        throw FormatError(fmt::format("the announced length of {} is {}, less than {}", what, length, least));
}

void readVersion(FieldReader &in, PageTransaction &file)
{
    file.majorVersion = in.readByte("the version");
    file.minorVersion = in.readByte("the version");
    if (file.majorVersion != 1 || file.minorVersion != 0)
        throw FormatError(fmt::format("not page data of version 1.0 (it begins with {:02X} {:02X})",
                                      file.majorVersion, file.minorVersion));
}

void requireLengths(const Layout &layout)
{
    requireLength(layout.header, Layout::kHeader, "the header");
    requireLength(layout.pageHeader, Layout::kPageHeader, "a page's header");
    requireLength(layout.pageEntryHeader, Layout::kEntryHeader, "a page entry's header");
    requireLength(layout.entryHeader, Layout::kEntryHeader, "a property's header");
    requireLength(layout.valueHeader, Layout::kValueHeader, "a value's header");
}

Layout readHeader(FieldReader &in, PageTransaction &file)
{
    Layout layout;
    layout.header = in.readShort("the header's length");
    file.address = in.readLong("the page address");
    file.pidget = in.readShort("the pidget number");
    layout.pageHeader = in.readShort("the length of a page's header");
    layout.pageEntryHeader = in.readShort("the length of a page entry's header");
    layout.entryHeader = in.readShort("the length of a property's header");
    layout.valueHeader = in.readShort("the length of a value's header");
    layout.pages = in.readShort("the number of pages");
    layout.properties = in.readShort("the number of properties");
    requireLengths(layout);
    in.skip(layout.header - Layout::kHeader, "the header");
    return layout;
}

PageDataEntry readEntry(FieldReader &in, ValueReader &values, uint16_t headerLength)
{
    PageDataEntry entry;
    entry.key = in.readShort("an entry's key");
    in.skip(headerLength - Layout::kEntryHeader, "an entry's header");
    entry.value = values.read();
    return entry;
}

PageDataPage readPage(FieldReader &in, ValueReader &values, const Layout &layout)
{
    PageDataPage page;
    page.address = in.readLong("a page's address");
    page.strokeBytes = in.readInt("a page's length");
    page.flag = in.readByte("a page's flag");
    const uint16_t entries = in.readShort("the number of a page's entries");
    in.skip(layout.pageHeader - Layout::kPageHeader, "a page's header");
    in.skip(page.strokeBytes, "a page's strokes");
    for (uint16_t i = 0; i < entries; ++i)
        page.entries.push_back(readEntry(in, values, layout.pageEntryHeader));
    return page;
}

} // namespace

PageTransaction readPageTransaction(std::istream &stream, uint64_t size)
{
    FieldReader in(stream, size);
    PageTransaction file;
    readVersion(in, file);
    const Layout layout = readHeader(in, file);
    ValueReader values(in, layout.valueHeader);
    for (uint16_t i = 0; i < layout.pages; ++i)
        file.pages.push_back(readPage(in, values, layout));
    for (uint16_t i = 0; i < layout.properties; ++i)
        file.properties.push_back(readEntry(in, values, layout.entryHeader));
    if (in.remaining() != 0)
        throw FormatError(fmt::format("byte {}: {} more bytes after the end of the page data", in.offset(),
                                      in.remaining()));
    return file;
}

} // namespace penctl
