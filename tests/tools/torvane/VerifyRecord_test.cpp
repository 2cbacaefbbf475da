// verify: where records lie, and what is in them.
#include "tests/tools/torvane/VerifyFixture.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST_F(VerifyOf, ARecordWithANegativePlace) {
    ChangeSlot(LoneSlot(), [](torvane::Slot& slot) { slot.offset = -2; });
    EXPECT_THAT(QuickDamage(), ElementsAre("record-place"));
}

TEST_F(VerifyOf, ARecordOfNegativeLength) {
    ChangeSlot(LoneSlot(), [](torvane::Slot& slot) { slot.length = -2; });
    EXPECT_THAT(QuickDamage(), ElementsAre("record-place"));
}

// The library would answer "not matched" from either, though there was a match.
TEST_F(VerifyOf, ARecordThatHasLostOnlyItsLength) {
    ChangeSlot(LoneSlot(), [](torvane::Slot& slot) { slot.length = 0; });
    EXPECT_THAT(QuickDamage(), ElementsAre("record-place"));
}

TEST_F(VerifyOf, ARecordThatHasLostOnlyItsOffset) {
    ChangeSlot(LoneSlot(), [](torvane::Slot& slot) { slot.offset = -1; });
    EXPECT_THAT(QuickDamage(), ElementsAre("record-place"));
}

// Each count has a record: the library would count the file no further.
TEST_F(VerifyOf, CountsWithoutARecord) {
    std::string const index = std::string(kCounters) + "/index";
    std::uint64_t const number = FindSlot(index, [](auto, auto const& slot) { return slot.length > 0; });
    torvane::Slot slot = SlotAt(index, number);
    slot.offset = -1;
    slot.length = 0;
    PutSlot(index, number, slot);
    EXPECT_THAT(QuickDamage(), ElementsAre("record-place"));
    ASSERT_EQ(Run({"repair", "--out", Out()}).status, 0);
    EXPECT_EQ(tool_.Run({"verify", "--root", Out()}).status, 0);
}

TEST_F(VerifyOf, ANumberThatARepairHasEmptiedIsToldAndMayBeCompacted) {
    Put(std::string(kTask) + "/cache", 0, "\1");
    ASSERT_EQ(Run({"repair", "--out", Out()}).status, 0);
    ToolResult const result = tool_.Run({"verify", "--root", Out(), "--format", "json"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, HasSubstr("number-empty"));
    EXPECT_EQ(tool_.Run({"compact", "--root", Out(), "--out", root_.Path() + "-small"}).status, 0);
    std::filesystem::remove_all(root_.Path() + "-small");
}

TEST_F(VerifyOf, NegativeCounts) {
    Put(std::string(kCounters) + "/cache", 7, "\xff");
    EXPECT_THAT(Damage(), ElementsAre("record-damaged"));
}

TEST_F(VerifyOf, ARecordBehindTheDataFilesEnd) {
    CutTo(Data(), ReadBytes(root_ / Data()).size() - 1);
    EXPECT_THAT(QuickDamage(), ElementsAre("record-outside"));
}

TEST_F(VerifyOf, AMissingDataFile) {
    Remove(Data());
    EXPECT_THAT(QuickDamage(), ElementsAre("data-missing"));
}

TEST_F(VerifyOf, TwoKeysWithOneRecord) {
    torvane::Slot const lone = SlotAt(Index(), LoneSlot());
    std::uint64_t const other =
        FindSlot(Index(), [&](auto, auto const& slot) { return slot.length > 0 && slot.offset != lone.offset; });
    ChangeSlot(other, [&](torvane::Slot& slot) { slot.offset = lone.offset; });
    EXPECT_THAT(QuickDamage(), ElementsAre("record-overlap"));
    EXPECT_THAT(Damage(), ElementsAre("record-overlap"));
}

TEST_F(VerifyOf, AnAnswerThatDoesNotDecodeIsSeenByTheFullCheckOnly) {
    Put(Data(), static_cast<std::uint64_t>(SlotAt(Index(), LoneSlot()).offset), "\x01\x01");
    EXPECT_THAT(QuickDamage(), IsEmpty());
    EXPECT_THAT(Damage(), ElementsAre("record-damaged"));
}

TEST_F(VerifyOf, AFindingThatDoesNotDecode) {
    Flip(std::string(kTask) + "/cache", 0);
    EXPECT_THAT(Damage(), ElementsAre("record-damaged"));
}

TEST_F(VerifyOf, CountsThatDoNotDecode) {
    Flip(std::string(kCounters) + "/cache", 0);
    EXPECT_THAT(Damage(), ElementsAre("record-damaged"));
}

}  // namespace
