#include "host/policy/KwDefinitions.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "tests/host/policy/DefinitionBuilder.h"
#include "tests/support/TempRoot.h"

namespace {

class KwDefinitionsTest : public testing::Test {
  protected:
    TempRoot root;
};

TEST_F(KwDefinitionsTest, KeepsOneArchivePerTable) {
    ASSERT_EQ(definitions::Small().save(root / "a/b"), 0);
    EXPECT_THAT(Files(root / "a/b"), testing::ElementsAre("KeywordDataClass.arc", "KeywordDataLevel.arc",
                                                          "KeywordFormatItem.arc", "KeywordTemplate.arc"));
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
