#include "host/policy/ScanTask.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <limits>
#include <random>
#include <string>
#include <string_view>

#include "host/policy/ArchiveFile.h"
#include "tests/host/policy/TaskBuilder.h"
#include "tests/support/EveryDamage.h"
#include "tests/support/TempRoot.h"

namespace {

namespace fs = std::filesystem;
using tasks::kFreshTaskFile;
using tasks::kTaskBody;
using tasks::kTaskFile;
using tasks::Same;
using tasks::Task;

class ScanTaskTest : public testing::Test {
  protected:
    TempRoot root;
    std::string const path = root / "ScanTask.arc";

    // Reads `bytes` into a task that was in use before; expects them to be refused and the task to be fresh.
    void ExpectRefused(std::string const& bytes) {
        WriteBytes(path, bytes);
        ScanTask task = Task();
        EXPECT_EQ(task.from_file(path), EBADMSG);
        EXPECT_TRUE(Same(task, ScanTask()));
    }
    void ExpectBodyRefused(std::string_view body, std::uint32_t count = 1) {
        ExpectRefused(Varnok::PackArchive("STSK", count, body));
    }
    // The task as its file brings it back.
    ScanTask Again(ScanTask const& task) {
        EXPECT_EQ(task.to_file(path), 0);
        ScanTask read;
        EXPECT_EQ(read.from_file(path), 0);
        return read;
    }
    [[nodiscard]] long Entries() const { return std::distance(fs::directory_iterator(root.Path()), {}); }
};

TEST_F(ScanTaskTest, AFreshOneIsCreatedByPolicyAndEmpty) {
    ScanTask const task;
    EXPECT_EQ(task.status, 1);
    EXPECT_EQ(task.kind(), 0);
    EXPECT_TRUE(task.id.empty());
    EXPECT_TRUE(task.audit_node().tpl_ids.empty());
    EXPECT_EQ(task.audit_node().header().time_stamp, 0);
}

TEST_F(ScanTaskTest, WritesTheDocumentedFile) {
    ASSERT_EQ(Task().to_file(path), 0);
    EXPECT_EQ(ReadBytes(path), kTaskFile);
    ASSERT_EQ(ScanTask().to_file(path), 0);
    EXPECT_EQ(ReadBytes(path), kFreshTaskFile);
}

TEST_F(ScanTaskTest, ReadsTheDocumentedFile) {
    WriteBytes(path, kTaskFile);
    ScanTask task;
    ASSERT_EQ(task.from_file(path), 0);
    EXPECT_EQ(task.id, HString("t1"));
    EXPECT_EQ(task.name, HString("n"));
    EXPECT_EQ(task.start_time, 1700000000);
    EXPECT_EQ(task.end_time, 1700000060);
    EXPECT_EQ(task.handle, 0x0102030405060708);
    EXPECT_EQ(task.kind(), 2);
    EXPECT_EQ(task.status, 3);
    EXPECT_EQ(task.note, HString("x"));
    EXPECT_TRUE(Same(task.audit_node(), tasks::Policy()));
}

TEST_F(ScanTaskTest, ExtremesComeBack) {
    ScanTask task = Task();
    task.start_time = std::numeric_limits<long long>::min();
    task.end_time = -1;
    task.handle = std::numeric_limits<long long>::max();
    task.status = std::numeric_limits<int>::min();
    *task.policy->kind = 255;
    task.policy->audit_node->flags = -1;
    task.policy->audit_node->policy->time_stamp = std::numeric_limits<long long>::min();
    task.id = "\xFF/..\n\xF0\x9F\x98\x80";
    task.policy->audit_node->tpl_ids.assign(1000, "T");
    EXPECT_TRUE(Same(Again(task), task));
}

TEST_F(ScanTaskTest, AnyTaskComesBack) {
    auto const seed = std::random_device()();
    SCOPED_TRACE(seed);
    std::mt19937_64 random(seed);
    auto const text = [&random] { return HString(std::string(random() % 5, static_cast<char>(random() % 256))); };
    for (int round = 0; round < 200; ++round) {
        ScanTask task;
        task.id = text();
        task.name = text();
        task.start_time = static_cast<long long>(random());
        task.end_time = static_cast<long long>(random());
        task.handle = static_cast<long long>(random());
        task.status = static_cast<int>(random());
        task.note = text();
        *task.policy->kind = static_cast<unsigned char>(random());
        QVKPolicySensitiveFileAuditNode& node = *task.policy->audit_node;
        *node.policy = {static_cast<long long>(random()), text(), text(), text()};
        for (auto left = random() % 4; left > 0; --left)
            node.tpl_ids.push_back(text());
        node.flags = static_cast<int>(random());
        node.keep = random() % 2 == 0;
        ASSERT_TRUE(Same(Again(task), task));
    }
}

TEST_F(ScanTaskTest, WhatIsMissingStandsForWhatIsEmpty) {
    ScanTask task;
    task.policy->kind = nullptr;
    task.policy->audit_node->policy = nullptr;
    ASSERT_EQ(task.to_file(path), 0);
    EXPECT_EQ(ReadBytes(path), kFreshTaskFile);
    task.policy->audit_node = nullptr;
    ASSERT_EQ(task.to_file(path), 0);
    EXPECT_EQ(ReadBytes(path), kFreshTaskFile);
    task.policy = nullptr;
    EXPECT_EQ(task.kind(), 0);
    EXPECT_TRUE(Same(task.audit_node(), QVKPolicySensitiveFileAuditNode()));
    ASSERT_EQ(task.to_file(path), 0);
    EXPECT_EQ(ReadBytes(path), kFreshTaskFile);
}

TEST_F(ScanTaskTest, ATaskWithoutABindingIsGivenOneByItsFile) {
    WriteBytes(path, kTaskFile);
    ScanTask task;
    task.policy = nullptr;
    ASSERT_EQ(task.from_file(path), 0);
    EXPECT_TRUE(Same(task, Task()));
}

TEST_F(ScanTaskTest, CopiesKeepTheirBindingWhenTheTaskIsReadAnew) {
    WriteBytes(path, kTaskFile);
    ScanTask task;
    ScanTask const copy = task;
    QVKPolicySensitiveFileAuditNode const node = task.audit_node();
    ASSERT_EQ(task.from_file(path), 0);
    EXPECT_TRUE(Same(copy, ScanTask()));
    EXPECT_EQ(node.header().time_stamp, 0);
}

TEST_F(ScanTaskTest, CopiesKeepTheirBindingWhenNothingCanBeRead) {
    ScanTask task = Task();
    ScanTask const copy = task;
    EXPECT_EQ(task.from_file(path), ENOENT);
    EXPECT_TRUE(Same(copy, Task()));
    EXPECT_NE(task.policy, nullptr);
    EXPECT_NE(task.policy, copy.policy);
}

TEST_F(ScanTaskTest, WhatCannotBeReadLeavesAFreshTask) {
    struct Bad {
        std::string path;
        int error;
    };
    WriteBytes(root / "file", "");
    ASSERT_EQ(::mkfifo((root / "fifo").c_str(), 0600), 0);
    for (Bad const& bad :
         {Bad{root / "missing", ENOENT}, Bad{root / "missing/file", ENOENT}, Bad{root.Path(), EISDIR},
          Bad{root / "fifo", EINVAL}, Bad{root / "file", EBADMSG}, Bad{root / "file/below", ENOTDIR}}) {
        ScanTask task = Task();
        EXPECT_EQ(task.from_file(bad.path), bad.error) << bad.path;
        EXPECT_TRUE(Same(task, ScanTask()));
    }
}

TEST_F(ScanTaskTest, EveryFlippedBitIsRefused) {
    ForEveryFlippedBit(kTaskFile, [this](std::string const& bytes) { ExpectRefused(bytes); });
}

TEST_F(ScanTaskTest, EveryCutFileIsRefused) {
    ForEveryCut(kTaskFile, [this](std::string const& bytes) { ExpectRefused(bytes); });
}

TEST_F(ScanTaskTest, EveryCutRecordIsRefusedWhateverItsChecksum) {
    ForEveryCut(kTaskBody, [this](std::string const& body) { ExpectBodyRefused(body); });
}

TEST_F(ScanTaskTest, ARecordIsOneAndNothingFollowsIt) {
    ExpectBodyRefused(kTaskBody + '\0');
    ExpectBodyRefused(kTaskBody, 0);
    ExpectBodyRefused(kTaskBody, 2);
    ExpectBodyRefused(kTaskBody + kTaskBody, 2);
}

TEST_F(ScanTaskTest, AHostileCountIsRefused) {
    // The texts' and the list's counts: id, name, note, policy id, policy name, record key, templates, template id.
    for (std::size_t const offset : {0U, 8U, 43U, 57U, 65U, 69U, 75U, 79U}) {
        for (char const* count : {"FFFFFFFF", "00000080", "FFFFFF7F", "10270000"}) {
            std::string body = kTaskBody;
            body.replace(offset, 4, FromHex(count));
            ExpectBodyRefused(body);
        }
    }
}

TEST_F(ScanTaskTest, AKeepThatIsNeitherYesNorNoIsRefused) {
    for (int const keep : {2, 3, 0x80, 0xFF}) {
        std::string body = kTaskBody;
        body.back() = static_cast<char>(keep);
        ExpectBodyRefused(body);
    }
}

TEST_F(ScanTaskTest, TheRecordOfAnotherTableIsRefused) {
    ExpectRefused(Varnok::PackArchive("PSFA", 1, kTaskBody));
    ExpectRefused("no archive at all, but long enough to be one");
}

TEST_F(ScanTaskTest, TheTasksOwnDirectoryIsMade) {
    std::string const deep = root / "cache/task/t1/ScanTask.arc";
    EXPECT_EQ(Task().to_file(deep), 0);
    EXPECT_EQ(ReadBytes(deep), kTaskFile);
    struct stat status {};
    ASSERT_EQ(::stat((root / "cache/task/t1").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0700U);
    EXPECT_EQ(Entries(), 1);
}

TEST_F(ScanTaskTest, TheFileIsReplacedAndNothingElseIsLeft) {
    WriteBytes(path, std::string(10000, 'x'));
    EXPECT_EQ(Task().to_file(path), 0);
    EXPECT_EQ(ReadBytes(path), kTaskFile);
    EXPECT_EQ(Entries(), 1);
}

TEST_F(ScanTaskTest, ALinkIsReplacedItself) {
    WriteBytes(root / "outside", "kept");
    fs::create_symlink(root / "outside", path);
    EXPECT_EQ(Task().to_file(path), 0);
    EXPECT_EQ(ReadBytes(root / "outside"), "kept");
    EXPECT_FALSE(fs::is_symlink(path));
}

TEST_F(ScanTaskTest, ALinkIsNotRead) {
    WriteBytes(root / "outside", kTaskFile);
    fs::create_symlink(root / "outside", path);
    ScanTask task = Task();
    EXPECT_EQ(task.from_file(path), ELOOP);
    EXPECT_TRUE(task.id.empty());
}

TEST_F(ScanTaskTest, WhatCannotBeWrittenIsTold) {
    WriteBytes(root / "file", "kept");
    EXPECT_EQ(Task().to_file(root / "file/ScanTask.arc"), ENOTDIR);
    EXPECT_EQ(Task().to_file(root / "file/below/ScanTask.arc"), ENOTDIR);
    EXPECT_EQ(Task().to_file(root.Path()), EISDIR);
    EXPECT_EQ(Task().to_file(""), ENOENT);
    EXPECT_EQ(Task().to_file(HString(std::string(5000, 'x'))), ENAMETOOLONG);
    EXPECT_EQ(ReadBytes(root / "file"), "kept");
    EXPECT_EQ(Entries(), 1);
}

}  // namespace
