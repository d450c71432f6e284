#include "host/page_retrieval.h"

namespace penctl {

namespace {

/** The library's progress callback has no context of its own, but it comes on the thread that retrieves. */
struct Retrieval {
    const PageProgress &progress;
    uint32_t calls = 0;
};
thread_local Retrieval *t_retrieval = nullptr;

/** The first call announces the total, each later one follows a page. */
void onProgress(const char *, uint32_t bytesSoFar, uint32_t bytesTotal) noexcept
{
    t_retrieval->progress(bytesSoFar, bytesTotal, t_retrieval->calls++);
}

} // namespace

uint32_t retrievePages(PenHandle *pen, const std::string &addresses, const PageProgress &progress,
                       LibraryBytes &data)
{
    Retrieval retrieval{progress};
    t_retrieval = &retrieval;
    const uint32_t code = addresses.empty()
                              ? zelGetAllPages(pen, onProgress, data.out(), data.length())
                              : zelGetPages(pen, addresses.c_str(), onProgress, data.out(), data.length());
    t_retrieval = nullptr;
    return code;
}

} // namespace penctl
