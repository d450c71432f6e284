#include "host/dfu_device.h"

#include <gtest/gtest.h>

namespace penctl {

TEST(DfuDevice, StatusRecordIsLittleEndian)
{
    const DfuStatus status = parseDfuStatus({0x03,             // status: errWRITE
                                             0x10, 0x27, 0x01, // poll timeout 75,536 ms
                                             0x0A,             // state: dfuERROR
                                             0x02});           // string index
    EXPECT_EQ(status.status, 3);
    EXPECT_EQ(status.pollTimeoutMillis, 75'536u);
    EXPECT_TRUE(status.isIn(DfuState::Error));
    EXPECT_EQ(status.stringIndex, 2);
}

TEST(DfuDevice, ErrorStateOrErrorStatusIsAFailure)
{
    EXPECT_FALSE(parseDfuStatus({0, 0, 0, 0, 5, 0}).failed());
    EXPECT_TRUE(parseDfuStatus({0, 0, 0, 0, 10, 0}).failed());
    EXPECT_TRUE(parseDfuStatus({1, 0, 0, 0, 5, 0}).failed());
}

TEST(DfuDevice, DescriptorEndsWithTheVersion)
{
    const DfuDescriptor descriptor = parseDfuDescriptor({0x05,         // download, manifestation tolerant
                                                         0xE8, 0x03,   // detach timeout 1000 ms
                                                         0x00, 0x04,   // transfer size 1024
                                                         0x10, 0x01}); // DFU 1.1
    EXPECT_TRUE(descriptor.canDownload());
    EXPECT_FALSE(descriptor.canUpload());
    EXPECT_TRUE(descriptor.manifestationTolerant());
    EXPECT_EQ(descriptor.detachTimeoutMillis, 1000);
    EXPECT_EQ(descriptor.transferSize, 1024);
}

TEST(DfuDevice, DescriptorMayBeginWithLengthAndType)
{
    const DfuDescriptor descriptor = parseDfuDescriptor({0x07,         // length
                                                         0x21,         // type: DFU functional
                                                         0x02,         // upload
                                                         0xFF, 0x00,   // detach timeout 255 ms
                                                         0x40, 0x00}); // transfer size 64
    EXPECT_FALSE(descriptor.canDownload());
    EXPECT_TRUE(descriptor.canUpload());
    EXPECT_FALSE(descriptor.manifestationTolerant());
    EXPECT_EQ(descriptor.detachTimeoutMillis, 255);
    EXPECT_EQ(descriptor.transferSize, 64);
}

TEST(DfuDevice, BlockIsNumberLengthData)
{
    const std::vector<uint8_t> data = {0xAA, 0xBB, 0xCC};
    const std::vector<uint8_t> expected = {0x02, 0x01,        // number 258, as this machine keeps it
                                           0x03, 0x00,        // length 3
                                           0xAA, 0xBB, 0xCC}; // data
    EXPECT_EQ(makeDfuBlock(258, data), expected);
    EXPECT_EQ(makeDfuBlock(0, {}), (std::vector<uint8_t>{0x00, 0x00, 0x00, 0x00}));
}

TEST(DfuDevice, EveryStateAndStatusHasWords)
{
    EXPECT_EQ(dfuStateName(0), "appIDLE");
    EXPECT_EQ(dfuStateName(5), "dfuDNLOAD-IDLE");
    EXPECT_EQ(dfuStateName(10), "dfuERROR");
    EXPECT_EQ(dfuStateName(11), "unknown state 11");
    EXPECT_EQ(dfuStatusWords(0), "no error");
    EXPECT_EQ(dfuStatusWords(7), "what was programmed reads back differently");
    EXPECT_EQ(dfuStatusWords(15), "an unexpected request");
    EXPECT_EQ(dfuStatusWords(16), "unknown fault 16");
}

} // namespace penctl
