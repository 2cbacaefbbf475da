#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <random>

#include "storage/DLPCacheIndex.h"
#include "tests/storage/IndexModel.h"
#include "tests/support/Seed.h"
#include "tests/support/TempRoot.h"

namespace {

constexpr int kOperations = 60000;
constexpr int kReopenEvery = 500;
constexpr int kAnewEvery = 4000;

class IndexAgainstModel : public ::testing::Test {
  protected:
    int Draw(int least, int most) { return std::uniform_int_distribution<int>(least, most)(random_); }
    ModelPlace DrawPlace() { return {static_cast<long long>(random_()) - (1LL << 31), Draw(INT32_MIN, INT32_MAX)}; }
    std::string DrawTextKey() {
        char text[40];
        (void)std::snprintf(text, sizeof text, "%032x", Draw(0, 400));
        return text;
    }
    void Reopen() { index_ = std::make_unique<DLPCache::Index>(HString(root_ / "index")); }

    // One random operation; both must agree on its code and its place.
    template <class Model, class Key>
    void Step(Model& model, Key const& key, int adds_in_ten) {
        if (Draw(1, 10) <= adds_in_ten) {
            ModelPlace const place = DrawPlace();
            ASSERT_EQ(index_->Add(key, place.offset, place.length), model.Add(key, place)) << key;
            return;
        }
        ModelPlace expected;
        ModelPlace found;
        ASSERT_EQ(index_->Find(key, found.offset, found.length), model.Find(key, expected)) << key;
        ASSERT_EQ(found.offset, expected.offset) << key;
        ASSERT_EQ(found.length, expected.length) << key;
    }

    TempRoot root_;
    std::mt19937 random_{TestSeed()};
    std::unique_ptr<DLPCache::Index> index_;
};

TEST_F(IndexAgainstModel, AgreesOnTextKeys) {
    std::unique_ptr<TextIndexModel> model;
    for (int operation = 0; operation < kOperations; ++operation) {
        if (operation % kReopenEvery == 0) Reopen();
        if (operation % kAnewEvery == 0) {
            int const buckets = Draw(2, 9);
            model = std::make_unique<TextIndexModel>(static_cast<unsigned>(buckets));
            ASSERT_EQ(index_->Init(buckets), 0);
        }
        ASSERT_NO_FATAL_FAILURE(Step(*model, DrawTextKey(), 4));
        ASSERT_EQ(index_->GetNumber(), model->Slots());
    }
}

TEST_F(IndexAgainstModel, AgreesOnIntegerKeys) {
    std::unique_ptr<NumberIndexModel> model;
    for (int operation = 0; operation < kOperations; ++operation) {
        if (operation % kReopenEvery == 0) Reopen();
        if (operation % kAnewEvery == 0) {
            int const slots = Draw(0, 50);
            model = std::make_unique<NumberIndexModel>(slots);
            ASSERT_EQ(index_->Init(slots), 0);
        }
        int const end = static_cast<int>(model->Slots());
        ASSERT_NO_FATAL_FAILURE(Step(*model, Draw(-1, end + 3), 5));
        ASSERT_EQ(index_->GetNumber(), model->Slots());
    }
}

}  // namespace
