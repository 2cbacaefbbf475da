#include "host/base/HIniFileHelper.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "tests/support/TempRoot.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

struct HIniFileHelperTest : testing::Test {
    TempRoot root;
    std::string path = root / "test.ini";
    HIniFileHelper ini;

    void Load(std::string const& content) {
        WriteBytes(path, content);
        ASSERT_EQ(ini.setFile(path), 0);
    }
    // The value of DLP/key, or -777 when there is none.
    [[nodiscard]] int Value(char const* key = "key") const {
        int value = -777;
        int const code = ini.read_int("DLP", key, value);
        EXPECT_EQ(code, value == -777 ? -1 : 0);
        return value;
    }
};

TEST_F(HIniFileHelperTest, ReadsWhatIsAWholeNumber) {
    struct {
        char const* content;
        int value;
    } const good[] = {
        {"[DLP]\nkey=5\n", 5},
        {"[DLP]\nkey=5", 5},
        {"[DLP]\r\nkey=5\r\n", 5},
        {"\xEF\xBB\xBF[DLP]\nkey=5\n", 5},
        {"  [ DLP ]  \n\t key\t = \t5 \n", 5},
        {"[DLP]\nkey=-12\n", -12},
        {"[DLP]\nkey=007\n", 7},
        {"[DLP]\nkey=2147483647\n", 2147483647},
        {"[DLP]\nkey=-2147483648\n", -2147483647 - 1},
        {"; key=1\n# key=2\n\n[DLP]\n;key=3\n#key=4\nkey=5\n", 5},
        {"[other]\nkey=1\n[DLP]\nkey=5\n[third]\nkey=2\n", 5},
        {"[DLP]\nkey=5\nkey=6\n", 5},
        {"[DLP]\na=1\n[other]\nb=2\n[DLP]\nkey=5\n", 5},
        {"[DLP]\n[broken\nnonsense\n=7\nkey=5\n", 5},
    };
    for (auto const& [content, value] : good) {
        Load(content);
        EXPECT_EQ(Value(), value) << content;
    }
}

TEST_F(HIniFileHelperTest, RefusesEverythingElse) {
    for (char const* content : {
             "",
             "key=5\n",
             "[DLP]\n",
             "[dlp]\nkey=5\n",
             "[DLP]\nKey=5\n",
             "[DLP]\nkey\n",
             "[DLP]\nkey=\n",
             "[DLP]\nkey=five\n",
             "[DLP]\nkey=5x\n",
             "[DLP]\nkey=0x5\n",
             "[DLP]\nkey=+5\n",
             "[DLP]\nkey=5 6\n",
             "[DLP]\nkey=5;comment\n",
             "[DLP]\nkey=2147483648\n",
             "[DLP]\nkey=99999999999999999999\n",
             "[DLP]\nkey=bad\nkey=5\n",
             "[DLP\nkey=5\n",
             "[DLP] x\nkey=5\n",
         }) {
        Load(content);
        EXPECT_EQ(Value(), -777) << content;
    }
}

TEST_F(HIniFileHelperTest, ZeroBytesInsideAreJustBytes) {
    Load(std::string("[DLP]\nkey=5\0\nother=6\n", 21));
    EXPECT_EQ(Value(), -777);
    EXPECT_EQ(Value("other"), 6);
}

TEST_F(HIniFileHelperTest, MissingFileCanBeWritten) {
    EXPECT_EQ(ini.setFile(path), ENOENT);
    EXPECT_EQ(Value(), -777);
    EXPECT_EQ(ini.write_int("DLP", "key", 5), 0);
    EXPECT_EQ(ini.write_int("DLP", "other", -6), 0);
    EXPECT_EQ(Value(), 5);
    EXPECT_FALSE(Exists(path));
    EXPECT_EQ(ini.write_all(), 0);
    EXPECT_EQ(ReadBytes(path), "[DLP]\nkey=5\nother=-6\n");
}

TEST_F(HIniFileHelperTest, WritingKeepsEverythingElse) {
    Load("; comment\n\n[other]\nkey=1\n\n[DLP]\n  key = 2 \n# more\n\n[third]\nnonsense\n");
    EXPECT_EQ(ini.write_int("DLP", "key", 5), 0);
    EXPECT_EQ(ini.write_int("DLP", "fresh", 6), 0);
    EXPECT_EQ(ini.write_int("last", "key", 7), 0);
    EXPECT_EQ(ini.write_all(), 0);
    EXPECT_EQ(ReadBytes(path),
              "; comment\n\n[other]\nkey=1\n\n[DLP]\nkey=5\n# more\nfresh=6\n\n[third]\nnonsense\n[last]\nkey=7\n");
}

TEST_F(HIniFileHelperTest, WritingKeepsTheLineEnds) {
    Load("[DLP]\r\nkey=1\r\n");
    EXPECT_EQ(ini.write_int("DLP", "key", 5), 0);
    EXPECT_EQ(ini.write_int("DLP", "other", 6), 0);
    EXPECT_EQ(ini.write_int("third", "key", 7), 0);
    EXPECT_EQ(ini.write_all(), 0);
    EXPECT_EQ(ReadBytes(path), "[DLP]\r\nkey=5\r\nother=6\r\n[third]\r\nkey=7\r\n");
}

TEST_F(HIniFileHelperTest, NamesThatNoLineCanHoldAreRefused) {
    Load("[DLP]\nkey=1\n");
    for (char const* name : {"", "a\nb", " a", "a ", "a\x01"}) {
        EXPECT_EQ(ini.write_int(name, "key", 5), -1);
        EXPECT_EQ(ini.write_int("DLP", name, 5), -1);
    }
    for (char const* key : {"a=b", ";a", "#a", "[a"})
        EXPECT_EQ(ini.write_int("DLP", key, 5), -1);
    EXPECT_EQ(ini.write_all(), 0);
    EXPECT_EQ(ReadBytes(path), "[DLP]\nkey=1\n");
}

TEST_F(HIniFileHelperTest, FileThatIsTooLargeIsRefusedAndNotReplaced) {
    std::string const large(1024 * 1024 + 1, ';');
    WriteBytes(path, large);
    EXPECT_EQ(ini.setFile(path), EFBIG);
    EXPECT_EQ(ini.write_all(), EFBIG);
    EXPECT_EQ(ReadBytes(path), large);
}

TEST_F(HIniFileHelperTest, DirectoryInTheFilesPlaceIsAnError) {
    std::filesystem::create_directory(path);
    EXPECT_EQ(ini.setFile(path), EISDIR);
    EXPECT_EQ(ini.write_all(), EISDIR);
}

TEST_F(HIniFileHelperTest, WithoutAFileNothingIsWritten) {
    EXPECT_EQ(ini.write_all(), EINVAL);
}

TEST_F(HIniFileHelperTest, ReadingAgainForgetsWhatWasReadBefore) {
    Load("[DLP]\nkey=1\n");
    EXPECT_EQ(ini.setFile(root / "missing"), ENOENT);
    EXPECT_EQ(Value(), -777);
}

TEST_F(HIniFileHelperTest, SectionIsReadInFileOrder) {
    Load("[Language]\nb = two words = 2 \na=\xE4\xB8\xAD\n[x]\nc=3\n[Language]\nb=again\n");
    HIniFileHelper::Entries entries;
    EXPECT_TRUE(ini.read_section("missing", entries));
    EXPECT_THAT(entries, IsEmpty());
    EXPECT_TRUE(ini.read_section("Language", entries));
    EXPECT_THAT(entries, ElementsAre(Pair("b", "two words = 2"), Pair("a", "\xE4\xB8\xAD"), Pair("b", "again")));
}

}  // namespace
