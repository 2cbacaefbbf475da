// verify: heads, slots and links of indexes.
#include "tests/tools/torvane/VerifyFixture.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::uint64_t kHead = 27;

TEST_F(VerifyOf, AnIndexShorterThanItsHead) {
    CutTo(Index(), 20);
    EXPECT_THAT(QuickDamage(), ElementsAre("index-short"));
}

TEST_F(VerifyOf, AnIndexWithAnotherTag) {
    Flip(Index(), 3);
    EXPECT_THAT(QuickDamage(), ElementsAre("index-head"));
}

TEST_F(VerifyOf, AnIndexOfTooFewBuckets) {
    for (char const* const count : {"\0\0\0\0", "\1\0\0\0", "\xff\xff\xff\xff", "\0\0\0\x80"}) {
        Put(Index(), 23, std::string(count, 4));
        EXPECT_THAT(QuickDamage(), ElementsAre("index-head"));
    }
}

TEST_F(VerifyOf, AnIndexThatWasMadeWithTooFewBucketsIsSound) {
    Put(Index(), 23, std::string("\1\0\0\0", 4));
    Put(Index(), kHead, std::string(57, '\0'));
    CutTo(Index(), kHead + 57);
    EXPECT_THAT(QuickDamage(), IsEmpty());
}

TEST_F(VerifyOf, AnIndexWhoseTableIsCut) {
    CutTo(Index(), kHead + 57 * 3);
    EXPECT_THAT(QuickDamage(), Contains("index-table-cut"));
}

TEST_F(VerifyOf, AnIndexWhoseLastSlotIsCut) {
    Append(Index(), "abc");
    EXPECT_THAT(QuickDamage(), ElementsAre("index-slot-cut"));
}

TEST_F(VerifyOf, AMissingIndexOfRecords) {
    Remove(Index());
    EXPECT_THAT(QuickDamage(), ElementsAre("index-missing"));
}

// ---- slots

TEST_F(VerifyOf, AKeyThatIsNone) {
    Put(Index(), torvane::IndexView::OffsetOf(LoneSlot()) + 5, "X");
    EXPECT_THAT(QuickDamage(), ElementsAre("slot-key"));
}

TEST_F(VerifyOf, AKeyInAnotherBucket) {
    ChangeSlot(LoneSlot(), [](torvane::Slot& slot) { slot.str_key[3] = slot.str_key[3] == '0' ? '1' : '0'; });
    EXPECT_THAT(Damage(), ElementsAre("slot-bucket"));
}

TEST_F(VerifyOf, AnUnusedSlotThatIsNotEmpty) {
    ChangeSlot(LoneSlot(), [](torvane::Slot& slot) { slot.str_key[0] = '\0'; });
    EXPECT_THAT(QuickDamage(), ElementsAre("slot-unused"));
}

TEST_F(VerifyOf, AChainThatEndsInAnUnusedSlot) {
    std::uint64_t const last = SlotCount(Index());
    PutSlot(Index(), last, torvane::Slot());
    EXPECT_THAT(QuickDamage(), ElementsAre("slot-unused"));
}

TEST_F(VerifyOf, NumbersWhoseSlotsAreEmptyAreOneFinding) {
    Append(std::string(kTask) + "/index", std::string(57 * 5, '\0'));
    auto const item = Run({"verify", "--quick", "--format", "json"}).Json()["items"][0];
    EXPECT_EQ(item["lost"], "entries 4 to 8");
    EXPECT_THAT(Run({"verify"}).out, HasSubstr("1 place damaged"));
}

TEST_F(VerifyOf, AnotherNumberInASlot) {
    std::string const index = std::string(kTask) + "/index";
    torvane::Slot slot = SlotAt(index, 2);
    slot.str_key[0] = '9';
    PutSlot(index, 2, slot);
    EXPECT_THAT(QuickDamage(), ElementsAre("slot-number"));
}

TEST_F(VerifyOf, ANumberWhoseSlotIsEmpty) {
    PutSlot(std::string(kTask) + "/index", 2, torvane::Slot());
    EXPECT_THAT(QuickDamage(), ElementsAre("slot-unused"));
}

TEST_F(VerifyOf, ANumberWithALink) {
    std::string const index = std::string(kTask) + "/index";
    torvane::Slot slot = SlotAt(index, 2);
    slot.next = kHead;
    PutSlot(index, 2, slot);
    EXPECT_THAT(QuickDamage(), ElementsAre("slot-number-link"));
}

TEST_F(VerifyOf, ATaskIndexThatSaysItHasBuckets) {
    Put(std::string(kTask) + "/index", 23, std::string("\2\0\0\0", 4));
    PutSlot(std::string(kTask) + "/index", 1, torvane::Slot());
    EXPECT_THAT(QuickDamage(), ElementsAre("index-head", "slot-unused"));
}

// ---- links

TEST_F(VerifyOf, ALinkOutOfTheFile) {
    ChangeSlot(LinkedSlot(), [](torvane::Slot& slot) { slot.next = 1LL << 40; });
    EXPECT_THAT(QuickDamage(), ElementsAre("link-outside", "slot-cut-off"));
}

TEST_F(VerifyOf, ANegativeLink) {
    ChangeSlot(LinkedSlot(), [](torvane::Slot& slot) { slot.next = -57; });
    EXPECT_THAT(QuickDamage(), ElementsAre("link-outside", "slot-cut-off"));
}

TEST_F(VerifyOf, ALinkBetweenSlots) {
    ChangeSlot(LinkedSlot(), [](torvane::Slot& slot) { slot.next += 1; });
    EXPECT_THAT(QuickDamage(), ElementsAre("link-odd", "slot-cut-off"));
}

TEST_F(VerifyOf, AChainThatLeadsRoundInACircle) {
    std::uint64_t const first = LinkedSlot();
    std::uint64_t const second = (static_cast<std::uint64_t>(SlotAt(Index(), first).next) - kHead) / 57 + 1;
    ChangeSlot(second,
               [&](torvane::Slot& slot) { slot.next = static_cast<long long>(torvane::IndexView::OffsetOf(first)); });
    EXPECT_THAT(QuickDamage(), Contains("link-back"));
}

TEST_F(VerifyOf, TwoLinksToOneSlot) {
    std::uint64_t const first = LinkedSlot();
    std::uint64_t const other =
        FindSlot(Index(), [&](std::uint64_t number, auto const& slot) { return number > first && slot.next != 0; });
    long long const next = SlotAt(Index(), first).next;
    ChangeSlot(other, [&](torvane::Slot& slot) { slot.next = next; });
    EXPECT_THAT(QuickDamage(), Contains("link-shared"));
}

TEST_F(VerifyOf, AChainThatLeadsToAnotherBucketsKey) {
    // Two chains exchange what is behind their first slots.
    std::uint64_t const first = LinkedSlot();
    std::uint64_t const other = FindSlot(Index(), [&](std::uint64_t number, auto const& slot) {
        return number > first && number < 7 && slot.next != 0;
    });
    torvane::Slot a = SlotAt(Index(), first);
    torvane::Slot b = SlotAt(Index(), other);
    std::swap(a.next, b.next);
    PutSlot(Index(), first, a);
    PutSlot(Index(), other, b);
    EXPECT_THAT(QuickDamage(), ElementsAre("slot-bucket"));
}

TEST_F(VerifyOf, AChainWhoseFirstSlotIsZeroed) {
    PutSlot(Index(), LinkedSlot(), torvane::Slot());
    EXPECT_THAT(QuickDamage(), ElementsAre("slot-cut-off"));
    EXPECT_EQ(Run({"compact", "--out", root_.Path() + "-out"}).status, 1);
}

TEST_F(VerifyOf, AChainThatHasLostItsLink) {
    std::uint64_t const first = LongChain();
    std::uint64_t const second = Next(first);
    std::uint64_t const third = Next(second);
    ChangeSlot(first, [](torvane::Slot& slot) { slot.next = 0; });
    std::vector<std::uint64_t> cut_off;
    for (auto const& item : Items(root_.Path())) {
        if (item["kind"] == "slot-cut-off") cut_off.push_back(item["slot"]);
    }
    EXPECT_THAT(cut_off, testing::IsSupersetOf({second, third}));
    EXPECT_THAT(QuickDamage(), ElementsAre("slot-cut-off"));
}

TEST_F(VerifyOf, AnAppendedSlotOfAnEmptyBucket) {
    std::string bytes(57, '\0');
    bytes.replace(0, 32, "900150983cd24fb0d6963f7d28e17f72");
    bytes.replace(37, 8, std::string(8, '\xff'));
    WriteBytes(root_ / Index(), ReadBytes(root_ / Index()).substr(0, kHead) + std::string(7 * 57, '\0') + bytes);
    EXPECT_THAT(QuickDamage(), Contains("slot-cut-off"));
}

TEST_F(VerifyOf, EmptySlotsBehindTheTableAreOneFinding) {
    Append(Index(), std::string(57 * 5, '\0'));
    auto const items = Run({"verify", "--quick", "--format", "json"}).Json()["items"];
    EXPECT_EQ(items[0]["kind"], "slot-unused");
    EXPECT_EQ(items[0]["slot"], SlotCount(Index()) - 4);
    EXPECT_THAT(QuickDamage(), ElementsAre("slot-unused"));
    EXPECT_THAT(items, testing::SizeIs(2)) << items;  // the other: the repeated slots of the counts
}

TEST_F(VerifyOf, AnIndexOfAnotherBucketCount) {
    Put(Index(), 23, std::string("\3\0\0\0", 4));
    EXPECT_THAT(QuickDamage(), Contains("slot-bucket"));
}

}  // namespace
