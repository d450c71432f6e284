// A host of the C++ headers: all of them, in C++17.
#include <iostream>
#include <zel/firmware.hpp>
#include <zel/page_data.hpp>

int main()
{
    static_assert(__cplusplus == 201703L);
    const zelpp::Library library;
    const zelpp::DfuLibrary firmware;
    const auto refused = zelpp::PageData::tryParse({1, 0});
    std::cout << zelpp::apiVersion() << '\n' << refused.error().what() << '\n';
    return zelpp::apiVersion() == ZEL_API_VERSION && refused.error().offset() == 2 ? 0 : 1;
}
