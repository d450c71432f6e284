#include "host/page_list.h"

#include <sstream>

#include "host/host_memory.h"

namespace penctl {

std::vector<std::string> splitAddresses(const std::string &text)
{
    std::vector<std::string> addresses;
    std::istringstream in(text);
    for (std::string address; std::getline(in, address, ';');)
        addresses.push_back(address);
    return addresses;
}

uint32_t readPageList(PenHandle *pen, PageListing &listing)
{
    LibraryPageList text;
    const uint32_t code = zelGetPageList(pen, text.out(), &listing.totalBytes);
    listing.addresses = splitAddresses(text.str());
    return code;
}

} // namespace penctl
