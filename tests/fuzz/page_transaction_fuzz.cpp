#include "fuzz/fuzz_target.h"

#include "commands/page_data_view.h"
#include "pagedata/format_error.h"
#include "pagedata/page_transaction.h"

#include <algorithm>
#include <sstream>

namespace {

bool isFitForTerminal(char c)
{
    return c == '\n' || (static_cast<unsigned char>(c) >= 0x20 && c != 0x7F);
}

} // namespace

// Page-data files as the command-line host reads and shows them: nothing in one reaches the terminal raw.
ZEL_FUZZ_TARGET(page_transaction)
{
    std::istringstream file{std::string(zel::fuzz::asText(input))};
    penctl::PageTransaction transaction;
    try {
        transaction = penctl::readPageTransaction(file, input.size());
    } catch (const penctl::FormatError &) {
        return;
    }
    const std::string text = penctl::pageDataText(transaction, false);
    ZEL_FUZZ_REQUIRE(std::all_of(text.begin(), text.end(), isFitForTerminal));
    const penctl::Json json = penctl::pageDataJson(transaction);
    ZEL_FUZZ_REQUIRE(json["pages"].size() == transaction.pages.size());
    ZEL_FUZZ_REQUIRE(!json.dump(-1, ' ', false, penctl::Json::error_handler_t::replace).empty());
}
