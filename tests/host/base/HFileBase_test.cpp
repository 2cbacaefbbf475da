#include "host/base/HFileBase.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <limits>
#include <string>

#include "host/base/HFileReadWriter.h"
#include "host/base/HFileReader.h"
#include "host/base/HFileWriter.h"
#include "tests/support/TempRoot.h"

namespace {

mode_t ModeOf(std::string const& path) {
    struct stat status {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0);
    return status.st_mode & 07777;
}

struct HFileBaseTest : testing::Test {
    TempRoot root;
    std::string path = root / "file";

    [[nodiscard]] std::string Read(HFileBase& file, long long count) const {
        std::string bytes(static_cast<std::size_t>(count), '\0');
        bytes.resize(static_cast<std::size_t>(file.read(bytes.data(), count)));
        return bytes;
    }
};

TEST_F(HFileBaseTest, ReaderReadsFromTheStart) {
    WriteBytes(path, "0123456789");
    HFileReader file;
    ASSERT_EQ(file.open(path), 0);
    EXPECT_EQ(Read(file, 4), "0123");
    EXPECT_EQ(file.get_current_pointer(), 4);
    EXPECT_EQ(Read(file, 4), "4567");
    EXPECT_EQ(file.get_now_size(), 10);
}

TEST_F(HFileBaseTest, ReadAtTheEndIsShort) {
    WriteBytes(path, "0123456789");
    HFileReader file;
    ASSERT_EQ(file.open(path), 0);
    ASSERT_EQ(file.set_pointer(8), 0);
    EXPECT_EQ(Read(file, 5), "89");
    EXPECT_EQ(Read(file, 5), "");
    ASSERT_EQ(file.set_pointer(1LL << 62), 0);
    EXPECT_EQ(Read(file, 5), "");
}

TEST_F(HFileBaseTest, HostileCountsMoveNothing) {
    WriteBytes(path, "0123456789");
    HFileReadWriter file;
    ASSERT_EQ(file.open(path), 0);
    EXPECT_EQ(file.read(nullptr, 0), 0);
    EXPECT_EQ(file.read(nullptr, -1), 0);
    EXPECT_EQ(file.write("x", -1), EINVAL);
    EXPECT_EQ(file.write_zeros(-1), EINVAL);
    EXPECT_EQ(file.cut_off(-1), EINVAL);
    EXPECT_EQ(ReadBytes(path), "0123456789");
}

TEST_F(HFileBaseTest, OnlyNegativePositionsFail) {
    WriteBytes(path, "0123456789");
    HFileReader file;
    ASSERT_EQ(file.open(path), 0);
    ASSERT_EQ(file.set_pointer(3), 0);
    EXPECT_EQ(file.set_pointer(-30), EINVAL);
    EXPECT_EQ(file.set_pointer(std::numeric_limits<long long>::min()), EINVAL);
    EXPECT_EQ(file.get_current_pointer(), 3);
    EXPECT_EQ(file.set_pointer(std::numeric_limits<long long>::max()), 0);
}

TEST_F(HFileBaseTest, MissingFileIsNotMadeByReaders) {
    EXPECT_EQ(HFileReader().open(path), ENOENT);
    EXPECT_EQ(HFileReadWriter().open(path), ENOENT);
    EXPECT_FALSE(Exists(path));
}

TEST_F(HFileBaseTest, ReadWriterWritesInPlace) {
    WriteBytes(path, "0123456789");
    HFileReadWriter file;
    ASSERT_EQ(file.open(path), 0);
    ASSERT_EQ(file.set_pointer(2), 0);
    EXPECT_EQ(file.write("ab", 2), 0);
    EXPECT_EQ(Read(file, 2), "45");
    ASSERT_EQ(file.set_pointer_to_end(), 0);
    EXPECT_EQ(file.get_current_pointer(), 10);
    EXPECT_EQ(file.write("xyz", 3), 0);
    EXPECT_EQ(file.cut_off(12), 0);
    EXPECT_EQ(ReadBytes(path), "01ab456789xy");
}

TEST_F(HFileBaseTest, WriterThatKeepsBeginsAtTheEnd) {
    WriteBytes(path, "0123");
    HFileWriter file;
    ASSERT_EQ(file.create(path, true), 0);
    EXPECT_EQ(file.get_current_pointer(), 4);
    EXPECT_EQ(file.write("45", 2), 0);
    EXPECT_EQ(file.write("67", 2), 0);
    EXPECT_EQ(file.flush(), 0);
    EXPECT_EQ(file.closex(), 0);
    EXPECT_EQ(ReadBytes(path), "01234567");
}

TEST_F(HFileBaseTest, WriterThatKeepsWritesAtTheEndWithoutBeingAskedWhereItIs) {
    WriteBytes(path, "0123");
    HFileWriter file;
    ASSERT_EQ(file.create(path, true), 0);
    EXPECT_EQ(file.write_zeros(2), 0);
    EXPECT_EQ(ReadBytes(path), std::string("0123\0\0", 6));
}

TEST_F(HFileBaseTest, WriterThatKeepsCanWriteInPlace) {
    WriteBytes(path, "0123");
    HFileWriter file;
    ASSERT_EQ(file.create(path, true), 0);
    ASSERT_EQ(file.set_pointer(1), 0);
    EXPECT_EQ(file.write("x", 1), 0);
    EXPECT_EQ(ReadBytes(path), "0x23");
}

TEST_F(HFileBaseTest, WriterThatDoesNotKeepEmptiesTheFile) {
    WriteBytes(path, "0123");
    HFileWriter file;
    ASSERT_EQ(file.create(path, false), 0);
    EXPECT_EQ(file.get_current_pointer(), 0);
    EXPECT_EQ(ReadBytes(path), "");
}

TEST_F(HFileBaseTest, WriterMakesTheFileButNotItsDirectory) {
    EXPECT_EQ(HFileWriter().create(path, true), 0);
    EXPECT_EQ(ModeOf(path), 0600U);
    EXPECT_EQ(HFileWriter().create(root / "missing/file", true), ENOENT);
}

TEST_F(HFileBaseTest, FileIsUsableWhateverTheUmask) {
    for (mode_t const mask : {0000U, 0022U, 0077U, 0277U, 0777U}) {
        std::string const made = root / std::to_string(mask);
        mode_t const before = umask(mask);
        EXPECT_EQ(HFileWriter().create(made, true), 0);
        umask(before);
        EXPECT_EQ(ModeOf(made), 0600U) << std::oct << mask;
    }
}

TEST_F(HFileBaseTest, RightsOfAFileThatExistsStay) {
    WriteBytes(path, "");
    ASSERT_EQ(chmod(path.c_str(), 0640), 0);
    EXPECT_EQ(HFileWriter().create(path, false), 0);
    EXPECT_EQ(ModeOf(path), 0640U);
}

TEST_F(HFileBaseTest, ZerosAreWrittenAtThePosition) {
    HFileWriter file;
    ASSERT_EQ(file.create(path, false), 0);
    ASSERT_EQ(file.write("head", 4), 0);
    ASSERT_EQ(file.write_zeros(3 * 65536 + 5), 0);
    ASSERT_EQ(file.write("tail", 4), 0);
    EXPECT_EQ(ReadBytes(path), "head" + std::string(3 * 65536 + 5, '\0') + "tail");
}

TEST_F(HFileBaseTest, SymbolicLinkIsRefused) {
    WriteBytes(path, "0123");
    ASSERT_EQ(symlink(path.c_str(), (root / "link").c_str()), 0);
    EXPECT_EQ(HFileReader().open(root / "link"), ELOOP);
    EXPECT_EQ(HFileReadWriter().open(root / "link"), ELOOP);
    EXPECT_EQ(HFileWriter().create(root / "link", false), ELOOP);
    EXPECT_EQ(ReadBytes(path), "0123");
}

TEST_F(HFileBaseTest, DanglingSymbolicLinkMakesNoFile) {
    ASSERT_EQ(symlink(path.c_str(), (root / "link").c_str()), 0);
    EXPECT_EQ(HFileWriter().create(root / "link", true), ELOOP);
    EXPECT_FALSE(Exists(path));
}

TEST_F(HFileBaseTest, FifoNeitherBlocksNorServes) {
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    HFileReader reader;
    EXPECT_EQ(reader.open(path), 0);
    EXPECT_EQ(Read(reader, 5), "");
    HFileReadWriter both;
    EXPECT_EQ(both.open(path), 0);
    EXPECT_EQ(both.write("x", 1), ESPIPE);
    EXPECT_EQ(both.set_pointer_to_end(), ESPIPE);
    HFileWriter writer;  // a reader is there
    EXPECT_EQ(writer.create(path, true), 0);
    EXPECT_EQ(writer.get_current_pointer(), -1);
    EXPECT_EQ(writer.write("x", 1), ESPIPE);
    reader.closex();
    both.closex();
    EXPECT_EQ(writer.create(path, true), ENXIO);
}

TEST_F(HFileBaseTest, DirectoryCannotBeReadOrWritten) {
    HFileReader reader;
    EXPECT_EQ(reader.open(root.Path()), 0);
    EXPECT_EQ(Read(reader, 5), "");
    EXPECT_EQ(HFileReadWriter().open(root.Path()), EISDIR);
    EXPECT_EQ(HFileWriter().create(root.Path(), true), EISDIR);
}

TEST_F(HFileBaseTest, PathWithAZeroInsideIsRefused) {
    HString const cut(std::string_view("/tmp\0/x", 7));
    EXPECT_EQ(HFileReader().open(cut), EINVAL);
    EXPECT_EQ(HFileWriter().create(HString(path) << HString(std::string_view("\0x", 2)), true), EINVAL);
    EXPECT_FALSE(Exists(path));
}

TEST_F(HFileBaseTest, PathThatIsTooLongIsRefusedNotCut) {
    std::string longest = path;
    while (longest.size() < PATH_MAX - 1)
        longest.insert(root.Path().size(), "/");
    EXPECT_EQ(HFileWriter().create(longest, true), 0);
    EXPECT_TRUE(Exists(path));
    EXPECT_EQ(HFileWriter().create(longest + "x", true), ENAMETOOLONG);
    EXPECT_FALSE(Exists(path + "x"));
}

TEST_F(HFileBaseTest, NameThatIsNotUtf8IsUsedAsItIs) {
    std::string const odd = root / "\xFF\xC3 \xF0\x9F\x98\x80";
    EXPECT_EQ(HFileWriter().create(odd, true), 0);
    EXPECT_TRUE(Exists(odd));
}

TEST_F(HFileBaseTest, OpeningAgainClosesTheFileBefore) {
    WriteBytes(path, "0123");
    WriteBytes(root / "other", "abcd");
    HFileReader file;
    ASSERT_EQ(file.open(path), 0);
    ASSERT_EQ(file.set_pointer(2), 0);
    ASSERT_EQ(file.open(root / "other"), 0);
    EXPECT_EQ(Read(file, 4), "abcd");
    EXPECT_EQ(file.open(root / "missing"), ENOENT);
    EXPECT_EQ(Read(file, 4), "");
}

TEST_F(HFileBaseTest, WithoutAnOpenFileEverythingFails) {
    HFileReader file;
    EXPECT_EQ(Read(file, 4), "");
    EXPECT_EQ(file.write("x", 1), EBADF);
    EXPECT_EQ(file.set_pointer_to_end(), EBADF);
    EXPECT_EQ(file.get_now_size(), -1);
    EXPECT_EQ(file.cut_off(0), EBADF);
    EXPECT_EQ(file.closex(), 0);
}

TEST_F(HFileBaseTest, DescriptorsAreNotInherited) {
    // The lowest free descriptor is the one that the file gets.
    int const next = dup(0);
    ASSERT_GE(next, 0);
    ::close(next);
    HFileWriter file;
    ASSERT_EQ(file.create(path, true), 0);
    EXPECT_EQ(fcntl(next, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

}  // namespace
