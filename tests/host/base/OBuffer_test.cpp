#include "host/base/OBuffer.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace {

using Varnok::OBuffer;

struct OBufferTest : testing::Test {
    unsigned char bytes[20];
    unsigned char* array = bytes;

    OBufferTest() { std::fill(std::begin(bytes), std::end(bytes), static_cast<unsigned char>('#')); }
    [[nodiscard]] std::string Bytes() const { return {std::begin(bytes), std::end(bytes)}; }
};

TEST_F(OBufferTest, WritesLittleEndianIntegersInOrder) {
    OBuffer writer(&array, 0, 20);
    EXPECT_EQ(writer.write_int16(0x4142), 2);
    EXPECT_EQ(writer.write_uint16(0x4344), 2);
    EXPECT_EQ(writer.write_int32(0x45464748), 4);
    EXPECT_EQ(writer.write_int64(0x494A4B4C4D4E4F50LL), 8);
    EXPECT_EQ(writer.write_buffer("qr", 2), 2);
    EXPECT_EQ(writer.GetLength(), 18);
    EXPECT_EQ(Bytes(), "BADCHGFEPONMLKJIqr##");
}

TEST_F(OBufferTest, BeginsAtItsStart) {
    OBuffer writer(&array, 18, 20);
    EXPECT_EQ(writer.GetLength(), 0);
    EXPECT_EQ(writer.write_int16(0x4142), 2);
    EXPECT_EQ(writer.GetLength(), 2);
    EXPECT_EQ(writer.write_buffer("x", 1), 0);
    EXPECT_EQ(Bytes(), "##################BA");
}

TEST_F(OBufferTest, WhatDoesNotFitWholeIsNotWritten) {
    OBuffer writer(&array, 0, 3);
    EXPECT_EQ(writer.write_int32(1), 0);
    EXPECT_EQ(writer.write_buffer("abcd", 4), 0);
    EXPECT_EQ(writer.GetLength(), 0);
    EXPECT_EQ(writer.write_int16(0x4142), 2);
    EXPECT_EQ(writer.write_int16(0x4142), 0);
    EXPECT_EQ(Bytes(), "BA##################");
}

TEST_F(OBufferTest, HostileLengthsAreRefused) {
    OBuffer writer(&array, 0, 20);
    EXPECT_EQ(writer.write_buffer("x", -1), 0);
    EXPECT_EQ(writer.write_buffer("x", std::numeric_limits<long long>::max()), 0);
    EXPECT_EQ(writer.write_buffer("x", std::numeric_limits<long long>::min()), 0);
    EXPECT_EQ(writer.write_buffer(nullptr, 1), 0);
    EXPECT_EQ(writer.GetLength(), 0);
}

TEST_F(OBufferTest, HostileBoundsTakeNothing) {
    unsigned char* none = nullptr;
    for (OBuffer writer : {OBuffer(&array, -1, 20), OBuffer(&array, 21, 20), OBuffer(&array, 0, -1),
                           OBuffer(&none, 0, 20), OBuffer(nullptr, 0, 20)}) {
        EXPECT_EQ(writer.write_int16(1), 0);
        EXPECT_EQ(writer.GetLength(), 0);
    }
    EXPECT_EQ(Bytes(), "####################");
}

}  // namespace
