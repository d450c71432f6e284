#pragma once

#include "pages/page_address.h"
#include "protocol/value.h"

#include <cstdint>
#include <map>
#include <memory>

namespace zel {

/** Keyed values of a request or of one of its pages, in ascending key order. */
using EntryMap = std::map<std::uint16_t, std::unique_ptr<Value>>;

/** One page of a page-transaction request. */
struct ProtocolPage {
    PageAddress address;
    std::unique_ptr<EntryMap> entries; // empty for most pages, of which there may be thousands
    std::unique_ptr<Value> data;       // binary or escaped binary; empty when the page has none
};

} // namespace zel
