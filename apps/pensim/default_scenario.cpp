#include "scenario.h"

namespace pensim {

namespace {

PageSpec generatedPage(std::uint64_t address, std::size_t size)
{
    return {address, Value::binary(generatedStrokes(size, address)), {}};
}

PenSpec notebookPen()
{
    PenSpec pen;
    pen.id = 0x0000012300abcdef;
    pen.brand = "Notebook pen";
    pen.softwareVersion = 0x0601;
    pen.protocols = {"PSP40", "PSP41"};
    pen.pages = {
        generatedPage(pageAddress(0, 1, 2, 3, 4), 200),
        generatedPage(pageAddress(0, 1, 2, 3, 5), 1500),
        generatedPage(pageAddress(0, 1, 2, 3, 6), 4096),
        generatedPage(pageAddress(0, 11, 2, 3, 45), 20000),
        generatedPage(pageAddress(0, 70, 300, 1, 0), 131072),
        generatedPage(pageAddress(3, 70, 300, 1, 0), 1048576),
    };
    pen.styloPages = {generatedPage(pageAddress(0, 1, 2, 3, 100), 64),
                      generatedPage(pageAddress(0, 1, 2, 3, 101), 512)};
    pen.encryptedData = generatedStrokes(300, 1);
    return pen;
}

PenSpec officePen()
{
    PenSpec pen;
    pen.id = 0x0000000100000001;
    pen.brand = "Office pen";
    pen.softwareVersion = 0x0502;
    pen.protocols = {"PSP40"};
    pen.vendorId = 0xf055;
    pen.pages = {generatedPage(pageAddress(0, 5, 6, 7, 8), 350),
                 generatedPage(pageAddress(0, 5, 6, 7, 9), 900)};
    return pen;
}

PenSpec lockedPen()
{
    PenSpec pen;
    pen.id = 0x000000220000beef;
    pen.brand = "Locked pen";
    pen.productId = 0x0002;
    pen.password = "geheim";
    pen.hint = "the German word";
    pen.pages = {generatedPage(pageAddress(0, 9, 9, 9, 9), 640)};
    return pen;
}

PenSpec firmwarePen()
{
    PenSpec pen;
    pen.id = 0x0000003300c0ffee;
    pen.brand = "Firmware pen";
    pen.productId = 0x0003;
    pen.dfuMode = true;
    return pen;
}

} // namespace

Scenario defaultScenario()
{
    return {{notebookPen(), officePen(), lockedPen(), firmwarePen()}, {}};
}

} // namespace pensim
