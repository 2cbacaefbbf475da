#include "examples/scanner/Digest.h"

#include <gtest/gtest.h>

namespace scanner {
namespace {

TEST(Digests, AreThoseOfThePublishedTestSuites) {
    Digest md5(Digest::Kind::kMd5);  // RFC 1321, A.5
    EXPECT_EQ(md5.Of(""), "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(md5.Of("message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
    Digest sha256(Digest::Kind::kSha256);  // FIPS 180-2, B.1
    EXPECT_EQ(sha256.Of("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST(Digests, MayBeTakenInPieces) {
    Digest md5(Digest::Kind::kMd5);
    md5.Begin();
    md5.Add("message ");
    md5.Add("digest");
    EXPECT_EQ(md5.End(), "f96b697d7cb7938d525a2f31aaf161d0");
}

}  // namespace
}  // namespace scanner
