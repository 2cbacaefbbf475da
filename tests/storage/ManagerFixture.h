#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>

#include "storage/DLPCacheIndex.h"
#include "storage/DLPCacheManager.h"
#include "tests/support/TempRoot.h"

// One record store in a root of its own: 10 slots for integer keys, 3 buckets for text keys unless a test asks for
// others.
class ManagerFixture : public ::testing::Test {
  protected:
    struct Answer {
        int code = 0;
        bool null = true;
        std::string data;
        friend bool operator==(Answer const&, Answer const&) = default;
        friend void PrintTo(Answer const& answer, std::ostream* out) {
            *out << "code " << answer.code << (answer.null ? ", null" : ", data ") << answer.data;
        }
    };
    static Answer Data(std::string const& data) { return {2, false, data}; }
    static Answer Without(int code) { return {code, true, ""}; }

    void Open(int buckets) {
        store_ = std::make_unique<DLPCache::Manager>(buckets, HString(index_path_), HString(data_path_));
    }
    template <class Key>
    Answer Get(Key const& key) const {
        unsigned char* buf = nullptr;
        int len = -1;
        int const code = store_->Find(key, buf, len);
        std::unique_ptr<unsigned char[]> const owner(buf);
        if (buf == nullptr) return Without(code);
        return {code, false, std::string(buf, buf + len)};
    }
    template <class Key>
    int Put(Key const& key, std::string data) const {
        return store_->Add(key, reinterpret_cast<unsigned char*>(data.data()), static_cast<int>(data.size()));
    }
    template <class Key>
    int PutNothing(Key const& key) const {
        return store_->Add(key, nullptr, 0);
    }
    int Rewrite(int key, std::string data) const {
        return store_->Update(key, reinterpret_cast<unsigned char*>(data.data()), static_cast<int>(data.size()));
    }
    // Where the index says that the key's record lies.
    struct Place {
        long long offset = -77;
        int length = -77;
        friend bool operator==(Place const&, Place const&) = default;
    };
    template <class Key>
    Place PlaceOf(Key const& key) const {
        Place place;
        EXPECT_EQ(DLPCache::Index(HString(index_path_)).Find(key, place.offset, place.length), 1);
        return place;
    }
    template <class Key>
    void SetPlace(Key const& key, long long offset, int length) const {
        EXPECT_EQ(DLPCache::Index(HString(index_path_)).Add(key, offset, length), 0);
    }
    [[nodiscard]] std::string DataFile() const { return ReadBytes(data_path_); }

    TempRoot root_;
    std::string index_path_ = root_ / "index";
    std::string data_path_ = root_ / "data";
    std::unique_ptr<DLPCache::Manager> store_;
};
