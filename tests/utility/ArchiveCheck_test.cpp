// Which archives hold a folder: forms that differ, and every damage to one.

#include "ArchiveCheck.h"

#include "UtilityTest.h"

namespace zuplutil::test {
namespace {

const FileContents kFiles = {
    {"a.log", "content"}, {"b\xC3\xBCro.log", ""}, {"sub/c d.log", "PK\5\6"}};

class ArchiveCheckTest : public UtilityTest {
protected:
    ArchiveCheckTest() {
        for (const auto& [name, content] : kFiles) {
            write(logs() / pathOf(name), content);
        }
        fs::create_directories(logs() / "empty folder");
    }

    bool holds(const std::string& bytes) const {
        write(zip(), bytes);
        return holdsFolder(zip().wstring(), logs().wstring());
    }
};

TEST_F(ArchiveCheckTest, wholeArchive_inAnyForm_holdsTheFolder) {
    const std::string end = numbers(4, {0x06054B50});
    for (const bool is64 : {false, true}) {
        for (const std::string& comment :
             {end + std::string(18, '\0') + end, std::string(0xFFFF, 'c')}) {
            EXPECT_TRUE(holds(zipOf(kFiles, is64, comment))) << is64;
        }
    }
    for (const auto& [at, size] : {std::pair<std::size_t, std::size_t>{8, 2}, {12, 4}, {16, 4}}) {
        std::string bytes = zipOf(kFiles, true, "c");
        bytes.replace(bytes.size() - 15, 12, 12, '\1');
        EXPECT_TRUE(holds(bytes.replace(bytes.size() - 23 + at, size, size, '\xFF'))) << at;
    }
    ZipWriter other;
    other.add("sub/", "");
    other.add("another.log", "is not asked for");
    other.add("a.log", kFiles.at("a.log"), ZipWriter::kSizesBehindData);
    // In an old code page, with backslashes.
    other.add("sub\\c d.log", kFiles.at("sub/c d.log"), 0);
    other.add("b\x81ro.log", "", 0);
    EXPECT_TRUE(holds(other.bytes("")));
    write(zip(), zipOf({}));
    EXPECT_TRUE(holdsFolder(zip().wstring(), (logs() / "empty folder").wstring()));
}

TEST_F(ArchiveCheckTest, archive_lackingAFile_doesNotHoldTheFolder) {
    for (const auto& [name, content] : kFiles) {
        FileContents others = kFiles;
        others[name] += "!";
        EXPECT_FALSE(holds(zipOf(others))) << name;
    }
    EXPECT_TRUE(holds(zipOf(kFiles)));
    {
        const std::ofstream writer(zip(), std::ios::app);
        EXPECT_FALSE(holdsFolder(zip().wstring(), logs().wstring()));
    }
    EXPECT_FALSE(holdsFolder((logs() / "no.zip").wstring(), logs().wstring()));
    EXPECT_FALSE(holdsFolder(zip().wstring(), (logs() / "no folder").wstring()));
}

// Of which bytes every change is seen: not of times, check sums and what stands elsewhere.
std::string marks(bool is64) {
    std::string entries;
    std::string directory;
    for (const auto& [name, content] : kFiles) {
        entries += "XXXX----XX--------XXXXXXXXXXXX" + std::string(name.size(), 'X') +
                   std::string(4 + content.size(), '-');
        directory += "XXXX------XX--------XXXXXXXXXXXXXXXX------XXXX" +
                     std::string(name.size(), 'X') +
                     (is64 ? "--XX--------" + std::string(28, 'X') : "---X----------XX") + "----";
    }
    return entries + directory +
           (is64 ? std::string(12, 'X') + "----" + std::string(60, 'X') + "XXXX" +
                       std::string(16, '-') + "XX"
                 : std::string(22, 'X'));
}

TEST_F(ArchiveCheckTest, archive_cutOrChanged_doesNotHoldTheFolder) {
    for (const bool is64 : {false, true}) {
        const std::string bytes = zipOf(kFiles, is64);
        const std::string matters = marks(is64);
        ASSERT_EQ(matters.size(), bytes.size());
        for (std::size_t at = 0; at < bytes.size(); ++at) {
            EXPECT_FALSE(holds(bytes.substr(0, at))) << "cut at " << at;
            std::string changed = bytes;
            changed[at] = static_cast<char>(changed[at] ^ 1);
            EXPECT_EQ(holds(changed), matters[at] == '-') << is64 << " changed at " << at;
        }
    }
}

}  // namespace
}  // namespace zuplutil::test
