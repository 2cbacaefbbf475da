#include "host/policy/ArchiveFile.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "host/policy/QVKTableFile.h"
#include "tests/host/policy/DefinitionBuilder.h"
#include "tests/support/TempRoot.h"

namespace {

using Varnok::ArchiveHead;
using Varnok::PackArchive;
using Varnok::UnpackArchive;

constexpr char kTag[5] = "KCLS";

TEST(ArchiveFile, UnpacksWhatItPacked) {
    std::string content = PackArchive(kTag, 7, "the body");
    EXPECT_EQ(content.size(), ArchiveHead::kSize + 8);
    std::uint32_t count = 0;
    ASSERT_TRUE(UnpackArchive(content, kTag, count));
    EXPECT_EQ(content, "the body");
    EXPECT_EQ(count, 7U);
}

TEST(ArchiveFile, AnotherVersionIsRefusedThoughItsChecksumIsRight) {
    // Version 2, tag, no records, no body; the last four bytes are zlib's crc32 of the twenty before.
    std::string content = FromHex("54564152 02000000 4b434c53 00000000 00000000 f7dec6da");
    std::uint32_t count = 77;
    EXPECT_FALSE(UnpackArchive(content, kTag, count));
    EXPECT_EQ(count, 77U);
}

// The checksum is right in these: the records themselves must be refused.
class HostileBody : public testing::Test {
  protected:
    TempRoot root;

    int Read(std::uint32_t count, std::string const& body) {
        std::string const path = root / "table.arc";
        EXPECT_EQ(Varnok::WriteArchive(path, kTag, count, body), 0);
        QVKConfigKeywordDataClassVT table;
        table.nodes.resize(1);
        int const failed = table.from_file(path);
        EXPECT_TRUE(failed == 0 || table.nodes.empty());
        return failed;
    }
    static std::string Records(int count) {
        Varnok::ArchiveWriter writer;
        for (int i = 0; i < count; ++i)
            definitions::DataClass("C1").Encode(writer);
        return writer.bytes();
    }
};

TEST_F(HostileBody, TheRightCountIsRead) {
    EXPECT_EQ(Read(2, Records(2)), 0);
}

TEST_F(HostileBody, AWrongCountIsRefused) {
    EXPECT_EQ(Read(0, Records(2)), EBADMSG);
    EXPECT_EQ(Read(1, Records(2)), EBADMSG);
    EXPECT_EQ(Read(3, Records(2)), EBADMSG);
    EXPECT_EQ(Read(0xFFFFFFFF, Records(2)), EBADMSG);
    EXPECT_EQ(Read(1, ""), EBADMSG);
}

TEST_F(HostileBody, BytesAfterTheLastRecordAreRefused) {
    EXPECT_EQ(Read(2, Records(2) + '\0'), EBADMSG);
}

TEST_F(HostileBody, ATextLongerThanTheFileIsRefused) {
    std::string body = Records(1);
    body.replace(8, 4, FromHex("FFFFFF7F"));
    EXPECT_EQ(Read(1, body), EBADMSG);
}

// 256 MiB of zeros that take no room on the disk.
class LargeArchive : public testing::Test {
  protected:
    TempRoot root;
    std::string const path = root / "large.arc";
    std::string body = "as it was";
    std::uint32_t count = 77;

    int ReadOfSize(off_t size) {
        WriteBytes(path, "");
        EXPECT_EQ(::truncate(path.c_str(), size), 0);
        return Varnok::ReadArchive(path, kTag, count, body);
    }
};

TEST_F(LargeArchive, AboveTheLimitIsForeign) {
    EXPECT_EQ(ReadOfSize(static_cast<off_t>(Varnok::kMaxArchiveSize) + 1), EBADMSG);
    EXPECT_EQ(ReadOfSize(off_t{1} << 40), EBADMSG);
    EXPECT_EQ(body, "as it was");
    EXPECT_EQ(count, 77U);
}

TEST_F(LargeArchive, IsNotWrittenAboveTheLimit) {
    std::string const large(Varnok::kMaxArchiveSize - ArchiveHead::kSize + 1, 'x');
    EXPECT_EQ(Varnok::WriteArchive(path, kTag, 1, large), EFBIG);
    EXPECT_FALSE(Exists(path));
}

}  // namespace
