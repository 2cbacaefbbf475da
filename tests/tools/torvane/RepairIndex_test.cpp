#include <filesystem>
#include <optional>
#include <sstream>

#include "storage/DLPCacheIndex.h"
#include "tests/tools/torvane/RebuildFixture.h"

namespace {

namespace fs = std::filesystem;

using testing::SizeIs;

using Answer = StoredAnswer;

// Indexes that are damaged on purpose. That of the template has 7 buckets.
class RepairingIndexes : public Rebuilding {
  protected:
    [[nodiscard]] std::string Index() const { return Template() + "/index"; }
    void PutBucketCount(std::string const& count) { Put(Index(), 23, count); }

    // The first slot from `from` on whose key has a record.
    [[nodiscard]] std::uint64_t SlotWithRecord(std::uint64_t from) const {
        return FindSlot(Index(), [&](auto number, auto const& slot) { return number >= from && slot.length > 0; });
    }
    // Gives the first of two slots the key of the second.
    void CopyKey(std::uint64_t to, std::uint64_t from) {
        torvane::Slot slot = SlotAt(Index(), to);
        torvane::Slot const other = SlotAt(Index(), from);
        std::copy(std::begin(other.str_key), std::end(other.str_key), slot.str_key);
        PutSlot(Index(), to, slot);
    }
    // How many keys the new root does not answer any more; the others must be answered as before.
    [[nodiscard]] int Lost(std::map<std::string, Answer> const& before) const {
        int lost = 0;
        for (auto const& [key, answer] : Answers(Out())) {
            if (answer == before.at(key) || before.at(key).code == DLPCache::kPositionUnreachable) continue;
            EXPECT_EQ(answer.code, DLPCache::kDone) << key;
            ++lost;
        }
        return lost;
    }
    [[nodiscard]] std::vector<std::uint64_t> SlotsLeftOut(ToolResult const& result) const {
        std::vector<std::uint64_t> slots;
        auto const report = result.Json();
        for (auto const& item : report["items"]) {
            if (item["slot"].is_number()) slots.push_back(item["slot"]);
        }
        return slots;
    }
};

TEST_F(RepairingIndexes, RepairBringsBackWhatABrokenLinkHid) {
    auto const before = Answers(root_.Path());
    std::string const index = Template() + "/index";
    torvane::Slot slot = SlotAt(index, LinkedSlot());
    slot.next = 1LL << 40;
    PutSlot(index, LinkedSlot(), slot);
    ASSERT_EQ(Repair().status, 0);
    EXPECT_EQ(Answers(Out()), before);
    EXPECT_EQ(VerifyOut().status, 0);
}

TEST_F(RepairingIndexes, RepairBringsBackWhatLiesBehindAZeroedSlot) {
    auto const before = Answers(root_.Path());
    std::string const index = Template() + "/index";
    PutSlot(index, LinkedSlot(), torvane::Slot());
    ASSERT_EQ(Repair().status, 0);
    int lost = 0;
    for (auto const& [key, answer] : Answers(Out()))
        lost += answer == before.at(key) ? 0 : 1;
    EXPECT_EQ(lost, 1);
    EXPECT_EQ(VerifyOut().status, 0);
}

TEST_F(RepairingIndexes, RepairNamesTheEmptySlotsBehindTheTable) {
    Append(Template() + "/index", std::string(57 * 5, '\0'));
    EXPECT_THAT(Repair().Json()["items"], SizeIs(1));
}

TEST_F(RepairingIndexes, RepairLeavesADamagedRecordOutAndSaysSo) {
    std::uint64_t const number = LoneSlot();
    Put(Template() + "/cache", static_cast<std::uint64_t>(SlotAt(Template() + "/index", number).offset), "\x01\x01");
    auto const before = Answers(root_.Path());
    auto const report = Repair().Json();
    ASSERT_THAT(report["items"], SizeIs(1));
    EXPECT_EQ(report["items"][0]["slot"], number);
    int changed = 0;
    for (auto const& [key, answer] : Answers(Out())) {
        if (answer == before.at(key)) continue;
        EXPECT_EQ(answer.code, DLPCache::kDone) << key;
        ++changed;
    }
    EXPECT_EQ(changed, 1);
    EXPECT_EQ(VerifyOut().status, 0);
}

TEST_F(RepairingIndexes, RepairLeavesOutAnAnswerThatHasLostHalfOfItsPlace) {
    auto const before = Answers(root_.Path());
    std::string const index = Template() + "/index";
    std::uint64_t const number = LoneSlot();
    torvane::Slot const sound = SlotAt(index, number);
    for (bool const is_offset_lost : {true, false}) {
        torvane::Slot slot = sound;
        is_offset_lost ? void(slot.offset = -1) : void(slot.length = 0);
        PutSlot(index, number, slot);
        auto const report = Repair().Json();
        ASSERT_THAT(report["items"], SizeIs(1));
        EXPECT_EQ(report["items"][0]["slot"], number);
        for (auto const& [key, answer] : Answers(Out()))
            EXPECT_TRUE(answer == before.at(key) || answer.code == DLPCache::kDone) << key;
        std::filesystem::remove_all(Out());
    }
}

TEST_F(RepairingIndexes, RepairKeepsTheNumbersOfFindings) {
    Flip(std::string(kTask) + "/cache", 0);
    auto const before = Answers(root_.Path());
    ASSERT_EQ(Repair().status, 0);
    auto const after = Answers(Out());
    EXPECT_EQ(after.at("finding 1"), (Answer{DLPCache::kFound, ""}));
    EXPECT_EQ(after.at("finding 2"), before.at("finding 2"));
    EXPECT_EQ(after.at("finding 3"), before.at("finding 3"));
}

TEST_F(RepairingIndexes, RepairBringsBackTheAnswersOfAnIndexWithADamagedHead) {
    auto const before = Answers(root_.Path());
    Flip(Template() + "/index", 3);
    ASSERT_EQ(Repair().status, 0);
    EXPECT_EQ(Answers(Out()), before);
}

TEST_F(RepairingIndexes, RepairBringsBackTheAnswersOfAnIndexOfTooFewBuckets) {
    auto const before = Answers(root_.Path());
    for (char const* const count : {"\0\0\0\0", "\1\0\0\0", "\xff\xff\xff\xff"}) {
        Put(Template() + "/index", 23, std::string(count, 4));
        EXPECT_EQ(Compact().status, 1);
        ASSERT_EQ(Repair().status, 0);
        for (auto const& [key, answer] : Answers(Out())) {
            // Of 7 buckets, one could not take a key.
            bool const is_as_before = answer == before.at(key);
            EXPECT_TRUE(is_as_before || before.at(key).code == DLPCache::kPositionUnreachable) << key;
        }
        std::filesystem::remove_all(Out());
    }
}

TEST_F(RepairingIndexes, RepairLeavesOutBothOfTwoKeysWithOneRecord) {
    std::string const index = Template() + "/index";
    torvane::Slot const lone = SlotAt(index, LoneSlot());
    std::uint64_t const other =
        FindSlot(index, [&](auto, auto const& slot) { return slot.length > 0 && slot.offset != lone.offset; });
    torvane::Slot slot = SlotAt(index, other);
    slot.offset = lone.offset;
    PutSlot(index, other, slot);
    EXPECT_THAT(Repair().Json()["items"], SizeIs(2));
    EXPECT_EQ(VerifyOut().status, 0);
}

TEST_F(RepairingIndexes, RepairDoesNotBelieveATaskIndexThatSaysItHasATable) {
    std::string const index = std::string(kTask) + "/index";
    auto const size = ReadBytes(root_ / index).size();
    Put(index, 23, std::string("\0\0\1\0", 4));
    ASSERT_EQ(Repair().status, 0);
    EXPECT_EQ(ReadBytes(Out() + "/" + index).size(), size);
}

TEST_F(RepairingIndexes, RepairLeavesOutAnIndexOfMoreSlotsThanCanBeCounted) {
    CutTo(std::string(kTask) + "/index", 300'000'000'000);
    ToolResult const result = Repair();
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.Json()["items"][0]["file"], kTask);
    EXPECT_TRUE(Exists(Out() + "/" + Template()));
}

TEST_F(RepairingIndexes, RepairFindsTheBucketCountInTheKeys) {
    auto const before = Answers(root_.Path());
    std::string const sound = ReadBytes(root_ / Index());
    for (std::string const& count :
         {std::string("\6\0\0\0", 4), std::string("\10\0\0\0", 4), std::string("\16\0\0\0", 4),
          std::string("\350\3\0\0", 4), std::string("\0\11\75\0", 4), std::string("\377\377\377\377")}) {
        PutBucketCount(count);
        ASSERT_EQ(Repair().status, 0);
        EXPECT_EQ(Lost(before), 0) << static_cast<int>(count[0]);
        EXPECT_EQ(ReadBytes(Out() + "/" + Index()).substr(0, 27), sound.substr(0, 27));
        EXPECT_EQ(VerifyOut().status, 0);
        fs::remove_all(Out());
    }
}

TEST_F(RepairingIndexes, RepairBelievesASoundHeadAgainstASingleKey) {
    CutTo(Index(), 27 + 57 * 7);
    std::uint64_t const kept = SlotWithRecord(1);
    torvane::Slot slot = SlotAt(Index(), kept);
    slot.next = 0;
    for (std::uint64_t number = 1; number <= 7; ++number)
        PutSlot(Index(), number, torvane::Slot());
    torvane::IndexView const index(root_ / Index());
    for (char digit = '0'; index.FirstSlotOf(torvane::IndexView::KeyOf(slot)) == kept; ++digit)
        slot.str_key[0] = digit;
    PutSlot(Index(), kept, slot);
    EXPECT_THAT(SlotsLeftOut(Repair()), testing::ElementsAre(kept));
}

TEST_F(RepairingIndexes, RepairDoesNotBelieveABucketCountBehindTheEndOfAnEmptyIndex) {
    ASSERT_EQ(DLPCache::Index(HString(root_ / Index())).Init(7), DLPCache::kDone);
    PutBucketCount(std::string("\0\11\75\0", 4));  // 4,000,000
    ASSERT_EQ(Repair().status, 0);
    EXPECT_EQ(fs::file_size(Out() + "/" + Index()), 27U + 57U * 500'000U);
}

TEST_F(RepairingIndexes, RepairKeepsTheBucketCountOfAnIndexThatWasCut) {
    std::string const sound = ReadBytes(root_ / Index());
    CutTo(Index(), 27 + 57 * 4);
    ASSERT_EQ(Repair().status, 0);
    EXPECT_EQ(ReadBytes(Out() + "/" + Index()).substr(0, 27), sound.substr(0, 27));
}

TEST_F(RepairingIndexes, RepairHoldsKeysAgainstTheirBucketsWhenTheHeadIsDamaged) {
    auto const before = Answers(root_.Path());
    std::uint64_t const slot = SlotWithRecord(1);
    CopyKey(slot, SlotWithRecord(slot + 1));
    Flip(Index(), 3);
    EXPECT_THAT(SlotsLeftOut(Repair()), testing::ElementsAre(slot));
    EXPECT_EQ(Lost(before), 1);
}

TEST_F(RepairingIndexes, RepairLeavesOutAKeyOfSeveralRecordsWhenNothingTellsItsOwn) {
    auto const before = Answers(root_.Path());
    for (std::uint64_t number = 1; number <= 7; ++number)
        PutSlot(Index(), number, torvane::Slot());
    PutBucketCount("\377\377\377\377");
    std::uint64_t const slot = SlotWithRecord(8);
    std::uint64_t const other = SlotWithRecord(slot + 1);
    CopyKey(slot, other);
    ToolResult const result = Repair();
    EXPECT_THAT(SlotsLeftOut(result), testing::IsSupersetOf({slot, other}));
    EXPECT_EQ(Lost(before), 6 + 2);
}

TEST_F(RepairingIndexes, RepairNamesAMisplacedSlotWhoseKeyIsElsewhereToo) {
    auto const before = Answers(root_.Path());
    std::uint64_t const slot = SlotWithRecord(1);
    CopyKey(slot, SlotWithRecord(slot + 1));
    EXPECT_THAT(SlotsLeftOut(Repair()), testing::ElementsAre(slot));
    EXPECT_EQ(Lost(before), 1);
}

TEST_F(RepairingIndexes, RepairLeavesOutACountThatHasLostItsPlace) {
    NotSound();
    std::string const file = std::string(kCounters) + "/index";
    torvane::IndexView const index(root_ / file);
    torvane::Slot slot;
    std::optional<std::uint64_t> number = index.NextUsed(1, slot);
    while (number && slot.next != 0)
        number = index.NextUsed(*number + 1, slot);
    ASSERT_TRUE(number);
    slot.offset = -1;
    slot.length = 0;
    PutSlot(file, *number, slot);
    EXPECT_THAT(SlotsLeftOut(Repair()), testing::Contains(*number));
    EXPECT_EQ(VerifyOut().status, 0);
}

TEST_F(RepairingIndexes, RepairNamesAnIndexThatIsGone) {
    Remove(Index());
    Remove(Template() + "/cache");
    auto const items = Repair().Json()["items"];
    ASSERT_THAT(items, SizeIs(1));
    EXPECT_EQ(items[0]["file"], Index());
}

TEST_F(RepairingIndexes, WhatIsNotListedIsCountedInARowOfItsOwn) {
    torvane::Slot slot;
    slot.str_key[0] = 'x';
    std::string bytes(torvane::Slot::kSize, '\0');
    DLPCache::EncodeIndexKey(slot, reinterpret_cast<std::uint8_t*>(bytes.data()));
    std::string appended;
    for (int i = 0; i < 10'050; ++i)
        appended += bytes;
    Append(Index(), appended);
    ToolResult const result = Run({"repair", "--out", Out(), "--format", "jsonl"});
    EXPECT_TRUE(FollowsSchema(result.out, "jsonl"));
    std::string last;
    int lines = 0;
    std::istringstream stream(result.out);
    for (; std::getline(stream, last); ++lines) {
    }
    EXPECT_EQ(lines, 10'001);
    EXPECT_THAT(result.out, testing::HasSubstr(R"("slot":null,"what":"and 50 more, not listed"})"));
}

}  // namespace
