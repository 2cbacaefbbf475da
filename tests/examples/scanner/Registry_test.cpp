#include "examples/scanner/Registry.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "examples/scanner/TaskCommands.h"
#include "host/policy/KwLocateMgr.h"
#include "tests/examples/scanner/ProgramTasks.h"
#include "tests/examples/scanner/TempTree.h"

namespace scanner {
namespace {

constexpr uid_t kNobody = 65534;

// Root may read everything.
void GiveUpRights() {
    if (::geteuid() == 0 && ::setuid(kNobody) != 0) _exit(99);
}

TEST(TemplateCaches, AreCountedWhereTheyCanBeListed) {
    using std::filesystem::perms;
    TempTree const tree;
    for (char const* cache : {"a/1", "a/2", "closed/3"})
        std::filesystem::create_directories(tree / ("root/cache/template/" + std::string(cache)));
    for (char const* open : {"", "root", "root/cache", "root/cache/template", "root/cache/template/a"})
        std::filesystem::permissions(tree / open, perms{0755});
    std::filesystem::permissions(tree / "root/cache/template/closed", perms::none);
    KwLocateMgr::pins()->set_root(HString(tree / "root"));
    auto const count = [] {
        GiveUpRights();
        _exit(static_cast<int>(CountTemplateCaches()));
    };
    EXPECT_EXIT(count(), testing::ExitedWithCode(2), "");
    std::filesystem::permissions(tree / "root/cache/template/closed", perms::owner_all);
}

class UnreadableRecords : public Tasks {
  protected:
    // All that lies on disk becomes that of the user that GiveUpRights makes of root.
    void GiveAway() const {
        if (::geteuid() != 0) return;
        ASSERT_EQ(::chown(program_.tree().Path().c_str(), kNobody, 0), 0);
        for (auto const& entry : std::filesystem::recursive_directory_iterator(program_.tree().Path()))
            ASSERT_EQ(::chown(entry.path().c_str(), kNobody, 0), 0);
    }
};

TEST_F(UnreadableRecords, AreToldOfWhenPruningSinceNothingIsRemoved) {
    (void)program_.Scan("--task one");
    (void)program_.Scan("--no-task " + Edited());
    std::filesystem::remove_all(program_.tree() / "root/cache/task/one/KeywordTemplate.arc");
    std::filesystem::permissions(program_.tree() / "root/cache/task/one/ScanTask.arc", std::filesystem::perms::none);
    GiveAway();
    auto const prune = [&] {
        GiveUpRights();
        Options options;
        options.root = program_.tree() / "root";
        _exit(RunPrune(options));
    };
    EXPECT_EXIT(prune(), testing::ExitedWithCode(0),
                "root/cache/task/one/ cannot be read: Permission denied; no answers are removed\n");
    EXPECT_EQ(CachesOf("secrets").size(), 2U);
}

}  // namespace
}  // namespace scanner
