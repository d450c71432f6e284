#include "fuzz/fuzz_target.h"

#include "pagedata/format_error.h"
#include "pagedata/page_transaction.h"

#include <sstream>

// Page-data files as the command-line host reads them.
ZEL_FUZZ_TARGET(page_transaction)
{
    std::istringstream file{std::string(zel::fuzz::asText(input))};
    try {
        const penctl::PageTransaction transaction = penctl::readPageTransaction(file, input.size());
        ZEL_FUZZ_REQUIRE(transaction.pages.size() <= 65535);
    } catch (const penctl::FormatError &) {
    }
}
