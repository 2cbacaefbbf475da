#include "host/base/LocateMgr.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <thread>
#include <vector>

namespace {

using Varnok::LocateMgr;

struct LocateMgrTest : testing::Test {
    std::map<std::string, std::string> before;

    LocateMgrTest() {
        for (char const* name : {"TORVANE_ROOT", "XDG_STATE_HOME", "HOME"}) {
            if (char const* value = std::getenv(name)) before[name] = value;
            unsetenv(name);
        }
        LocateMgr::pins()->set_root("");
    }
    ~LocateMgrTest() override {
        for (char const* name : {"TORVANE_ROOT", "XDG_STATE_HOME", "HOME"})
            unsetenv(name);
        for (auto const& [name, value] : before)
            setenv(name.c_str(), value.c_str(), 1);
        LocateMgr::pins()->set_root("");
    }
    static std::string Root() { return LocateMgr::pins()->get_root(false).get_str(); }
};

TEST_F(LocateMgrTest, RootThatWasSetCounts) {
    setenv("TORVANE_ROOT", "/from/environment", 1);
    LocateMgr::pins()->set_root("/set/by/caller//");
    EXPECT_EQ(Root(), "/set/by/caller");
    EXPECT_EQ(LocateMgr::pins()->get_root(true), HString("/set/by/caller/"));
    EXPECT_EQ(LocateMgr::pins()->get_ini_path(false), HString("/set/by/caller/ini"));
    EXPECT_EQ(LocateMgr::pins()->get_ini_path(true), HString("/set/by/caller/ini/"));
    EXPECT_EQ(LocateMgr::pins()->get_log_path(false), HString("/set/by/caller/log"));
    EXPECT_EQ(LocateMgr::pins()->get_log_path(true), HString("/set/by/caller/log/"));
}

TEST_F(LocateMgrTest, EnvironmentCountsElse) {
    setenv("TORVANE_ROOT", "/from/environment/", 1);
    EXPECT_EQ(Root(), "/from/environment");
    setenv("TORVANE_ROOT", "/changed", 1);
    EXPECT_EQ(Root(), "/from/environment") << "determined once";
}

TEST_F(LocateMgrTest, RelativeEnvironmentIsIgnored) {
    setenv("TORVANE_ROOT", "relative", 1);
    setenv("XDG_STATE_HOME", "relative", 1);
    setenv("HOME", "/home/someone", 1);
    EXPECT_EQ(Root(), geteuid() == 0 ? "/var/lib/torvane" : "/home/someone/.local/state/torvane");
}

TEST_F(LocateMgrTest, DefaultDependsOnTheUser) {
    setenv("XDG_STATE_HOME", "/home/someone/state", 1);
    EXPECT_EQ(Root(), geteuid() == 0 ? "/var/lib/torvane" : "/home/someone/state/torvane");
}

// In a process of its own that has given up being root.
TEST_F(LocateMgrTest, OrdinaryUserHasARootBelowHome) {
    auto const as_user = [] {
        if (geteuid() == 0 && setuid(65534) != 0) _exit(9);
        setenv("XDG_STATE_HOME", "/state", 1);
        bool const by_state = Root() == "/state/torvane";
        unsetenv("XDG_STATE_HOME");
        setenv("HOME", "/home/someone", 1);
        LocateMgr::pins()->set_root("");
        bool const by_home = Root() == "/home/someone/.local/state/torvane";
        unsetenv("HOME");
        LocateMgr::pins()->set_root("");
        bool const without_home = Root()[0] == '/' && Root().ends_with("/torvane");
        _exit(by_state && by_home && without_home ? 0 : 1);
    };
    EXPECT_EXIT(as_user(), testing::ExitedWithCode(0), "");
}

TEST_F(LocateMgrTest, RelativeRootIsTakenFromTheWorkingDirectoryOfThatMoment) {
    std::string const here = std::filesystem::current_path();
    LocateMgr::pins()->set_root("some/where");
    EXPECT_EQ(Root(), (here == "/" ? "" : here) + "/some/where");
}

TEST_F(LocateMgrTest, RootDirectoryOfTheSystemIsAPossibleRoot) {
    LocateMgr::pins()->set_root("/");
    EXPECT_EQ(LocateMgr::pins()->get_root(true), HString("/"));
    EXPECT_EQ(LocateMgr::pins()->get_ini_path(true), HString("/ini/"));
}

TEST_F(LocateMgrTest, GenerationTellsThatTheRootWasSet) {
    unsigned const generation = LocateMgr::pins()->generation();
    (void)Root();
    EXPECT_EQ(LocateMgr::pins()->generation(), generation);
    LocateMgr::pins()->set_root("/other");
    EXPECT_NE(LocateMgr::pins()->generation(), generation);
}

TEST_F(LocateMgrTest, ThreadsSeeOneRootOrTheOther) {
    LocateMgr::pins()->set_root("/a");
    std::vector<std::thread> threads;
    std::vector<int> wrong(4, 0);
    for (int& count : wrong) {
        threads.emplace_back([&count] {
            for (int i = 0; i < 2000; ++i) {
                HString const path = LocateMgr::pins()->get_log_path(false);
                if (path != HString("/a/log") && path != HString("/bb/log")) ++count;
            }
        });
    }
    for (int i = 0; i < 500; ++i)
        LocateMgr::pins()->set_root(i % 2 == 0 ? "/bb" : "/a");
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, std::vector<int>(4, 0));
}

}  // namespace
