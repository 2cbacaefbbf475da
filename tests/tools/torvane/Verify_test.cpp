#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "host/policy/QVKConfigKeywordTemplateVT.h"
#include "host/policy/QVKPolicySensitiveFileAuditVT.h"
#include "tests/support/SoundRoot.h"
#include "tests/tools/torvane/CheckFixture.h"
#include "tools/torvane/check/TextCheck.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::uint64_t kHead = 27;

class VerifyOf : public CheckedRoot {
  protected:
    [[nodiscard]] std::string Index() const { return Template() + "/index"; }
    [[nodiscard]] std::string Data() const { return Template() + "/cache"; }
    [[nodiscard]] std::string Out() const { return root_.Path() + "-out"; }
    ~VerifyOf() override { std::filesystem::remove_all(Out()); }

    [[nodiscard]] std::uint64_t Next(std::uint64_t number) const {
        return (static_cast<std::uint64_t>(SlotAt(Index(), number).next) - kHead) / 57 + 1;
    }
    // Of a bucket with two more slots behind it.
    [[nodiscard]] std::uint64_t LongChain() const {
        return FindSlot(Index(), [this](std::uint64_t number, auto const& slot) {
            return slot.next != 0 && SlotAt(Index(), Next(number)).next != 0;
        });
    }
    template <class Change>
    void ChangeSlot(std::uint64_t number, Change change) {
        torvane::Slot slot = SlotAt(Index(), number);
        change(slot);
        PutSlot(Index(), number, slot);
    }
};

TEST_F(VerifyOf, ASoundRootFindsNoDamage) {
    EXPECT_THAT(Damage(), IsEmpty());
    EXPECT_THAT(QuickDamage(), IsEmpty());
    ToolResult const result = Run({"verify"});
    EXPECT_THAT(result.out, HasSubstr("no damage found in 3 stores"));
    EXPECT_EQ(result.status, 0);
}

TEST_F(VerifyOf, ASoundRootTellsTheRepeatedSlotsOfCounts) {
    EXPECT_THAT(Waste(), ElementsAre("repeated-slots"));
}

TEST_F(VerifyOf, DamageNamesFileSlotAndOffset) {
    std::uint64_t const slot = LoneSlot();
    Put(Index(), torvane::IndexView::OffsetOf(slot), "X");
    auto const item = Run({"verify", "--format", "json"}).Json()["items"][0];
    EXPECT_EQ(item["file"], Index());
    EXPECT_EQ(item["slot"], slot);
    EXPECT_EQ(item["offset"], torvane::IndexView::OffsetOf(slot));
    EXPECT_THAT(Run({"verify"}).out, HasSubstr("1 place damaged"));
}

TEST_F(VerifyOf, DamageFollowsItsSchemaLineByLine) {
    Put(Index(), torvane::IndexView::OffsetOf(LoneSlot()), "X");
    EXPECT_TRUE(FollowsSchema(Run({"verify", "--format", "jsonl"}).out, "jsonl"));
}

// ---- the index

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

// ---- records

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

// ---- beside the stores

TEST_F(VerifyOf, ATaskWithoutSomeOfItsDefinitions) {
    for (char const* const name : {"KeywordFormatItem.arc", "KeywordDataClass.arc", "KeywordDataLevel.arc"}) {
        std::string const file = std::string(kTask) + "/" + name;
        std::string const bytes = ReadBytes(root_ / file);
        Remove(file);
        auto const item = Items(root_.Path())[0];
        EXPECT_EQ(item["kind"], "unfinished");
        EXPECT_EQ(item["file"], file);
        EXPECT_NE(item["lost"], "");
        WriteBytes(root_ / file, bytes);
    }
}

TEST_F(VerifyOf, ATaskWithoutItsTemplatesSaysWhatIsLost) {
    Remove(std::string(kTask) + "/KeywordTemplate.arc");
    EXPECT_NE(Items(root_.Path())[0]["lost"], "");
    EXPECT_EQ(Run({"compact", "--out", Out()}).status, 0);  // the copy answers as it does
}

TEST_F(VerifyOf, AStoreOfWhichOnlyTheDefinitionsOrTheMarkerAreLeft) {
    for (std::string const& store : {Template(), std::string(kTask), std::string(kCounters)}) {
        Remove(store + "/index");
        Remove(store + "/cache");
        std::vector<std::string> files;
        for (auto const& item : Items(root_.Path())) {
            if (item["kind"] == "unfinished" && item["lost"] != "") files.push_back(item["file"]);
        }
        EXPECT_THAT(files, Contains(store + "/index"));
    }
    EXPECT_THAT(Damage(), IsEmpty());
}

TEST_F(VerifyOf, FindingsOfTemplatesThatTheSnapshotDoesNotHave) {
    EXPECT_THAT(Waste(), testing::Not(Contains("template-unknown")));
    NotSound();
    ASSERT_EQ(QVKConfigKeywordTemplateVT().to_file(HString(root_ / (std::string(kTask) + "/KeywordTemplate.arc"))), 0);
    EXPECT_THAT(Waste(), Contains("template-unknown"));
    EXPECT_THAT(Run({"verify"}).out, HasSubstr("not in it: 3"));
}

TEST_F(VerifyOf, AMarkerIsATimeStampAsTheLibraryWritesIt) {
    for (std::string const name : {"00", "-0", "01", "999999999999999999999999999999"}) {
        WriteBytes(root_ / (std::string(kCounters) + "/" + name), "");
        EXPECT_THAT(QuickDamage(), ElementsAre("stray")) << name;
        std::filesystem::rename(root_ / (std::string(kCounters) + "/1700000000"), root_ / "kept");
        EXPECT_THAT(QuickDamage(), ElementsAre("marker-missing", "stray")) << name;
        std::filesystem::rename(root_ / "kept", root_ / (std::string(kCounters) + "/1700000000"));
        Remove(std::string(kCounters) + "/" + name);
    }
}

TEST_F(VerifyOf, OfSeveralMarkersTheOneOfTheAgentsPolicy) {
    WriteBytes(root_ / (std::string(kCounters) + "/999"), "");
    ASSERT_EQ(Run({"repair", "--out", Out()}).status, 0);
    EXPECT_TRUE(Exists(Out() + "/" + kCounters + "/999"));
    EXPECT_TRUE(Exists(Out() + "/" + kCounters + "/1700000000"));
    EXPECT_EQ(tool_.Run({"verify", "--root", Out()}).status, 0);
    std::filesystem::remove_all(Out());

    QVKPolicySensitiveFileAuditVT policies;
    policies.nodes.push_back(policy_);
    std::filesystem::create_directories(root_ / "config");
    ASSERT_EQ(policies.to_file(HString(root_ / "config/PolicySensitiveFileAudit.arc")), 0);
    auto const item = Run({"verify", "--format", "json"}).Json()["items"][0];
    EXPECT_EQ(item["kind"], "stray");
    EXPECT_EQ(item["file"], std::string(kCounters) + "/999");
    ASSERT_EQ(Run({"repair", "--out", Out()}).status, 0);
    EXPECT_FALSE(Exists(Out() + "/" + kCounters + "/999"));
    EXPECT_TRUE(Exists(Out() + "/" + kCounters + "/1700000000"));
}

TEST_F(VerifyOf, ASnapshotThatDoesNotDecode) {
    Flip(Template() + "/KeywordFormatItem.arc", 30);
    EXPECT_THAT(QuickDamage(), ElementsAre("snapshot-damaged"));
}

TEST_F(VerifyOf, AStoreWithADamagedArchiveAndAStampThatIsNoFileAreLeftOutOnceEach) {
    Flip(Template() + "/KeywordFormatItem.arc", 30);
    Remove("cache/Version.ini");
    std::filesystem::create_directory(root_ / "cache/Version.ini");
    EXPECT_THAT(Run({"repair", "--out", Out(), "--format", "json"}).Json()["items"], testing::SizeIs(2));
}

TEST_F(VerifyOf, ASnapshotOfOtherDefinitions) {
    Remove(Template() + "/KeywordFormatItem.arc");
    EXPECT_THAT(QuickDamage(), ElementsAre("snapshot-other"));
}

TEST_F(VerifyOf, ATaskWithoutItsRecord) {
    Remove(std::string(kTask) + "/ScanTask.arc");
    EXPECT_THAT(QuickDamage(), ElementsAre("task-record-missing"));
}

TEST_F(VerifyOf, ATaskWhoseRecordDoesNotDecode) {
    Flip(std::string(kTask) + "/ScanTask.arc", 30);
    EXPECT_THAT(QuickDamage(), ElementsAre("task-record-damaged"));
}

TEST_F(VerifyOf, ATaskUnderAnotherName) {
    NotSound();
    std::filesystem::rename(root_ / kTask, root_ / "cache/task/task-2");
    EXPECT_THAT(QuickDamage(), ElementsAre("task-record-other"));
}

TEST_F(VerifyOf, ATextThatDoesNotDecode) {
    Flip(std::string(kTask) + "/text/first.arc", 30);
    EXPECT_THAT(QuickDamage(), IsEmpty());
    EXPECT_THAT(Damage(), ElementsAre("text-damaged"));
}

TEST_F(VerifyOf, CountsWithoutAPolicyVersion) {
    Remove(std::string(kCounters) + "/1700000000");
    EXPECT_THAT(QuickDamage(), ElementsAre("marker-missing"));
}

TEST_F(VerifyOf, AStampThatTellsNoLayout) {
    WriteBytes(root_ / "cache/Version.ini", "[DLP]\nmajor=3\n");
    EXPECT_THAT(QuickDamage(), ElementsAre("stamp-damaged"));
}

// As the library reads it.
TEST_F(VerifyOf, AStampIsReadAsANumber) {
    WriteBytes(root_ / "cache/Version.ini", "[DLP]\ncache=04\n");
    EXPECT_THAT(QuickDamage(), IsEmpty());
    for (char const* const layout : {"x4", "+4", "", "4x"}) {
        WriteBytes(root_ / "cache/Version.ini", std::string("[DLP]\ncache=") + layout + "\n");
        EXPECT_THAT(QuickDamage(), ElementsAre("stamp-damaged")) << layout;
        ASSERT_EQ(Run({"repair", "--out", Out()}).status, 0);
        EXPECT_EQ(tool_.Run({"verify", "--root", Out()}).status, 0);
        std::filesystem::remove_all(Out());
    }
}

// The library leaves the cache as it is then.
TEST_F(VerifyOf, AStampThatCannotBeReadLosesNothing) {
    NotSound();
    std::string const stamp = root_ / "cache/Version.ini";
    auto const expect = [&](char const* what) {
        auto const items = Run({"verify", "--quick", "--format", "json"}).Json()["items"];
        EXPECT_EQ(items[0]["kind"], "stamp-damaged") << what;
        EXPECT_EQ(items[0]["lost"], "nothing") << what;
        EXPECT_THAT(QuickDamage(), ElementsAre("stamp-damaged")) << what;
        EXPECT_THAT(Run({"verify", "--quick"}).out, HasSubstr("1 place damaged")) << what;
        std::filesystem::remove_all(stamp);
    };
    std::filesystem::rename(stamp, root_ / "stamp");
    std::filesystem::create_symlink("../stamp", stamp);
    expect("link");
    std::filesystem::create_directory(stamp);
    expect("directory");
    ASSERT_EQ(::mkfifo(stamp.c_str(), 0600), 0);
    expect("FIFO");
    WriteBytes(stamp, "[DLP]\ncache=4\n" + std::string(1U << 20U, ' '));
    expect("too long");
}

TEST_F(VerifyOf, AgentsDefinitionsThatDoNotDecode) {
    NotSound();
    std::filesystem::create_directories(root_ / "config");
    WriteBytes(root_ / "config/KeywordDataClass.arc", "damaged");
    EXPECT_THAT(QuickDamage(), ElementsAre("config-damaged"));
}

TEST_F(VerifyOf, SomethingElseInAFilesPlace) {
    Remove(std::string(kTask) + "/cache");
    std::filesystem::create_directory(root_ / (std::string(kTask) + "/cache"));
    EXPECT_THAT(QuickDamage(), ElementsAre("data-missing", "foreign"));
}

TEST_F(VerifyOf, StrayFilesWhereverTheyLie) {
    for (std::string const& place :
         {std::string("cache"), std::string("cache/template"), std::string("cache/template/T1"), Template(),
          std::string("cache/task"), std::string(kTask), std::string(kTask) + "/text", std::string("cache/sensrecord"),
          std::string("cache/sensrecord/1"), std::string(kCounters)}) {
        WriteBytes(root_ / (place + "/.stray"), "");
        auto const item = Run({"verify", "--quick", "--format", "json"}).Json()["items"][0];
        EXPECT_EQ(item["kind"], "stray") << place;
        EXPECT_EQ(item["file"], place + "/.stray");
        Remove(place + "/.stray");
    }
}

TEST_F(VerifyOf, AgentsDefinitionsThatAreNoRegularFile) {
    NotSound();
    std::filesystem::create_directories(root_ / "config");
    ASSERT_EQ(::mkfifo((root_ / "config/KeywordTemplate.arc").c_str(), 0600), 0);
    EXPECT_THAT(QuickDamage(), ElementsAre("foreign"));
    ToolResult const result = Run({"repair", "--out", root_.Path() + "-out", "--format", "json"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.Json()["items"], testing::SizeIs(1));
    std::filesystem::remove_all(root_.Path() + "-out");
}

TEST_F(VerifyOf, AnIndexOfMoreSlotsThanCanBeCountedLeavesTheOtherStores) {
    CutTo(std::string(kTask) + "/index", 300'000'000'000);
    EXPECT_EQ(Run({"verify", "--quick"}).status, 3);
    Flip(Index(), 3);
    EXPECT_THAT(QuickDamage(), ElementsAre("index-head"));
}

TEST_F(VerifyOf, RecordsThatShareMoreThanCanBeDecoded) {
    auto const size = static_cast<int>(ReadBytes(root_ / Data()).size());
    int count = 0;
    for (std::uint64_t number = 1; number <= SlotCount(Index()); ++number) {
        if (SlotAt(Index(), number).length == 0) continue;
        ChangeSlot(number, [&](torvane::Slot& slot) {
            slot.offset = 0;
            slot.length = size - count++;
        });
    }
    ASSERT_GT(count, 6);
    EXPECT_THAT(Damage(), ElementsAre("record-damaged", "record-overlap"));
    EXPECT_THAT(Run({"verify"}).out, HasSubstr("were not decoded"));
}

TEST_F(VerifyOf, ADamagedRecordIsDamageAlsoWithoutAStamp) {
    Remove("cache/Version.ini");
    Put(Data(), static_cast<std::uint64_t>(SlotAt(Index(), LoneSlot()).offset), "\x01\x01");
    EXPECT_THAT(Damage(), ElementsAre("record-damaged"));
    auto const item = Items(root_.Path())[0];
    EXPECT_EQ(item["file"], "cache/Version.ini");
    EXPECT_THAT(std::string(item["lost"]), HasSubstr("everything"));
}

// Bytes that this process has read so far.
std::uint64_t BytesRead() {
    std::ifstream io("/proc/self/io");
    std::string word;
    std::uint64_t bytes = 0;
    io >> word >> bytes;
    return bytes;
}

TEST(CheckTextFile, ReadsLittleOfALargeFileThatIsNoArchive) {
    TempRoot const root;
    torvane::FindingList list;
    torvane::ChangeWatch watch;
    std::filesystem::create_directories(root / "text");
    for (char const* const head : {"none", "TVAR"}) {
        WriteBytes(root / "text/large.arc", head);
        std::filesystem::resize_file(root / "text/large.arc", 32U << 20U);
        std::uint64_t const before = BytesRead();
        torvane::CheckTextFile(root.Path(), "text/large.arc", torvane::Depth::kFull, list, watch);
        EXPECT_LT(BytesRead() - before, 1U << 20U);
    }
    EXPECT_EQ(list.Count(torvane::Severity::kDamage), 2U);
}

TEST(FindingList, KeepsTheFirstOfEachSeverity) {
    torvane::FindingList place;
    torvane::Reporter const report(place, "file");
    for (std::size_t i = 0; i < torvane::FindingList::kKept + 5; ++i)
        report.Waste("dead-bytes", {}, "waste", 1);
    report.Damage("stray", {}, "damage", "nothing");
    torvane::FindingList list;
    list.Append(std::move(place));
    ASSERT_EQ(list.kept().size(), torvane::FindingList::kKept + 1);
    EXPECT_EQ(list.kept().back().severity, torvane::Severity::kDamage);
    EXPECT_EQ(list.dropped(), 5U);
}

TEST(FindingList, TellsAsUnfinishedAlsoWhatItDoesNotKeep) {
    torvane::FindingList list;
    list.TellAsUnfinished([](torvane::Finding const& finding) { return finding.kind == std::string("stray"); });
    torvane::FindingList place = list.Another();
    for (std::size_t i = 0; i < torvane::FindingList::kKept + 5; ++i)
        torvane::Reporter(place, "file").Damage("stray", {}, "damage", "nothing");
    list.Append(std::move(place));
    EXPECT_EQ(list.Count(torvane::Severity::kDamage), 0U);
    EXPECT_EQ(list.Count(torvane::Severity::kWaste), torvane::FindingList::kKept + 5);
}

// A time still to come is that of a clock that was set back since.
TEST(IsJustWritten, IsNotSoOfATimeStillToCome) {
    struct timespec const now{1700000000, 0};
    struct timespec written = now;
    EXPECT_TRUE(torvane::IsJustWritten(written, now));
    written.tv_sec += 60;
    EXPECT_FALSE(torvane::IsJustWritten(written, now));
    written.tv_sec -= 120;
    EXPECT_FALSE(torvane::IsJustWritten(written, now));
}

// ---- waste

TEST_F(VerifyOf, WhatMayHaveBeenRemovedOnPurposeSaysWhatElseIsLost) {
    Remove(std::string(kTask) + "/cache");
    auto const lost_findings = Items(root_.Path())[0];
    EXPECT_EQ(lost_findings["kind"], "unfinished");
    EXPECT_THAT(std::string(lost_findings["lost"]), HasSubstr("3 findings"));
    ToolResult const result = Run({"compact", "--out", root_.Path() + "-out"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("repair"));
}

TEST_F(VerifyOf, ASlotThatNoChainLeadsToIsWaste) {
    std::string bytes(57, '\0');
    bytes.replace(0, 32, "900150983cd24fb0d6963f7d28e17f72");
    bytes.replace(37, 8, std::string(8, '\xff'));
    Append(Index(), bytes);
    EXPECT_THAT(Damage(), IsEmpty());
    EXPECT_THAT(Waste(), ElementsAre("repeated-slots", "unreachable-slot"));
}

TEST_F(VerifyOf, BytesOfNoRecordAreWaste) {
    Append(Data(), "dead");
    EXPECT_THAT(Waste(), ElementsAre("dead-bytes", "repeated-slots"));
    EXPECT_EQ(Run({"verify", "--format", "json"}).Json()["wasted_bytes"], 4 + 3 * 57);
}

TEST_F(VerifyOf, TemporaryFilesAreWaste) {
    WriteBytes(root_ / (Template() + "/index.tmp"), "");
    WriteBytes(root_ / (std::string(kTask) + "/ScanTask.arc.17-3.tmp"), "");
    EXPECT_THAT(Damage(), IsEmpty());
    EXPECT_THAT(Waste(), ElementsAre("repeated-slots", "temporary"));
}

TEST_F(VerifyOf, ACacheThatIsHalfRemovedIsUnfinished) {
    Remove(Template() + "/KeywordTemplate.arc");
    EXPECT_THAT(Damage(), IsEmpty());
    EXPECT_THAT(Waste(), ElementsAre("repeated-slots", "unfinished"));
    auto const item = Items(root_.Path())[0];
    EXPECT_THAT(std::string(item["lost"]), HasSubstr("every answer"));
    EXPECT_EQ(item["wasted_bytes"], ReadBytes(root_ / Index()).size() + ReadBytes(root_ / Data()).size());
    EXPECT_EQ(Run({"compact", "--out", Out()}).status, 1);
}

// ---- beside the agent

TEST_F(VerifyOf, ARootLeavesItAsItWas) {
    auto const before = StateOfCache();
    ASSERT_EQ(Run({"verify"}).status, 0);
    EXPECT_EQ(StateOfCache(), before);
    EXPECT_FALSE(Exists(root_ / "log"));
}

// ---- the answers of the program

TEST_F(VerifyOf, NothingIsNoCache) {
    EXPECT_EQ(tool_.Run({"verify", "--root", root_ / "nothing"}).status, 4);
}

// Open to others but for `closed`, which has this mode; what a verify says to somebody else.
class VerifyBySomebodyElse : public VerifyOf {
  protected:
    std::optional<ToolResult> Look(std::string const& closed, std::filesystem::perms mode) {
        using std::filesystem::perms;
        std::filesystem::permissions(root_.Path(), perms(0755));
        for (auto const& entry : std::filesystem::recursive_directory_iterator(root_.Path()))
            std::filesystem::permissions(entry.path(), entry.is_directory() ? perms(0755) : perms(0644));
        std::filesystem::permissions(root_ / closed, mode);
        auto result = tool_.RunUnprivileged({"verify", "--format", "json", "--root", root_.Path()});
        std::filesystem::permissions(root_ / closed, perms(0755));
        return result;
    }
    void ExpectUnreadable(std::string const& closed, unsigned mode, std::uint64_t stores) {
        auto const result = Look(closed, std::filesystem::perms(mode));
        if (!result) GTEST_SKIP() << "cannot become another user";
        EXPECT_EQ(result->status, 3) << closed << result->out << result->err;
        ASSERT_TRUE(FollowsSchema(result->out, "json")) << closed << result->out;
        EXPECT_EQ(result->Json()["damage"], 0);
        EXPECT_EQ(result->Json()["unreadable"], 1) << closed << result->out;
        EXPECT_EQ(result->Json()["stores"], stores) << closed;
    }
};

TEST_F(VerifyBySomebodyElse, ADirectoryThatMayNotBeListedLeavesTheOtherStores) {
    ExpectUnreadable("cache/template", 0, 2);
    ExpectUnreadable("cache/template/T1", 0, 2);
    ExpectUnreadable("cache/task", 0, 2);
    ExpectUnreadable("cache/sensrecord/1", 0, 2);
    ExpectUnreadable(kCounters, 0, 2);
}

TEST_F(VerifyBySomebodyElse, ADirectoryThatMayBeListedButNotSearched) {
    ExpectUnreadable("cache/template/T1", 0400, 2);
    ExpectUnreadable("cache/task", 0400, 2);
    WriteBytes(root_ / (std::string(kTask) + "/text/first.arc"), "damaged");
    ExpectUnreadable(std::string(kTask) + "/text", 0400, 3);
}

TEST_F(VerifyOf, AFileThatCannotBeReadIsNoDamage) {
    if (::geteuid() == 0) GTEST_SKIP() << "root reads everything";
    ASSERT_EQ(::chmod((root_ / Index()).c_str(), 0), 0);
    EXPECT_EQ(Run({"verify"}).status, 3);
}

}  // namespace
