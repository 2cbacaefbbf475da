#include <gtest/gtest.h>

#include <optional>

#include "tests/storage/IndexFixture.h"
#include "tests/storage/LogExpect.h"
#include "tests/storage/ManagerFixture.h"
#include "tests/storage/SerialFixture.h"
#include "tests/support/fault/EveryAllocation.h"

// No operation throws when memory runs out: each gives its failing code, and nothing is half done.
namespace {

using fault::Extent;
using fault::WithEveryFailure;

class IndexWithoutMemory : public IndexFixture {};

TEST_F(IndexWithoutMemory, FindsAndAddsAllTheSame) {
    ASSERT_EQ(index_.Init(3), 0);
    for (int nth = 0; nth < 500; ++nth)
        ASSERT_EQ(index_.Add(kKeyA, 1, 2), 0);
    AllocationFailure const failure(1, Extent::kAllFromThere);
    EXPECT_EQ(index_.Add(kKeyAbc, 3, 4), 0);
    EXPECT_EQ(Look(kKeyAbc), Found(3, 4));
    EXPECT_EQ(index_.Add(3, 5, 6), 0);
    EXPECT_EQ(Look(3), Found(5, 6));
}

TEST_F(IndexWithoutMemory, IsNotMade) {
    int code = 0;
    EXPECT_GT(WithEveryFailure([&] { code = index_.Init(3); },
                               [&](bool failed) {
                                   EXPECT_EQ(code, failed ? -1 : 0);
                                   EXPECT_EQ(Exists(path_), !failed);
                                   EXPECT_FALSE(Exists(path_ + ".tmp"));
                                   std::filesystem::remove(path_);
                               }),
              0);
}

class StoreWithoutMemory : public ManagerFixture {
  protected:
    StoreWithoutMemory() { Open(3); }
    HString const a_{"a"}, b_{"b"};
};

TEST_F(StoreWithoutMemory, FindsNoData) {
    ASSERT_EQ(Put(a_, "alpha"), 1);
    unsigned char* buf = nullptr;
    int len = 0;
    int code = 0;
    EXPECT_GT(WithEveryFailure([&] { code = store_->Find(a_, buf, len); },
                               [&](bool failed) {
                                   EXPECT_EQ(code, failed ? -13 : 2);
                                   EXPECT_EQ(buf == nullptr, failed);
                               }),
              0);
    delete[] buf;
}

TEST_F(StoreWithoutMemory, AddsNoData) {
    unsigned char bytes[] = {'x', 'y'};
    int code = 0;
    EXPECT_GT(WithEveryFailure([&] { code = store_->Add(b_, bytes, 2); },
                               [&](bool failed) {
                                   EXPECT_EQ(code, failed ? -10 : 1);
                                   EXPECT_EQ(Get(b_), failed ? Without(0) : Data("xy"));
                                   Open(3);
                                   if (!failed) std::filesystem::remove(index_path_), Open(3);
                               }),
              0);
}

TEST_F(StoreWithoutMemory, KeyHasNoForm) {
    std::string form;
    EXPECT_GT(WithEveryFailure([&] { form = store_->FormatIndexValue(a_); },
                               [&](bool failed) { EXPECT_EQ(form.empty(), failed); }),
              0);
}

TEST_F(StoreWithoutMemory, IsWithoutAnIndexAndSaysSo) {
    LogLines log;
    HString const index(index_path_);
    HString const data(data_path_);
    std::optional<DLPCache::Manager> store;
    auto const without_index = [&](bool failed) {
        if (!failed) return;
        (void)log.Take();
        unsigned char byte = 1;
        unsigned char* buf = nullptr;
        int len = 0;
        EXPECT_EQ(store->Find(a_, buf, len), -15);
        EXPECT_EQ(store->Find(1, buf, len), -15);
        EXPECT_EQ(store->Add(a_, &byte, 1), -15);
        EXPECT_EQ(store->Add(0, nullptr, 0), -15);
        EXPECT_EQ(store->Update(1, nullptr, 1), -15);
        EXPECT_EQ(store->AddCache("key", -1, &byte, 1), -15);
        EXPECT_EQ(store->AddCache(1, -1, &byte, 1), -15);
        EXPECT_EQ(store->GetIndexNumber(), 0);
        std::string const null = ", ASSERT_NULL";
        EXPECT_EQ(TakeStorageLines(log), Assertion("Find", 420, null) + Assertion("Find", 459, null) +
                                             Assertion("Add", 498, null) + Assertion("Add", 562, null) +
                                             Assertion("Update", 625, null) + Assertion("AddCache", 699, null) +
                                             Assertion("AddCache", 715, null));
    };
    EXPECT_GT(WithEveryFailure([] {}, [&] { store.emplace(3, index, data); }, without_index, {Extent::kAllFromThere}),
              0);
}

TEST(RecordWithoutMemory, TextIsNotRead) {
    Record record;
    HString text("a text of many characters");
    std::string const bytes = FromHex("0A00 6100610061006100610061006100610061006100");
    bool read = false;
    std::optional<Input> input;
    EXPECT_GT(
        WithEveryFailure([&] { read = record.ReadHString(input.emplace(std::string_view(bytes)).Get(), text, 0); },
                         [&](bool failed) {
                             EXPECT_EQ(read, !failed);
                             EXPECT_EQ(text, failed ? HString() : HString("aaaaaaaaaa"));
                         }),
        0);
}

TEST(RecordWithoutMemory, ListIsNotRead) {
    Record record;
    std::string const bytes = FromHex("01000000 16000000 0A00 6100610061006100610061006100610061006100");
    std::vector<HString> texts;
    bool read = false;
    std::optional<Input> input;
    EXPECT_GT(WithEveryFailure(
                  [&] {
                      texts = {};
                      read = record.ReadVTHString(input.emplace(std::string_view(bytes)).Get(), texts, 0);
                  },
                  [&](bool failed) {
                      EXPECT_EQ(read, !failed);
                      EXPECT_EQ(texts.empty(), failed);
                  }),
              1);
}

TEST(RecordWithoutMemory, BecomesNoBuffer) {
    Record record;
    record.size = 2;
    record.write = [](Varnok::Writer* w) { return w->write_int16(7) == 2; };
    unsigned char* buf = nullptr;
    int len = 0;
    bool made = false;
    EXPECT_GT(WithEveryFailure([&] { made = record.ToBuffer(buf, len); },
                               [&](bool failed) {
                                   EXPECT_EQ(made, !failed);
                                   EXPECT_EQ(buf == nullptr, failed);
                               }),
              0);
    delete[] buf;
}

TEST(LogWithoutMemory, LosesItsLineAndNothingElse) {
    TempRoot const root;
    LogLines log;
    DLPCache::Index const index{HString(root / "index")};
    long long offset = 0;
    int length = 0;
    int code = 0;
    WithEveryFailure([&] { code = index.Find(1, offset, length); }, [&](bool) { EXPECT_EQ(code, -3); });
}

}  // namespace
