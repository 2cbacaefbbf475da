#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "tests/tools/torvane/RebuildFixture.h"
#include "tools/torvane/ExitStatus.h"
#include "tools/torvane/rebuild/DataWriter.h"

namespace {

namespace fs = std::filesystem;

using testing::HasSubstr;

// Where the new root may be made, and what is left there.

TEST_F(Rebuilding, NoDirectoryAtAllIsRefused) {
    EXPECT_EQ(Run({"repair", "--out", ""}).status, 2);
}

TEST_F(Rebuilding, ARefusalLeavesNothingOfThePathBehind) {
    Flip(Template() + "/index", 3);
    EXPECT_EQ(Run({"compact", "--out", Out() + "/a/b"}).status, 1);
    EXPECT_FALSE(Exists(Out()));
    fs::create_directories(Out());
    EXPECT_EQ(Run({"compact", "--out", Out() + "/a/b"}).status, 1);
    EXPECT_TRUE(fs::is_empty(Out()));
}

TEST_F(Rebuilding, AnEmptyDirectoryIsClosedToOthers) {
    fs::create_directories(Out());
    fs::permissions(Out(), fs::perms(0755));
    ASSERT_EQ(Repair().status, 0);
    EXPECT_EQ(fs::status(Out()).permissions(), fs::perms::owner_all);
}

TEST_F(Rebuilding, ADirectoryThatHoldsSomethingIsRefused) {
    std::filesystem::create_directories(Out());
    WriteBytes(Out() + "/kept", "");
    EXPECT_EQ(Repair().status, 2);
    EXPECT_THAT(Files(Out()), testing::ElementsAre("kept"));
    EXPECT_EQ(Run({"repair", "--out", Out() + "/kept"}).status, 2);
}

TEST_F(Rebuilding, ADirectoryInTheSourceIsRefused) {
    EXPECT_EQ(Run({"repair", "--out", root_ / "cache/new"}).status, 2);
    EXPECT_EQ(Run({"compact", "--out", root_.Path()}).status, 2);
    EXPECT_FALSE(Exists(root_ / "cache/new"));
}

TEST_F(Rebuilding, ADirectoryWhereALinkInTheSourceLeadsToIsRefused) {
    NotSound();
    fs::create_directories(Out());
    fs::rename(root_ / "cache", Out() + "/real");
    fs::create_directory_symlink(Out() + "/real", root_ / "cache");
    fs::rename(Out() + "/real/task", Out() + "/tasks");
    fs::create_directory_symlink(Out() + "/tasks", Out() + "/real/task");
    EXPECT_EQ(Run({"repair", "--out", Out() + "/real/new"}).status, 2);
    EXPECT_EQ(Run({"repair", "--out", Out() + "/tasks/new"}).status, 2);
    EXPECT_FALSE(Exists(Out() + "/real/new"));
    EXPECT_FALSE(Exists(Out() + "/tasks/new"));
}

TEST_F(Rebuilding, ADirectoryThatCannotBeMadeLeavesNothingOfItsPathBehind) {
    ToolResult const result = Run({"repair", "--out", Out() + "/new/" + std::string(300, 'x')});
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.err, HasSubstr("File name too long"));
    EXPECT_FALSE(Exists(Out()));
}

TEST_F(Rebuilding, ADirectoryBelowAFileIsRefusedWithTheReason) {
    fs::create_directories(Out());
    WriteBytes(Out() + "/file", "");
    ToolResult const result = Run({"repair", "--out", Out() + "/file/new"});
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.err, HasSubstr("Not a directory"));
}

TEST_F(Rebuilding, AnEmptyDirectoryKeepsItsModeWhenNothingIsMadeInIt) {
    fs::create_directories(Out());
    fs::permissions(Out(), fs::perms(0755));
    Flip(Template() + "/index", 3);
    EXPECT_EQ(Compact().status, 1);
    EXPECT_EQ(fs::status(Out()).permissions(), fs::perms(0755));
}

TEST_F(Rebuilding, ASignalLeavesNothingBehind) {
    // A list that does not fit into the pipe: the program waits in the midst of its work until it is read on.
    Append(Template() + "/index", std::string(57 * 10'000, 'x'));
    for (int const signal : {SIGINT, SIGTERM, SIGHUP}) {
        int out = -1;
        pid_t const child = tool_.Start({"repair", "--root", root_.Path(), "--out", Out(), "--format", "jsonl"}, out);
        char first = 0;
        ASSERT_EQ(::read(out, &first, 1), 1);
        EXPECT_TRUE(Exists(Out() + "/" + Template() + "/index"));
        ASSERT_EQ(::kill(child, signal), 0);
        (void)ReadAll(out);
        ::close(out);
        EXPECT_EQ(Tool::Wait(child), 128 + signal);
        EXPECT_FALSE(Exists(Out()));
    }
}

// ---- data files

TEST(DataWriter, CopiesRecordsOfAnySizeOneBehindTheOther) {
    TempRoot const root;
    std::string bytes;
    for (int i = 0; i < 2'500'000; ++i)
        bytes += static_cast<char>(i % 251);
    WriteBytes(root / "from", bytes);
    torvane::FileView const from(root / "from");
    torvane::DataWriter to(root / "to");
    EXPECT_EQ(to.Append(from, 7, 100), 0);
    EXPECT_EQ(to.Append(from, 0, bytes.size()), 100);
    EXPECT_EQ(to.Append(from, 3, 4), 2'500'100);
    to.Close();
    EXPECT_TRUE(ReadBytes(root / "to") == bytes.substr(7, 100) + bytes + bytes.substr(3, 4));
    EXPECT_THROW((void)to.Append(from, bytes.size() - 1, 2), torvane::Stop);
}

}  // namespace
