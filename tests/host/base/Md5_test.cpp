#include "host/base/Md5.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "tests/support/TempRoot.h"

namespace {

std::string Hex(Varnok::Md5::Digest const& digest) {
    char hex[32];
    Varnok::Md5::ToHexLower(digest, hex);
    return {hex, sizeof hex};
}

std::string Md5Of(std::string_view message) {
    Varnok::Md5 md5;
    md5.Update(message.data(), message.size());
    return Hex(md5.Finish());
}

// What md5sum prints for the file.
std::string Md5Sum(std::string const& path) {
    std::unique_ptr<FILE, int (*)(FILE*)> const pipe(popen(("md5sum < '" + path + "'").c_str(), "r"), &pclose);
    char hex[33] = "";
    EXPECT_NE(pipe, nullptr);
    EXPECT_EQ(std::fread(hex, 1, 32, pipe.get()), 32U);
    return hex;
}

// RFC 1321, appendix A.5.
TEST(Md5, TestSuiteOfTheRfc) {
    EXPECT_EQ(Md5Of(""), "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(Md5Of("a"), "0cc175b9c0f1b6a831c399e269772661");
    EXPECT_EQ(Md5Of("abc"), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(Md5Of("message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
    EXPECT_EQ(Md5Of("abcdefghijklmnopqrstuvwxyz"), "c3fcd3d76192e4007dfb496cca67e13b");
    EXPECT_EQ(Md5Of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"),
              "d174ab98d277d9f5a5611c2c9f419d9f");
    EXPECT_EQ(Md5Of("12345678901234567890123456789012345678901234567890123456789012345678901234567890"),
              "57edf4a22be3c955ac49da2e2107b67a");
}

TEST(Md5, AgreesWithMd5sumOnTheFilesOfTheMachine) {
    int seen = 0;
    for (auto const& entry : std::filesystem::directory_iterator("/etc")) {
        if (!entry.is_regular_file() || entry.is_symlink() || seen == 12) continue;
        if (FILE* const readable = std::fopen(entry.path().c_str(), "r")) {
            std::fclose(readable);
            EXPECT_EQ(Md5Of(ReadBytes(entry.path())), Md5Sum(entry.path())) << entry.path();
            ++seen;
        }
    }
    EXPECT_GT(seen, 0);
}

TEST(Md5, AgreesWithMd5sumAroundTheBlockLength) {
    TempRoot root;
    for (std::size_t const length : {54U, 55U, 56U, 57U, 63U, 64U, 65U, 119U, 120U, 121U, 127U, 128U, 129U, 100000U}) {
        std::string const message(length, 'm');
        WriteBytes(root / "file", message);
        EXPECT_EQ(Md5Of(message), Md5Sum(root / "file")) << length;
    }
}

TEST(Md5, PiecesGiveTheSameAsTheWhole) {
    std::string const message(300, 'p');
    for (std::size_t piece = 1; piece < 140; ++piece) {
        Varnok::Md5 md5;
        for (std::size_t at = 0; at < message.size(); at += piece) {
            std::string_view const part = std::string_view(message).substr(at, piece);
            md5.Update(part.data(), part.size());
        }
        ASSERT_EQ(Hex(md5.Finish()), Md5Of(message)) << piece;
    }
}

TEST(Md5, HexDigitsComeInBothCases) {
    Varnok::Md5::Digest const digest{0x00, 0x1f, 0xab, 0xcd, 0xef, 0x99, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xf0};
    char hex[32];
    Varnok::Md5::ToHexUpper(digest, hex);
    EXPECT_EQ(std::string(hex, 32), "001FABCDEF99000000000000000000F0");
    EXPECT_EQ(Hex(digest), "001fabcdef99000000000000000000f0");
}

}  // namespace
