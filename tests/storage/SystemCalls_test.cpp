#include <gtest/gtest.h>

#include <fstream>

#include "tests/storage/IndexFixture.h"
#include "tests/storage/ManagerFixture.h"
#include "tests/support/fault/FaultInjection.h"

// How many system calls the operations take. These numbers are promised: a call more is a defect.
namespace {

// The calls of one operation, by kind.
struct Calls {
    int open = 0;
    int pread = 0;
    int pwrite = 0;
    int lseek = 0;
    int stat = 0;
    int close = 0;
    int all = 0;
    friend bool operator==(Calls const&, Calls const&) = default;
    friend void PrintTo(Calls const& calls, std::ostream* out) {
        *out << "open " << calls.open << ", pread " << calls.pread << ", pwrite " << calls.pwrite << ", lseek "
             << calls.lseek << ", stat " << calls.stat << ", close " << calls.close << ", all " << calls.all;
    }
};

template <class Operation>
Calls CallsOf(Operation const& operation) {
    FaultInjection const counter;
    operation();
    return {counter.Count(SystemCall::kOpen),
            counter.Count(SystemCall::kPread),
            counter.Count(SystemCall::kPwrite),
            counter.Count(SystemCall::kLseek),
            counter.Count(SystemCall::kStat),
            counter.Count(SystemCall::kClose),
            counter.CountAll()};
}

// Bytes that this process has read so far, as the kernel counts them; -1 where it does not tell.
long long BytesRead() {
    std::ifstream counts("/proc/self/io");
    std::string name;
    long long count = -1;
    return counts >> name >> count ? count : -1;
}

class IndexCalls : public IndexFixture {};
class StoreCalls : public ManagerFixture {};

TEST_F(IndexCalls, LookUpInAFirstSlotTakesFour) {
    ASSERT_EQ(index_.Init(3), 0);
    ASSERT_EQ(index_.Add(kKeyA, 1, 2), 0);
    ASSERT_EQ(index_.Add(3, 1, 2), 0);
    Calls const expected{.open = 1, .pread = 2, .close = 1, .all = 4};
    EXPECT_EQ(CallsOf([&] { EXPECT_EQ(Look(kKeyA).code, 1); }), expected);
    EXPECT_EQ(CallsOf([&] { EXPECT_EQ(Look(kKeyB).code, 0); }), expected);
    EXPECT_EQ(CallsOf([&] { EXPECT_EQ(Look(3).code, 1); }), expected);
}

TEST_F(IndexCalls, AddingIntoAFirstSlotTakesFive) {
    ASSERT_EQ(index_.Init(3), 0);
    EXPECT_EQ(CallsOf([&] { EXPECT_EQ(index_.Add(kKeyA, 1, 2), 0); }),
              (Calls{.open = 1, .pread = 2, .pwrite = 1, .close = 1, .all = 5}));
}

TEST_F(IndexCalls, EachFurtherSlotOfAShortChainTakesOne) {
    ASSERT_EQ(index_.Init(3), 0);
    for (int nth = 0; nth < 4; ++nth)
        ASSERT_EQ(index_.Add(KeyInBucket(2, 3, nth), 1, 2), 0);
    EXPECT_EQ(CallsOf([&] { EXPECT_EQ(Look(KeyInBucket(2, 3, 3)).code, 1); }),
              (Calls{.open = 1, .pread = 5, .close = 1, .all = 7}));
}

TEST_F(IndexCalls, LongChainIsReadInBlocks) {
    ASSERT_EQ(index_.Init(3), 0);
    std::string content = Bytes().substr(0, 27);
    for (int slot = 1; slot <= 10000; ++slot) {
        content += "x" + std::string(48, '\0') + Number64(slot < 10000 ? SlotAt(slot + 1) : 0);
    }
    WriteBytes(path_, content);
    // 570000 bytes are 9 blocks of 64 KiB.
    EXPECT_LE(CallsOf([&] { EXPECT_EQ(Look(kKeyAbc).code, 0); }).all, 9 + 16);
    EXPECT_LE(CallsOf([&] { EXPECT_EQ(index_.Add(kKeyAbc, 1, 2), 0); }).all, 9 + 16);
}

TEST_F(IndexCalls, ChainThatJumpsAboutIsReadSlotBySlot) {
    ASSERT_EQ(index_.Init(3), 0);
    constexpr int kSlots = 200;
    constexpr int kStride = 200;  // a slot in 11400 bytes
    TruncateAt(SlotAt(kSlots * kStride));
    ASSERT_EQ(index_.Add(kKeyA, 1, 2), 0);
    std::string content = Bytes();
    for (int slot = 0; slot + 1 < kSlots; ++slot) {
        content.replace(static_cast<std::size_t>(SlotAt(1 + slot * kStride)), 1, "x");
        content.replace(static_cast<std::size_t>(SlotAt(1 + slot * kStride)) + 49, 8,
                        Number64(SlotAt(1 + (slot + 1) * kStride)));
    }
    WriteBytes(path_, content);
    EXPECT_LE(CallsOf([&] { EXPECT_EQ(Look(kKeyA).code, 0); }).all, kSlots + 10);
    long long const before = BytesRead();
    EXPECT_EQ(Look(kKeyA), Without(0));
    // Its slots and now and then a try with 4 KiB.
    EXPECT_LE(BytesRead() - before, kSlots * 57 + (kSlots / 16 + 2) * 4096);
}

TEST_F(StoreCalls, LookUpTakesSeven) {
    Open(3);
    ASSERT_EQ(Put(HString("a"), std::string(300, 'x')), 1);
    ASSERT_EQ(Put(3, std::string(64 * 1024, 'x')), 1);
    Calls const expected{.open = 2, .pread = 3, .close = 2, .all = 7};
    EXPECT_EQ(CallsOf([&] { EXPECT_EQ(Get(HString("a")).code, 2); }), expected);
    EXPECT_EQ(CallsOf([&] { EXPECT_EQ(Get(3).code, 2); }), expected);
}

TEST_F(StoreCalls, LookUpOfALargeRecordAsksTheSizeFirst) {
    Open(3);
    ASSERT_EQ(Put(3, std::string(64 * 1024 + 1, 'x')), 1);
    EXPECT_EQ(CallsOf([&] { EXPECT_EQ(Get(3).code, 2); }),
              (Calls{.open = 2, .pread = 3, .stat = 1, .close = 2, .all = 8}));
}

TEST_F(StoreCalls, AddingANewTextKeyTakesThirteen) {
    Open(3);
    ASSERT_EQ(Put(HString("a"), "x"), 1);
    EXPECT_EQ(CallsOf([&] { EXPECT_EQ(Put(HString("b"), "x"), 1); }),
              (Calls{.open = 3, .pread = 4, .pwrite = 2, .lseek = 1, .close = 3, .all = 13}));
}

TEST_F(StoreCalls, RewritingInPlaceTakesSeven) {
    Open(3);
    ASSERT_EQ(Put(1, "x"), 1);
    EXPECT_EQ(CallsOf([&] { EXPECT_EQ(Rewrite(1, "y"), 0); }),
              (Calls{.open = 2, .pread = 2, .pwrite = 1, .close = 2, .all = 7}));
}

}  // namespace
