#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <thread>

#include "tests/support/BucketCount.h"
#include "tests/tools/torvane/ReadRoot.h"

using testing::HasSubstr;
using testing::Not;

namespace {

class ReadingTool : public ReadRoot {
  protected:
    [[nodiscard]] std::vector<std::vector<std::string>> ReadingCommands() const {
        std::string const file = File("a.txt", "a");
        return {{"stat"},
                {"ls", "templates"},
                {"ls", "answers"},
                {"ls", "tasks"},
                {"ls", "findings"},
                {"ls", "counters"},
                {"ls", "texts"},
                {"show", "--file", file},
                {"show", "--task", "t1", "--sn", "1"},
                {"show", "nobody"},
                {"export"},
                {"why", file, "--template", "T1"}};
    }
};

// An agent whose four threads store, count and record until it is told to end.
class BusyAgent {
  public:
    BusyAgent(std::function<void(std::function<void(std::function<void(int)>)>)> const& run) {
        EXPECT_EQ(::pipe2(ends_, O_CLOEXEC), 0);
        EXPECT_EQ(::pipe2(started_, O_CLOEXEC), 0);
        child_ = ::fork();
        if (child_ != 0) {
            char byte = 0;
            EXPECT_EQ(::read(started_[0], &byte, 1), 1);
            return;
        }
        ::close(ends_[1]);
        run([this](std::function<void(int)> const& work) { Work(work); });
        ::_exit(0);
    }
    ~BusyAgent() {
        ::close(ends_[1]);
        int status = -1;
        EXPECT_EQ(::waitpid(child_, &status, 0), child_);
        EXPECT_EQ(status, 0);
        ::close(ends_[0]);
        ::close(started_[0]);
        ::close(started_[1]);
    }
    BusyAgent(BusyAgent const&) = delete;
    BusyAgent& operator=(BusyAgent const&) = delete;

  private:
    void Work(std::function<void(int)> const& work) {
        std::atomic<bool> over{false};
        std::vector<std::thread> threads;
        for (int number = 0; number < 4; ++number) {
            threads.emplace_back([&, number] {
                for (int i = number; !over; i += 4)
                    work(i);
            });
        }
        EXPECT_EQ(::write(started_[1], "x", 1), 1);
        char byte = 0;
        EXPECT_EQ(::read(ends_[0], &byte, 1), 0);  // until the test closes its end
        over = true;
        for (auto& thread : threads)
            thread.join();
    }

    int ends_[2] = {-1, -1};
    int started_[2] = {-1, -1};
    pid_t child_ = -1;
};

}  // namespace

TEST_F(ReadingTool, LeavesEverythingAsItWas) {
    MakeSmallRoot();
    auto const before = EverythingBelow(Root());
    for (auto const& words : ReadingCommands())
        EXPECT_LE(Run(words).status, 1) << words[0];
    EXPECT_EQ(EverythingBelow(Root()), before);
}

TEST_F(ReadingTool, CreatesNoRoot) {
    for (auto const& words : ReadingCommands())
        EXPECT_EQ(tool_
                      .Run([&] {
                          auto all = words;
                          all.insert(all.begin(), {"--root", root_ / "nowhere"});
                          return all;
                      }())
                      .status,
                  4)
            << words[0];
    EXPECT_FALSE(Exists(root_ / "nowhere"));
}

TEST_F(ReadingTool, EndsQuietlyWhenNobodyReads) {
    MakeSmallRoot();
    for (auto words : ReadingCommands()) {
        words.insert(words.begin(), {"--root", Root()});
        ToolResult const result = tool_.RunIntoClosedPipe(words);
        EXPECT_EQ(result.status, 0) << words[2];
        EXPECT_EQ(result.err, "");
    }
}

TEST_F(ReadingTool, WhatMayNotBeReadIsNoDamage) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can become somebody else";
    MakeSmallRoot();
    ASSERT_EQ(::chmod(root_.Path().c_str(), 0755), 0);
    ASSERT_EQ(::chmod(Root().c_str(), 0755), 0);
    for (char const* const command : {"stat", "ls answers", "ls findings", "export", "show nobody"}) {
        std::string const line = std::string("setpriv --reuid=65534 --regid=65534 --clear-groups '") + TORVANE_PROGRAM +
                                 "' --root '" + Root() + "' " + command + " >'" + (root_ / "out") + "' 2>&1";
        int const status = std::system(line.c_str());
        EXPECT_EQ(WEXITSTATUS(status), 3) << command << ReadBytes(root_ / "out");
    }
}

TEST_F(ReadingTool, ALinkIsNotFollowed) {
    MakeSmallRoot();
    std::string const index = TemplateStore("T1") + "/index";
    std::filesystem::rename(index, root_ / "elsewhere");
    std::filesystem::create_symlink(root_ / "elsewhere", index);
    ToolResult const result = Run({"ls", "answers"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("is no file"));
}

TEST_F(ReadingTool, WhileOthersWriteNothingIsDamaged) {
    SetBucketCount(Root(), "10007");
    MakeSmallRoot();
    BusyAgent const agent([this](auto const& with_threads) {
        AsAgent([&] {
            with_threads([](int i) {
                std::string const md5 = HString(i).get_md5_std_format_lower(HString()).get_str();
                StoreMatch("/x/" + md5, md5, "T1");
                Count("/x/" + md5, 1);
            });
        });
    });
    for (int round = 0; round < 3; ++round) {
        ToolResult const list = Run({"--format", "jsonl", "ls", "answers"});
        EXPECT_EQ(list.status, 0) << list.err;
        EXPECT_THAT(list.out, Not(HasSubstr("\"damaged\"")));
        EXPECT_EQ(Run({"stat"}).status, 0);
        EXPECT_EQ(Run({"why", File("a.txt", "a"), "--template", "T1"}).status, 0);
    }
}
