#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <random>

#include "tests/storage/IndexFixture.h"
#include "tests/storage/LogExpect.h"

namespace {

// Chains put together by hand: bucket 1 of 2 begins in slot 1.
class IndexChain : public IndexFixture {
  protected:
    // A file of `slots` slots, each with a key of its own that nobody asks for and no next.
    void MakeSlots(int slots) {
        ASSERT_EQ(index_.Init(2), 0);
        content_ = Bytes().substr(0, 27);
        for (int slot = 1; slot <= slots; ++slot) {
            std::string bytes = "slot" + std::to_string(slot);
            bytes.resize(57);
            content_ += bytes;
        }
    }
    void PutNext(long long slot, long long position) {
        content_.replace(static_cast<std::size_t>(SlotAt(slot)) + 49, 8, Number64(position));
    }
    void PutKey(long long slot, std::string const& key) {
        content_.replace(static_cast<std::size_t>(SlotAt(slot)), 32, key);
    }
    // Links the slots in the given order.
    void Chain(std::vector<int> const& order) {
        for (std::size_t i = 0; i + 1 < order.size(); ++i)
            PutNext(order[i], SlotAt(order[i + 1]));
    }
    static std::vector<int> Straight(int slots) {
        std::vector<int> order(static_cast<std::size_t>(slots));
        for (int i = 0; i < slots; ++i)
            order[static_cast<std::size_t>(i)] = i + 1;
        return order;
    }
    void Save() const { WriteBytes(path_, content_); }
    // Adds `key_` at the chain's end and finds it there.
    void ExpectEndReached(long long last_slot) {
        long long const end = static_cast<long long>(content_.size());
        Save();
        EXPECT_EQ(Look(key_), Without(0));
        EXPECT_EQ(index_.Add(key_, 5, 6), 0);
        EXPECT_EQ(Look(key_), Found(5, 6));
        PutNext(last_slot, end);
        EXPECT_EQ(Bytes().substr(0, content_.size()), content_);
        EXPECT_EQ(Size(), end + 57);
    }
    void ExpectUnreachable() {
        Save();
        EXPECT_EQ(Look(key_), Without(-12));
        EXPECT_EQ(TakeStorageLines(log_), Assertion("Find", 81));
        EXPECT_EQ(index_.Add(key_, 5, 6), -12);
        EXPECT_EQ(TakeStorageLines(log_), Assertion("Add", 187));
        EXPECT_EQ(Bytes(), content_);
    }
    void ExpectShort() {
        Save();
        EXPECT_EQ(Look(key_), Without(-7));
        EXPECT_EQ(TakeStorageLines(log_), Assertion("Find", 84));
        EXPECT_EQ(index_.Add(key_, 5, 6), -12);
        EXPECT_EQ(TakeStorageLines(log_), Assertion("Add", 190));
        EXPECT_EQ(Bytes(), content_);
    }

    std::string content_;
    std::string key_ = KeyInBucket(1, 2);
    LogLines log_;
};

TEST_F(IndexChain, IsWalkedToItsEndWhateverItsLength) {
    for (int const slots : {1, 2, 3, 4, 5, 6, 75, 76, 77, 300, 1200, 1300, 5000}) {
        SCOPED_TRACE(slots);
        MakeSlots(slots);
        Chain(Straight(slots));
        ExpectEndReached(slots);
    }
}

TEST_F(IndexChain, HasEachOfItsKeysFound) {
    MakeSlots(3000);
    Chain(Straight(3000));
    for (int const slot : {1, 2, 4, 5, 6, 76, 77, 78, 149, 1500, 2999, 3000}) {
        SCOPED_TRACE(slot);
        std::string const before = content_;
        PutKey(slot, key_);
        Save();
        EXPECT_EQ(Look(key_), Found(0, 0));
        content_ = before;
    }
}

TEST_F(IndexChain, MayJumpAbout) {
    std::vector<int> order = Straight(4000);
    std::mt19937 random(7);
    std::shuffle(order.begin() + 1, order.end(), random);
    MakeSlots(4000);
    Chain(order);
    ExpectEndReached(order.back());
}

TEST_F(IndexChain, MayRunBackwards) {
    std::vector<int> order = Straight(3000);
    std::reverse(order.begin() + 1, order.end());
    MakeSlots(3000);
    Chain(order);
    ExpectEndReached(2);
}

TEST_F(IndexChain, MayBeSparseAndThenDenseAgain) {
    std::vector<int> order = Straight(1);
    for (int slot = 2000; slot <= 60000; slot += 2000)
        order.push_back(slot);
    for (int slot = 60001; slot <= 62000; ++slot)
        order.push_back(slot);
    MakeSlots(62000);
    Chain(order);
    ExpectEndReached(62000);
}

TEST_F(IndexChain, MayHaveSlotsThatOverlapTheHeadOrEachOther) {
    MakeSlots(20);
    PutNext(1, 5);  // the slot there ends at 62, its next is the 8 bytes at 54, all zero: the chain's end
    Save();
    EXPECT_EQ(Look(key_), Without(0));
    ASSERT_EQ(index_.Add(key_, 5, 6), 0);
    EXPECT_EQ(Look(key_), Found(5, 6));
    EXPECT_EQ(Bytes().substr(54, 8), Number64(SlotAt(21)));
}

TEST_F(IndexChain, OfUnalignedSlotsIsWalked) {
    MakeSlots(200);
    // Slots lie 3 bytes behind the table's, so that they straddle every block's end.
    PutNext(1, SlotAt(2) + 3);
    for (int slot = 2; slot < 190; ++slot) {
        auto const at = static_cast<std::size_t>(SlotAt(slot)) + 3;
        content_.replace(at, 57, std::string(57, 'x'));
        content_.replace(at + 49, 8, Number64(slot == 189 ? 0 : SlotAt(slot + 1) + 3));
    }
    long long const end = static_cast<long long>(content_.size());
    Save();
    EXPECT_EQ(Look(key_), Without(0));
    ASSERT_EQ(index_.Add(key_, 5, 6), 0);
    EXPECT_EQ(Bytes().substr(static_cast<std::size_t>(SlotAt(189)) + 52, 8), Number64(end));
    EXPECT_EQ(Look(key_), Found(5, 6));
}

TEST_F(IndexChain, LoopIsLeftAfterAsManyStepsAsThereAreSlots) {
    for (int const slots : {1, 2, 3, 4, 5, 6, 100, 3000}) {
        SCOPED_TRACE(slots);
        MakeSlots(slots);
        Chain(Straight(slots));
        PutNext(slots, SlotAt(1));
        ExpectUnreachable();
    }
}

TEST_F(IndexChain, LoopOfASingleSlotIsLeft) {
    MakeSlots(50);
    PutNext(1, SlotAt(1));
    ExpectUnreachable();
}

TEST_F(IndexChain, LoopInAFileOfOneSlotEndsBeforeTheSecondStep) {
    MakeSlots(1);
    PutNext(1, 20);  // a whole slot could be read there
    ExpectUnreachable();
}

TEST_F(IndexChain, NegativeNextIsOutOfReach) {
    for (int const slots : {1, 3, 4, 5, 6, 500}) {
        SCOPED_TRACE(slots);
        MakeSlots(slots + 1);
        Chain(Straight(slots));
        PutNext(slots, -1);
        ExpectUnreachable();
        PutNext(slots, LLONG_MIN);
        ExpectUnreachable();
    }
}

TEST_F(IndexChain, SlotBeyondTheFileIsShort) {
    for (int const slots : {1, 3, 4, 5, 6, 500}) {
        SCOPED_TRACE(slots);
        MakeSlots(slots + 1);
        Chain(Straight(slots));
        for (long long const position : {SlotAt(slots + 2), SlotAt(slots + 1) + 1, 1LL << 40, LLONG_MAX}) {
            PutNext(slots, position);
            ExpectShort();
        }
    }
}

TEST_F(IndexChain, SlotCutShortAtTheFilesEndIsShort) {
    for (int const slots : {2, 4, 5, 6, 500}) {
        SCOPED_TRACE(slots);
        MakeSlots(slots);
        Chain(Straight(slots));
        content_.pop_back();
        ExpectShort();
    }
}

}  // namespace
