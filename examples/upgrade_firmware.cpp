// Sends a firmware image to a pen in firmware-upgrade mode: upgrade_firmware IMAGE [SERIAL]
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>
#include <zel/firmware.hpp>

int main(int argc, char **argv)
{
    if (argc < 2) {
        std::cerr << "upgrade_firmware IMAGE [SERIAL]\n";
        return 64;
    }
    std::ifstream file(argv[1], std::ios::binary);
    const std::vector<std::uint8_t> image{std::istreambuf_iterator<char>(file), {}};
    if (!file || image.empty()) {
        std::cerr << argv[1] << " cannot be read, or is empty\n";
        return 66;
    }
    try {
        const zelpp::DfuLibrary library;
        zelpp::DfuPen pen = library.connect(argc > 2 ? library.wait(argv[2]) : library.wait());
        pen.download(image, [](const zelpp::DownloadProgress &progress) {
            std::cerr << progress.bytesSent << " of " << progress.bytesTotal << " bytes\n";
        });
        std::cout << pen.serial() << " has taken the image\n";
    } catch (const zelpp::Error &error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
