#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <new>
#include <string>

#include "host/base/Global.h"
#include "host/base/HDirSnap.h"
#include "host/base/HFile.h"
#include "host/base/HFileLog.h"
#include "host/base/HFileReader.h"
#include "host/base/HFileWriter.h"
#include "host/base/HIniFileHelper.h"
#include "host/base/HTimeHelper.h"
#include "host/base/HTimeValueEx.h"
#include "host/base/Language.h"
#include "host/base/LocateMgr.h"
#include "tests/support/TempRoot.h"
#include "tests/support/fault/EveryAllocation.h"

namespace {

namespace fs = std::filesystem;

using fault::FailEachAllocation;

struct NoMemoryTest : testing::Test {
    TempRoot root;
    HString path = HString(root / "a file whose name does not fit into the string object itself");
};

TEST_F(NoMemoryTest, PathsBecomeEmpty) {
    auto const path_to_log = [] { return Varnok::LocateMgr::pins()->get_log_path(true); };
    EXPECT_GT(FailEachAllocation(path_to_log, [](HString const& result) { EXPECT_TRUE(result.empty()); }), 0);
    EXPECT_EQ(path_to_log(), HString(root / "log/"));
}

TEST_F(NoMemoryTest, OpeningAndMovingBytesNeedsNone) {
    std::string const big(200000, 'x');
    AllocationFailure const failure(1, AllocationFailure::Extent::kAllFromThere);
    HFileWriter writer;
    EXPECT_EQ(writer.create(path, true), 0);
    EXPECT_EQ(writer.write(big.data(), 200000), 0);
    EXPECT_EQ(writer.write_zeros(200000), 0);
    EXPECT_EQ(writer.closex(), 0);
    HFileReader reader;
    char byte = 0;
    EXPECT_EQ(reader.open(path), 0);
    EXPECT_EQ(reader.read(&byte, 1), 1);
    EXPECT_TRUE(HFile::IsFileExistFile(path));
    EXPECT_EQ(HFile::replace_file(path, "new", 3), 0);
    EXPECT_EQ(HFile::GetFileLen(path), 3);
    HFileTime time;
    EXPECT_EQ(HFile::get_file_time(path, time), 0);
    EXPECT_EQ(HFile::touch(path), 0);
    EXPECT_EQ(HFile::delete_file2(path), 0);
    HDirSnap().set_file(path);
    EXPECT_FALSE(failure.Happened());
}

TEST_F(NoMemoryTest, Md5NeedsTheResultOnly) {
    HString const text(std::string(10000, 'x'));
    AllocationFailure const count(0);
    HString const digest = text.get_md5_std_format("");
    EXPECT_EQ(count.Count(), 1);
    EXPECT_EQ(digest.length(), 32);
}

TEST_F(NoMemoryTest, ReadFileTellsIt) {
    WriteBytes(path.get_str(), std::string(100, 'x'));
    std::string content;
    int code = -1;
    EXPECT_EQ(FailEachAllocation([&] { return code = HFile::read_file(path, content, 1000); },
                                 [](int result) { EXPECT_EQ(result, ENOMEM); }),
              1);
    EXPECT_EQ(code, 0);
    EXPECT_EQ(content, std::string(100, 'x'));
}

TEST_F(NoMemoryTest, DeleteTreeTellsIt) {
    HString const dir = root / "dir";
    int result = 0;
    fault::WithEveryFailure(
        [this] { fs::create_directories(root / "dir/a directory whose name is not short/and one below it"); },
        [&] { result = HFile::delete_dir_recur(dir); }, [&](bool failed) { EXPECT_EQ(result, failed ? ENOMEM : 0); },
        {fault::Extent::kOne});
    EXPECT_FALSE(Exists(root / "dir"));
}

TEST_F(NoMemoryTest, SnapshotIsNone) {
    fs::create_directories(root / "dir/a directory whose name is not short");
    HString const dir = root / "dir";
    int entries = 0;
    int const failed = FailEachAllocation(
        [&] {
            HDirSnap snapshot;
            snapshot.recursive = true;
            snapshot.set_file(dir);
            return entries = snapshot.snap() ? static_cast<int>(snapshot.entries().size()) : -1;
        },
        [](int result) { EXPECT_EQ(result, -1); });
    EXPECT_EQ(entries, 1);
    EXPECT_GT(failed, 3);
}

TEST_F(NoMemoryTest, IniFileThatCannotBeReadIsNotReplaced) {
    std::string const content = "[DLP]\na key that is longer than the string object=5\n";
    WriteBytes(path.get_str(), content);
    HString const section = "DLP";
    HString const key = "a key that is longer than the string object";
    bool done = false;
    int const failed = FailEachAllocation(
        [&] {
            HIniFileHelper ini;
            int const read = ini.setFile(path);
            int value = 0;
            int const found = ini.read_int(section, key, value);
            int const written = ini.write_int(section, key, 5);
            int const all = ini.write_all();
            return done = read == 0 && found == 0 && value == 5 && written == 0 && all == 0;
        },
        [](bool result) { EXPECT_FALSE(result); });
    EXPECT_TRUE(done);
    EXPECT_GT(failed, 5);
    EXPECT_EQ(ReadBytes(path.get_str()), content);
}

TEST_F(NoMemoryTest, LanguageTextsBecomeEmpty) {
    HString const key = "DLP_LAN_RULE_SOCIAL_SECURITY";
    HString const value = "3";
    HString text;
    // What failed is tried anew the next time, so that a text is never lost for good.
    EXPECT_GT(fault::WithEveryFailure(
                  [&] { text = Varnok::Lan2(key, value); },
                  [&](bool failed) { EXPECT_TRUE(failed || text == HString("Social security numbers: 3")); }),
              5);
}

// A root that there was no memory for is no reason to read a file of the working directory.
TEST_F(NoMemoryTest, LanguageOfALostRootIsNotTheWorkingDirectorys) {
    WriteBytes(root / "DLPLanguage.ini", "[Language]\nDLP_LAN_SENSITIVE_YES=planted\n");
    fs::path const before = fs::current_path();
    fs::current_path(root / "");
    {
        HString const relative("relative");
        AllocationFailure const failure(1, AllocationFailure::Extent::kAllFromThere);
        Varnok::LocateMgr::pins()->set_root(relative);
    }
    EXPECT_TRUE(Varnok::LocateMgr::pins()->get_root(true).empty());
    EXPECT_TRUE(Varnok::Lan("DLP_LAN_SENSITIVE_YES").empty());
    fs::current_path(before);
}

TEST_F(NoMemoryTest, LogLinesAreLost) {
    Varnok::Global::pins()->logging = 1;
    HFileLog log;
    log.set_check_mark_file(false);
    log.set_name("a name that is longer than the string object itself");
    auto const write = [&log] {
        log.log(HFileLog::ins()->get(1, L"../DLPCacheIndex.cpp", 1) << "a line that is longer than sixteen bytes");
    };
    int const failed = fault::WithEveryFailure(write, [] {});
    Varnok::Global::pins()->logging = 0;
    EXPECT_GT(failed, 3);
    EXPECT_TRUE(Exists(root / "log/a name that is longer than the string object itself.log"));
}

TEST_F(NoMemoryTest, TimesBecomeEmpty) {
    HString text;
    fault::WithEveryFailure([&] { text = HTimeHelper::Int2Str2(0); },
                            [&](bool failed) { EXPECT_EQ(text.empty(), failed); });
}

TEST_F(NoMemoryTest, TextsThatAreMadeAnewThrowNothingElse) {
    AllocationFailure const failure(1, AllocationFailure::Extent::kAllFromThere);
    EXPECT_THROW(HString(7LL, true), std::bad_alloc);
    EXPECT_THROW(HString(true), std::bad_alloc);
    EXPECT_THROW((void)HTimeValueEx().to_long2(), std::bad_alloc);
}

}  // namespace
