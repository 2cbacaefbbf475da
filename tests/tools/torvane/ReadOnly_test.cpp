#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>

#include "tests/tools/torvane/EveryCommand.h"

using testing::HasSubstr;

namespace {

class ReadOnly : public EveryCommand {
  protected:
    // Every command, on a root that is damaged everywhere or nowhere, has the same to leave alone.
    void ExpectUntouched() const {
        auto const words = Words();
        auto const before = EverythingBelow(Root());
        EXPECT_LE(tool_.Run(words).status, 1);
        EXPECT_EQ(EverythingBelow(Root()), before);
    }

    void DamageEverything() const {
        std::string const tpl = TemplateStore("T1");
        std::string const task = Root() + "/cache/task/t1";
        WriteBytes(tpl + "/cache", "too short");
        WriteBytes(tpl + "/index.tmp", "unfinished");
        WriteBytes(task + "/index", "no index");
        WriteBytes(task + "/ScanTask.arc", "no record");
        WriteBytes(Root() + "/cache/stray", "stray");
        std::filesystem::remove(Root() + "/cache/sensrecord/1/p1/index");
        std::filesystem::create_symlink("/dev/null", task + "/text/link.arc");
        ASSERT_EQ(::mkfifo((task + "/text/fifo.arc").c_str(), 0600), 0);
    }
};

class LinkedStore : public ReadRoot {};

}  // namespace

TEST_P(ReadOnly, LeavesASoundRootAsItWas) {
    MakeRoot();
    ExpectUntouched();
}

TEST_P(ReadOnly, LeavesADamagedRootAsItWas) {
    MakeRoot();
    DamageEverything();
    ExpectUntouched();
}

TEST_P(ReadOnly, LeavesARootAsItWasThatHasNoStampNoConfigAndNoLog) {
    MakeSmallRoot();
    std::filesystem::remove(Root() + "/cache/Version.ini");
    for (char const* const name : {"/config", "/ini", "/log"})
        std::filesystem::remove_all(Root() + name);
    ExpectUntouched();
}

INSTANTIATE_TEST_SUITE_P(Calls, ReadOnly, testing::ValuesIn(EveryCall()), NameOfCall);

TEST_F(LinkedStore, IsNotFollowed) {
    NotSound();
    MakeSmallRoot();
    std::string const index = TemplateStore("T1") + "/index";
    std::filesystem::rename(index, root_ / "elsewhere");
    std::filesystem::create_symlink(root_ / "elsewhere", index);
    ToolResult const result = Run({"ls", "answers"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("is no file"));
}
