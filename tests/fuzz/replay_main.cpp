#include "fuzz/fuzz_target.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

namespace fs = std::filesystem;

class Replay : public testing::Test
{
public:
    Replay(zel::fuzz::Target target, fs::path file) : m_target(target), m_file(std::move(file)) {}

    void TestBody() override
    {
        std::ifstream in(m_file, std::ios::binary);
        ASSERT_TRUE(in) << m_file;
        const std::string bytes{std::istreambuf_iterator<char>(in), {}};
        m_target.run({reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size()});
    }

private:
    zel::fuzz::Target m_target;
    fs::path m_file;
};

// A target without a corpus is a target that nobody replays: it shows as a failed test.
void registerCorpus(const zel::fuzz::Target &target, const fs::path &corpus)
{
    if (!fs::is_directory(corpus / target.name)) {
        std::fprintf(stderr, "no corpus: %s\n", (corpus / target.name).string().c_str());
        std::exit(1);
    }
    for (const auto &entry : fs::directory_iterator(corpus / target.name)) {
        const fs::path file = entry.path();
        testing::RegisterTest("FuzzCorpus", (target.name + ("." + file.filename().string())).c_str(), nullptr,
                              nullptr, __FILE__, __LINE__,
                              [target, file]() -> testing::Test * { return new Replay(target, file); });
    }
}

} // namespace

// Replays the files of the corpus, or those given behind a target's name:
//     zel_fuzz_replay [value_codec FILE...]
int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    for (const zel::fuzz::Target &target : zel::fuzz::targets()) {
        if (argc == 1)
            registerCorpus(target, ZEL_FUZZ_CORPUS);
        else if (argv[1] == std::string(target.name))
            for (int i = 2; i < argc; ++i)
                testing::RegisterTest("FuzzFile", argv[i], nullptr, nullptr, __FILE__, __LINE__,
                                      [target, file = fs::path(argv[i])]() -> testing::Test * {
                                          return new Replay(target, file);
                                      });
    }
    return RUN_ALL_TESTS();
}
