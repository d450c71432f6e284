// Fetches every page of a pen into a file: fetch_pages FILE [SERIAL]
#include <iostream>
#include <zel/zel.hpp>

int main(int argc, char **argv)
{
    try {
        const zelpp::Library library;
        const zelpp::Pen pen = library.connect(argc > 2 ? library.wait(argv[2]) : library.wait());
        const zelpp::PageData data = pen.fetchAll([](const zelpp::FetchProgress &progress) {
            std::cerr << progress.bytesSoFar << " of " << progress.bytesTotal << " bytes\n";
        });
        for (const zelpp::Page &page : data)
            std::cout << page.address() << ": " << page.strokes().size() << " bytes of strokes\n";
        data.save(argc > 1 ? argv[1] : "pages.zel");
    } catch (const zelpp::Error &error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
