#include "hosts.h"

#ifdef _WIN32
#include <windows.h> // as hosts do; its macros must not meet a name of ours
#endif

#include <zel/firmware.hpp>

static_assert(!ZELPP_HAS_EXCEPTIONS);

PenWithoutExceptions noExceptionsHostFetches()
{
    PenWithoutExceptions seen;
    zelpp::Result<zelpp::Library> library = zelpp::Library::tryStart();
    if (!library)
        return seen;
    const zelpp::Result<zelpp::PenInfo> info = library->tryWait();
    if (!info)
        return seen;
    zelpp::Result<zelpp::Pen> pen = library->tryConnect(*info);
    if (!pen)
        return seen;
    seen.serial = pen->serial();
    const zelpp::Result<zelpp::PageData> data = pen->tryFetchAll();
    seen.pages = data ? data->size() : 0;
    const zelpp::Result<zelpp::PageData> none = pen->tryFetch({"7.7.7.7"});
    if (!none) {
        seen.failure = none.error().number();
        seen.sentence = none.error().what();
    }
    return seen;
}
