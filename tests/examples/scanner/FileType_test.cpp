#include "examples/scanner/FileType.h"

#include <gtest/gtest.h>

namespace scanner {
namespace {

TEST(FileTypes, ComeFromTheFirstBytes) {
    EXPECT_EQ(FileType("x.txt", "\x1f\x8b\x08"), "gzip");
    EXPECT_EQ(FileType("x", "PK\x03\x04..."), "zip");
    EXPECT_EQ(FileType("x.png", "#!/bin/sh"), "script");
    EXPECT_EQ(FileType("x",
                       "\x7f"
                       "ELF\x02"),
              "elf");
}

TEST(FileTypes, FallBackToTheExtensionInLowerCase) {
    EXPECT_EQ(FileType("Notes.TXT", "hello"), "txt");
    EXPECT_EQ(FileType("a.tar.xz", ""), "xz");
}

TEST(FileTypes, AreNoneWithoutAnExtension) {
    EXPECT_EQ(FileType("README", "hello"), "none");
    EXPECT_EQ(FileType(".profile", "hello"), "none");
    EXPECT_EQ(FileType("name.", "hello"), "none");
    EXPECT_EQ(FileType("", ""), "none");
}

}  // namespace
}  // namespace scanner
