#include "hosts.h"

#include <zel/firmware.hpp>

std::size_t cpp17HostFetches(const std::string &serial)
{
    static_assert(__cplusplus == 201703L);
    const zelpp::Library library;
    const zelpp::Pen pen = library.connect(library.wait(serial));
    return pen.fetchAll().size();
}
