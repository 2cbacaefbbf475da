// How many system calls a count takes. These numbers are promised: a call more is a defect.
#include "sensrecord/DLPCacheSensRecord.h"
#include "tests/sensrecord/SensRecordFixture.h"
#include "tests/support/fault/FaultInjection.h"

namespace {

constexpr long long kTableEnd = 27 + 100000 * 57;

std::string Number64(long long value) {
    std::string bytes;
    for (int i = 0; i < 8; ++i)
        bytes += static_cast<char>(static_cast<unsigned long long>(value) >> (8 * i));
    return bytes;
}

// A slot of "/a.txt": printf %s $(printf %s /a.txt | md5sum, in capitals) | md5sum.
std::string Slot(long long next) {
    return "b453630f72e4137e342a19420beaf813" + std::string(5, '\0') + Number64(0) + FromHex("10000000") +
           Number64(next);
}

// Its first slot in the table.
constexpr long long kFirstSlot = 5666967;

class SensRecordCalls : public SensRecordFixture {
  protected:
    // Opens the store.
    SensRecordCalls() { manager_.GetDLPCacheSensRecord(policy_.policy->record_key)->Update(policy_); }

    int CallsOfCount(int expected) {
        FaultInjection const counter;
        EXPECT_EQ(Count("/a.txt"), expected);
        return counter.CountAll();
    }
    // The files as so many counts of "/a.txt" leave them.
    void PretendCounted(int times) {
        WriteBytes(Dir() + "cache", FromHex("10000000") + Number64(times).substr(0, 4) + std::string(8, '\0'));
        std::string index = ReadBytes(Dir() + "index").substr(0, kTableEnd);
        index.replace(kFirstSlot, 57, Slot(times > 1 ? kTableEnd : 0));
        for (int appended = 1; appended < times; ++appended)
            index += Slot(appended + 1 < times ? kTableEnd + appended * 57 : 0);
        WriteBytes(Dir() + "index", index);
    }
};

TEST_F(SensRecordCalls, FirstCountTakesTwentyOne) {
    Count("/of others");  // makes the data file
    // Four looks at directories and marker, 4 to find nothing, 13 to add a new key.
    EXPECT_EQ(CallsOfCount(1), 21);
}

TEST_F(SensRecordCalls, SecondCountTakesFourMore) {
    Count("/a.txt");
    // Four looks, 7 to find the record, 4 to find it again, 3 to rewrite it, 7 to append a slot.
    EXPECT_EQ(CallsOfCount(2), 25);
}

TEST_F(SensRecordCalls, LongChainIsReadInBlocks) {
    PretendCounted(9999);
    // 9998 appended slots are 569886 bytes, 9 blocks of 64 KiB.
    EXPECT_LE(CallsOfCount(10000), 25 + 9 + 16);
}

TEST_F(SensRecordCalls, LongChainGrowsByASlotAtItsEnd) {
    PretendCounted(9999);
    std::string expected = ReadBytes(Dir() + "index");
    EXPECT_EQ(Count("/a.txt"), 10000);
    EXPECT_EQ(ReadBytes(Dir() + "cache"), FromHex("10000000 10270000 00000000 00000000"));
    expected.replace(expected.size() - 8, 8, Number64(static_cast<long long>(expected.size())));
    expected += Slot(0);
    std::string const index = ReadBytes(Dir() + "index");
    EXPECT_EQ(index.size(), static_cast<std::size_t>(kTableEnd + 9999 * 57));
    EXPECT_TRUE(index == expected);
    EXPECT_EQ(CountLater("/a.txt"), 10001);
}

TEST_F(SensRecordCalls, PretendedCountsAreThoseOfCounting) {
    for (int times = 1; times <= 3; ++times) {
        ASSERT_EQ(Count("/a.txt"), times);
        std::string const index = ReadBytes(Dir() + "index");
        std::string const data = ReadBytes(Dir() + "cache");
        PretendCounted(times);
        EXPECT_TRUE(ReadBytes(Dir() + "index") == index) << times;
        EXPECT_EQ(ReadBytes(Dir() + "cache"), data);
    }
}

}  // namespace
