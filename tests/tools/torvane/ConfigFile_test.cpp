#include "tools/torvane/cli/ConfigFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/support/TempRoot.h"
#include "tools/torvane/ExitStatus.h"

namespace torvane {
namespace {

class ConfigFiles : public testing::Test {
  protected:
    std::vector<ConfigEntry> Entries(std::string const& text) {
        WriteBytes(path_, text);
        return ReadConfigFile(path_, true);
    }

    // The status and the message of what is refused.
    std::string Refusal(std::string const& path) {
        try {
            (void)ReadConfigFile(path, true);
        } catch (Stop const& stop) {
            return std::to_string(static_cast<int>(stop.status())) + " " + stop.what();
        }
        return "";
    }

    TempRoot root_;
    std::string path_ = root_ / "torvane.conf";
};

TEST_F(ConfigFiles, AreLinesOfNamesAndValues) {
    auto const entries = Entries("# comment\n; comment\n\n root = /a b = c \r\nformat=json\nroot=\" x \"");
    ASSERT_EQ(entries.size(), 3U);
    EXPECT_EQ(entries[0].name, "root");
    EXPECT_EQ(entries[0].value, "/a b = c");
    EXPECT_EQ(entries[0].line, 4);
    EXPECT_EQ(entries[1].value, "json");
    EXPECT_EQ(entries[2].value, " x ");
    EXPECT_EQ(entries[2].line, 6);
}

TEST_F(ConfigFiles, MayBeEmptyOrMissing) {
    EXPECT_TRUE(Entries("").empty());
    EXPECT_TRUE(ReadConfigFile(root_ / "missing", false).empty());
    EXPECT_TRUE(ReadConfigFile(path_ + "/below/a/file", false).empty());
}

TEST_F(ConfigFiles, ThatNobodyHasNamedMustBeFiles) {
    ASSERT_EQ(::mkfifo(path_.c_str(), 0600), 0);
    EXPECT_THROW((void)ReadConfigFile(path_, false), Stop);
}

TEST_F(ConfigFiles, OfAnotherFormAreRefusedWithTheLine) {
    WriteBytes(path_, "root=/a\n[section]\n");
    EXPECT_EQ(Refusal(path_), "2 " + path_ + ":2: is no \"name = value\"");
    WriteBytes(path_, "= x\n");
    EXPECT_EQ(Refusal(path_), "2 " + path_ + ":1: is no \"name = value\"");
}

TEST_F(ConfigFiles, ThatCannotBeReadAreNoMisuse) {
    EXPECT_EQ(Refusal(root_ / "missing"), "3 " + (root_ / "missing") + ": No such file or directory");
    EXPECT_EQ(Refusal(root_.Path()), "3 " + root_.Path() + ": Is a directory");
    WriteBytes(path_, std::string(1048577, '\n'));
    EXPECT_EQ(Refusal(path_), "3 " + path_ + ": larger than 1 MiB");
}

}  // namespace
}  // namespace torvane
