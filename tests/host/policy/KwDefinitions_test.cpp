#include "host/policy/KwDefinitions.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <set>
#include <string>

#include "tests/host/policy/DefinitionBuilder.h"
#include "tests/support/TempRoot.h"

namespace {

std::set<std::string> NamesIn(std::string const& directory) {
    std::set<std::string> names;
    for (auto const& entry : std::filesystem::directory_iterator(directory))
        names.insert(entry.path().filename().string());
    return names;
}

class KwDefinitionsTest : public testing::Test {
  protected:
    TempRoot root;
};

TEST_F(KwDefinitionsTest, KeepsOneArchivePerTable) {
    ASSERT_EQ(definitions::Small().save(root / "a/b"), 0);
    EXPECT_EQ(NamesIn(root / "a/b"), (std::set<std::string>{"KeywordTemplate.arc", "KeywordFormatItem.arc",
                                                            "KeywordDataClass.arc", "KeywordDataLevel.arc"}));
    KwDefinitions read;
    EXPECT_EQ(read.templates.from_file(root / "a/b/KeywordTemplate.arc"), 0);
    EXPECT_EQ(read.rules.from_file(root / "a/b/KeywordFormatItem.arc"), 0);
    EXPECT_EQ(read.data_classes.from_file(root / "a/b/KeywordDataClass.arc"), 0);
    EXPECT_EQ(read.data_levels.from_file(root / "a/b/KeywordDataLevel.arc"), 0);
    EXPECT_EQ(read.templates.nodes, definitions::Small().templates.nodes);
    EXPECT_EQ(read.rules.nodes, definitions::Small().rules.nodes);
    EXPECT_EQ(read.data_classes.nodes, definitions::Small().data_classes.nodes);
    EXPECT_EQ(read.data_levels.nodes, definitions::Small().data_levels.nodes);
}

TEST_F(KwDefinitionsTest, KeepsTheTemplatesLast) {
    // A directory in the place of any other table's file stops the saving before the templates.
    for (char const* name : {"KeywordFormatItem.arc", "KeywordDataClass.arc", "KeywordDataLevel.arc"}) {
        std::string const directory = root / (std::string("for-") + name);
        std::filesystem::create_directories(directory + "/" + name);
        EXPECT_EQ(definitions::Small().save(directory), EISDIR);
        EXPECT_FALSE(Exists(directory + "/KeywordTemplate.arc"));
    }
}

TEST_F(KwDefinitionsTest, ReportsADirectoryThatCannotBeMade) {
    WriteBytes(root / "file", "");
    EXPECT_EQ(definitions::Small().save(root / "file/config"), ENOTDIR);
    EXPECT_EQ(definitions::Small().save(""), EINVAL);
}

}  // namespace
