// Tasks that begin while pruning is under way.
#include <fcntl.h>
#include <unistd.h>

#include <functional>
#include <utility>

#include "tests/support/Definitions.h"
#include "tests/task/RemovalFixture.h"

namespace {

// Runs once, before the process deletes its next file by path.
std::function<void()> before_deletion;

}  // namespace

// This definition comes before that of the C library.
extern "C" int unlink(char const* path) noexcept {
    if (before_deletion) std::exchange(before_deletion, nullptr)();
    return ::unlinkat(AT_FDCWD, path, 0);
}

namespace {

using UpdataCacheOrderTest = RemovalFixture;

TEST_F(UpdataCacheOrderTest, CacheOfATaskThatBeganMeanwhileIsKept) {
    std::string const used = MakeCache("T2");
    while (MakeCache("T1") > used)  // that one is looked at first
        Edit("T1");
    Edit("T1");
    (void)Registry();
    before_deletion = [this] {
        AddUser("A", {"T2"});
        Edit("T2");
    };
    Caches().UpdataCache();
    EXPECT_FALSE(before_deletion);
    EXPECT_TRUE(HasCache(used, "T2"));
}

TEST_F(UpdataCacheOrderTest, CacheOfDefinitionsThatComeBackMeanwhileIsKept) {
    std::string const used = MakeCache("T2");
    while (MakeCache("T1") > used)  // that one is looked at first
        Edit("T1");
    Edit("T1");
    KwDefinitions const before = definitions_;
    Edit("T2");
    (void)Registry();
    before_deletion = [&] { InstallCopyOf(before); };
    Caches().UpdataCache();
    EXPECT_FALSE(before_deletion);
    EXPECT_TRUE(HasCache(used, "T2"));
}

}  // namespace
