#include "files/files.h"

#include <fstream>
#include <iterator>

#include <gtest/gtest.h>

#include "failure.h"

namespace penctl {
namespace {

namespace fs = std::filesystem;

class AtomicFileTest : public testing::Test
{
protected:
    AtomicFileTest()
    {
        fs::remove_all(m_folder);
        fs::create_directory(m_folder);
    }
    ~AtomicFileTest() override { fs::remove_all(m_folder); }

    std::string name(const char *file) const { return (m_folder / file).string(); }

    std::string contentOf(const char *file) const
    {
        std::ifstream in(m_folder / file, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

    std::size_t filesInFolder() const
    {
        return static_cast<std::size_t>(std::distance(fs::directory_iterator(m_folder), {}));
    }

    void put(const char *file, const std::string &content) const
    {
        std::ofstream(m_folder / file) << content;
    }

    fs::path m_folder = fs::path("atomic_file_test.dir");
};

constexpr uint8_t kHello[] = {'h', 'e', 'l', 'l', 'o', '\n', 0};

int codeOf(const std::function<void()> &action)
{
    try {
        action();
    } catch (const Failure &failure) {
        return failure.exitCode();
    }
    return 0;
}

} // namespace

TEST_F(AtomicFileTest, PublishedFileHoldsTheBytesAsTheyAre)
{
    AtomicFile file(name("out"));
    file.write(kHello);
    EXPECT_FALSE(fs::exists(m_folder / "out"));
    file.publish();
    EXPECT_EQ(contentOf("out"), std::string("hello\n\0", 7));
    EXPECT_EQ(filesInFolder(), 1u);
}

TEST_F(AtomicFileTest, EarlierFileIsReplacedOnlyByPublishing)
{
    put("out", "old");
    AtomicFile file(name("out"));
    file.write(kHello);
    EXPECT_EQ(contentOf("out"), "old");
    file.publish();
    EXPECT_EQ(contentOf("out").substr(0, 5), "hello");
    EXPECT_EQ(filesInFolder(), 1u);
}

TEST_F(AtomicFileTest, WithoutPublishingNothingRemains)
{
    put("out", "old");
    {
        AtomicFile file(name("out"));
        file.write(kHello);
    }
    EXPECT_EQ(contentOf("out"), "old");
    EXPECT_EQ(filesInFolder(), 1u);
}

TEST_F(AtomicFileTest, MissingFolderFailsBeforeAnythingIsDone)
{
    EXPECT_EQ(codeOf([&] { AtomicFile file(name("none/out")); }), kOutputError);
}

TEST_F(AtomicFileTest, FolderIsNotReplaced)
{
    EXPECT_EQ(codeOf([&] { AtomicFile file(m_folder.string()); }), kOutputError);
    EXPECT_TRUE(fs::is_directory(m_folder));
}

TEST_F(AtomicFileTest, NamesAreUtf8)
{
    const std::string umlaut = "\xc3\xa4.bin";
    AtomicFile file(m_folder.string() + "/" + umlaut);
    file.publish();
    EXPECT_TRUE(fs::exists(m_folder / pathFromUtf8(umlaut)));
}

TEST_F(AtomicFileTest, InputIsReadWhole)
{
    put("in", "abc");
    EXPECT_EQ(readWholeFile(name("in"), 3), (std::vector<uint8_t>{'a', 'b', 'c'}));
}

TEST_F(AtomicFileTest, InputBeyondTheLimitIsRefused)
{
    put("in", "abc");
    EXPECT_EQ(codeOf([&] { readWholeFile(name("in"), 2); }), kNoInput);
}

TEST_F(AtomicFileTest, MissingInputIsRefused)
{
    EXPECT_EQ(codeOf([&] { readWholeFile(name("none"), 2); }), kNoInput);
}

} // namespace penctl
