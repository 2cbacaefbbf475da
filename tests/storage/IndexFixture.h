#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>

#include "host/base/HString.h"
#include "host/base/Murmur3.h"
#include "storage/DLPCacheIndex.h"
#include "tests/support/TempRoot.h"

// Keys for the tests: the MD5 of "a", "abc" and "b". Of 3 buckets the first two fall into bucket 1, the third into
// bucket 2.
inline std::string const kKeyA = "0cc175b9c0f1b6a831c399e269772661";
inline std::string const kKeyAbc = "900150983cd24fb0d6963f7d28e17f72";
inline std::string const kKeyB = "92eb5ffee6ae2fec3ad71c777531578f";
// The MD5 of "c": bucket 0 of 3.
inline std::string const kKeyC = "4a8a08f09d37b73795649038408b5f33";

// The `nth` text key (from 0) that falls into `bucket` of `buckets`.
inline std::string KeyInBucket(unsigned bucket, unsigned buckets, int nth = 0) {
    char text[40];
    for (unsigned number = 0;; ++number) {
        (void)std::snprintf(text, sizeof text, "%032x", number);
        if (Varnok::Murmur3_32(text, 32) % buckets == bucket && nth-- == 0) return text;
    }
}

// One index file in a root of its own.
class IndexFixture : public ::testing::Test {
  protected:
    struct Place {
        int code = 0;
        long long offset = -77;  // untouched
        int length = -77;
        friend bool operator==(Place const&, Place const&) = default;
        friend void PrintTo(Place const& place, std::ostream* out) {
            *out << "code " << place.code << ", offset " << place.offset << ", length " << place.length;
        }
    };
    static Place Found(long long offset, int length) { return {1, offset, length}; }
    static Place Without(int code) { return {code, -77, -77}; }

    template <class Key>
    Place Look(Key const& key) const {
        Place place;
        place.code = index_.Find(key, place.offset, place.length);
        return place;
    }

    static long long SlotAt(long long slot) { return 27 + (slot - 1) * 57; }
    [[nodiscard]] std::string Bytes() const { return ReadBytes(path_); }
    [[nodiscard]] long long Size() const { return static_cast<long long>(Bytes().size()); }
    void TruncateAt(long long size) const { std::filesystem::resize_file(path_, static_cast<std::uintmax_t>(size)); }
    void Patch(long long offset, std::string const& bytes) const {
        std::string content = Bytes();
        content.replace(static_cast<std::size_t>(offset), bytes.size(), bytes);
        WriteBytes(path_, content);
    }
    static std::string Number64(long long number) {
        std::string bytes;
        for (int i = 0; i < 8; ++i)
            bytes += static_cast<char>(static_cast<unsigned long long>(number) >> (8 * i));
        return bytes;
    }
    // Makes the slot at the file offset `position` point to `next`.
    void Link(long long position, long long next) const { Patch(position + 49, Number64(next)); }

    TempRoot root_;
    std::string path_ = root_ / "index";
    DLPCache::Index index_{HString(path_)};
};
