// Every kind of damage is made once. The check must name it with its place, and say what is lost or wasted; a repair
// must leave everything else as it was, say what it left out, and be sound.
#include <algorithm>
#include <filesystem>
#include <ostream>
#include <set>

#include "host/policy/QVKConfigKeywordTemplateVT.h"
#include "tests/support/SoundRoot.h"
#include "tests/tools/torvane/CheckFixture.h"

namespace {

// How many answers a repair cannot bring back.
enum class Lost { kNone, kOne, kMore };

class Kinds;
struct Kind {
    char const* name;
    char const* severity;
    std::string (*make)(Kinds&);  // does the damage; the file that is to be named
    bool has_slot;
    bool has_offset;
    Lost lost;
    bool is_left_out;  // a repair names something
};

void PrintTo(Kind const& kind, std::ostream* out) {
    *out << kind.name;
}

class Kinds : public CheckedRoot, public testing::WithParamInterface<Kind> {
  public:
    ~Kinds() override { std::filesystem::remove_all(Out()); }

    using CheckedRoot::Append;
    using CheckedRoot::CutTo;
    using CheckedRoot::FindSlot;
    using CheckedRoot::Flip;
    using CheckedRoot::kCounters;
    using CheckedRoot::kTask;
    using CheckedRoot::LinkedSlot;
    using CheckedRoot::LoneSlot;
    using CheckedRoot::Put;
    using CheckedRoot::PutSlot;
    using CheckedRoot::Remove;
    using CheckedRoot::SlotAt;
    using CheckedRoot::SlotCount;
    using CheckedRoot::Template;

    [[nodiscard]] std::string Index() const { return Template() + "/index"; }
    [[nodiscard]] std::string Data() const { return Template() + "/cache"; }
    [[nodiscard]] std::string Out() const { return root_.Path() + "-out"; }
    [[nodiscard]] std::string Path(std::string const& file) const { return root_ / file; }
    void Write(std::string const& file, std::string const& bytes) {
        NotSound();
        std::filesystem::create_directories(std::filesystem::path(root_ / file).parent_path());
        WriteBytes(root_ / file, bytes);
    }
    void Rename(std::string const& from, std::string const& to) {
        NotSound();
        std::filesystem::rename(root_ / from, root_ / to);
    }
    template <class Change>
    std::string ChangeSlot(std::string const& index, std::uint64_t number, Change change) {
        torvane::Slot slot = SlotAt(index, number);
        change(slot);
        PutSlot(index, number, slot);
        return index;
    }
    [[nodiscard]] std::uint64_t OtherLinkedSlot() const {
        return FindSlot(
            Index(), [&](std::uint64_t number, auto const& slot) { return number > LinkedSlot() && slot.next != 0; });
    }

  protected:
    // The item of this test's kind.
    [[nodiscard]] nlohmann::ordered_json Named() const {
        for (auto const& item : Items(root_.Path())) {
            if (item["kind"] == GetParam().name && item["severity"] == GetParam().severity) return item;
        }
        ADD_FAILURE() << "not named";
        return {};
    }
};

using Slot = torvane::Slot;

constexpr long long kFar = 1LL << 40;
std::string const kTaskIndex = std::string(Kinds::kTask) + "/index";
std::string const kTaskRecord = std::string(Kinds::kTask) + "/ScanTask.arc";

Kind const kKinds[] = {
    {"index-short", "damage", [](Kinds& k) { return k.CutTo(k.Index(), 20), k.Index(); }, false, true, Lost::kMore,
     true},
    {"index-head", "damage", [](Kinds& k) { return k.Flip(k.Index(), 3), k.Index(); }, false, true, Lost::kNone, false},
    {"index-table-cut", "damage", [](Kinds& k) { return k.CutTo(k.Index(), 27 + 3 * 57), k.Index(); }, false, false,
     Lost::kMore, true},
    {"index-slot-cut", "damage", [](Kinds& k) { return k.Append(k.Index(), "abc"), k.Index(); }, true, true,
     Lost::kNone, true},
    {"index-missing", "damage", [](Kinds& k) { return k.Remove(k.Index()), k.Data(); }, false, false, Lost::kMore,
     true},
    {"slot-unused", "damage",
     [](Kinds& k) { return k.ChangeSlot(k.Index(), k.LoneSlot(), [](Slot& slot) { slot.str_key[0] = '\0'; }); }, true,
     true, Lost::kOne, true},
    {"slot-number", "damage",
     [](Kinds& k) { return k.ChangeSlot(kTaskIndex, 2, [](Slot& slot) { slot.str_key[0] = '9'; }); }, true, true,
     Lost::kOne, true},
    {"slot-number-link", "damage",
     [](Kinds& k) { return k.ChangeSlot(kTaskIndex, 2, [](Slot& slot) { slot.next = 27; }); }, true, true, Lost::kNone,
     false},
    {"slot-key", "damage",
     [](Kinds& k) { return k.ChangeSlot(k.Index(), k.LoneSlot(), [](Slot& slot) { slot.str_key[5] = 'X'; }); }, true,
     true, Lost::kOne, true},
    {"slot-bucket", "damage",
     [](Kinds& k) {
         return k.ChangeSlot(k.Index(), k.LoneSlot(),
                             [](Slot& slot) { slot.str_key[3] = slot.str_key[3] == '0' ? '1' : '0'; });
     },
     true, true, Lost::kOne, true},
    {"slot-cut-off", "damage",
     [](Kinds& k) { return k.ChangeSlot(k.Index(), k.LinkedSlot(), [](Slot& slot) { slot.next = kFar; }); }, true, true,
     Lost::kNone, false},
    {"link-outside", "damage",
     [](Kinds& k) { return k.ChangeSlot(k.Index(), k.LinkedSlot(), [](Slot& slot) { slot.next = -57; }); }, true, true,
     Lost::kNone, false},
    {"link-odd", "damage",
     [](Kinds& k) { return k.ChangeSlot(k.Index(), k.LinkedSlot(), [](Slot& slot) { slot.next += 1; }); }, true, true,
     Lost::kNone, false},
    {"link-back", "damage",
     [](Kinds& k) { return k.ChangeSlot(k.Index(), k.SlotCount(k.Index()), [](Slot& slot) { slot.next = 27 + 57; }); },
     true, true, Lost::kNone, false},
    {"link-shared", "damage",
     [](Kinds& k) {
         long long const next = k.SlotAt(k.Index(), k.LinkedSlot()).next;
         return k.ChangeSlot(k.Index(), k.OtherLinkedSlot(), [next](Slot& slot) { slot.next = next; });
     },
     true, true, Lost::kNone, false},
    {"record-place", "damage",
     [](Kinds& k) { return k.ChangeSlot(k.Index(), k.LoneSlot(), [](Slot& slot) { slot.offset = -2; }); }, true, true,
     Lost::kOne, true},
    {"record-outside", "damage",
     [](Kinds& k) { return k.ChangeSlot(k.Index(), k.LoneSlot(), [](Slot& slot) { slot.offset = kFar; }); }, true, true,
     Lost::kOne, true},
    {"data-missing", "damage", [](Kinds& k) { return k.Remove(k.Data()), k.Data(); }, false, false, Lost::kMore, true},
    {"record-overlap", "damage",
     [](Kinds& k) {
         long long const offset = k.SlotAt(k.Index(), k.LoneSlot()).offset;
         std::uint64_t const other = k.FindSlot(
             k.Index(), [offset](auto, auto const& slot) { return slot.length > 0 && slot.offset != offset; });
         k.ChangeSlot(k.Index(), other, [offset](Slot& slot) { slot.offset = offset; });
         return k.Data();
     },
     true, true, Lost::kMore, true},
    {"record-damaged", "damage",
     [](Kinds& k) {
         k.Put(k.Data(), static_cast<std::uint64_t>(k.SlotAt(k.Index(), k.LoneSlot()).offset), "\x01\x01");
         return k.Data();
     },
     true, true, Lost::kOne, true},
    {"snapshot-damaged", "damage",
     [](Kinds& k) {
         k.Flip(k.Template() + "/KeywordFormatItem.arc", 30);
         return k.Template() + "/KeywordFormatItem.arc";
     },
     false, false, Lost::kMore, true},
    {"snapshot-other", "damage",
     [](Kinds& k) {
         k.Remove(k.Template() + "/KeywordFormatItem.arc");
         return k.Template() + "/KeywordTemplate.arc";
     },
     false, false, Lost::kMore, true},
    {"task-record-missing", "damage", [](Kinds& k) { return k.Remove(kTaskRecord), std::string(Kinds::kTask); }, false,
     false, Lost::kMore, true},
    {"task-record-damaged", "damage", [](Kinds& k) { return k.Flip(kTaskRecord, 30), kTaskRecord; }, false, false,
     Lost::kMore, true},
    {"task-record-other", "damage",
     [](Kinds& k) {
         k.Rename(Kinds::kTask, "cache/task/task-2");
         return std::string("cache/task/task-2/ScanTask.arc");
     },
     false, false, Lost::kMore, true},
    {"text-damaged", "damage",
     [](Kinds& k) {
         k.Flip(std::string(Kinds::kTask) + "/text/first.arc", 30);
         return std::string(Kinds::kTask) + "/text/first.arc";
     },
     false, false, Lost::kNone, true},
    {"marker-missing", "damage",
     [](Kinds& k) {
         k.Remove(std::string(Kinds::kCounters) + "/1700000000");
         return std::string(Kinds::kCounters);
     },
     false, false, Lost::kMore, true},
    {"stamp-damaged", "damage",
     [](Kinds& k) {
         k.Write("cache/Version.ini", "[DLP]\nmajor=3\n");
         return std::string("cache/Version.ini");
     },
     false, false, Lost::kNone, true},
    {"config-damaged", "damage",
     [](Kinds& k) {
         k.Write("config/KeywordDataClass.arc", "damaged");
         return std::string("config/KeywordDataClass.arc");
     },
     false, false, Lost::kNone, true},
    {"foreign", "damage",
     [](Kinds& k) {
         k.Remove(k.Data());
         k.Write(k.Data() + "/file", "");
         return k.Data();
     },
     false, false, Lost::kMore, true},
    {"stray", "damage",
     [](Kinds& k) {
         k.Write(k.Template() + "/.stray", "");
         return k.Template() + "/.stray";
     },
     false, false, Lost::kNone, true},
    {"number-empty", "waste",
     [](Kinds& k) {
         return k.ChangeSlot(kTaskIndex, 2, [](Slot& slot) {
             slot.offset = -1;
             slot.length = 0;
         });
     },
     true, true, Lost::kOne, false},
    {"template-unknown", "waste",
     [](Kinds& k) {
         NotSound();
         std::string const file = std::string(Kinds::kTask) + "/KeywordTemplate.arc";
         EXPECT_EQ(QVKConfigKeywordTemplateVT().to_file(HString(k.Path(file))), 0);
         return file;
     },
     false, false, Lost::kNone, false},
    {"marker-doubtful", "waste",
     [](Kinds& k) {
         k.Write(std::string(Kinds::kCounters) + "/999", "");
         return std::string(Kinds::kCounters);
     },
     false, false, Lost::kNone, false},
    {"unreachable-slot", "waste",
     [](Kinds& k) {
         std::string bytes(57, '\0');
         bytes.replace(0, 32, "900150983cd24fb0d6963f7d28e17f72");
         bytes.replace(37, 8, std::string(8, '\xff'));
         return k.Append(k.Index(), bytes), k.Index();
     },
     true, true, Lost::kNone, false},
    {"repeated-slots", "waste", [](Kinds&) { return std::string(Kinds::kCounters) + "/index"; }, false, false,
     Lost::kNone, false},
    {"dead-bytes", "waste", [](Kinds& k) { return k.Append(k.Data(), "dead"), k.Data(); }, false, false, Lost::kNone,
     false},
    {"temporary", "waste",
     [](Kinds& k) {
         k.Write(k.Template() + "/index.tmp", "1");
         return k.Template() + "/index.tmp";
     },
     false, false, Lost::kNone, true},
    {"unfinished", "waste", [](Kinds& k) { return k.Remove(k.Template() + "/KeywordTemplate.arc"), k.Template(); },
     false, false, Lost::kMore, true},
};

TEST_P(Kinds, IsNamedWithItsPlaceAndWhatIsLost) {
    std::string const file = GetParam().make(*this);
    auto const item = Named();
    EXPECT_EQ(item["file"], file);
    EXPECT_EQ(item["slot"].is_number(), GetParam().has_slot) << item;
    EXPECT_EQ(item["offset"].is_number(), GetParam().has_offset) << item;
    EXPECT_NE(item["what"], "");
    bool const is_damage = item["severity"] == "damage";
    std::set<std::string> const space = {"unreachable-slot", "repeated-slots", "dead-bytes", "temporary"};
    bool const is_space = space.contains(GetParam().name);
    EXPECT_EQ(item["lost"] == "", is_space) << item;
    EXPECT_EQ(item["wasted_bytes"] != 0, is_space || item["kind"] == "unfinished") << item;
    EXPECT_EQ(Run({"verify"}).status, is_damage ? 1 : 0);
}

TEST_P(Kinds, IsRepairedSoThatOnlyWhatWasNamedIsMissing) {
    auto const sound = Answers(root_.Path());
    GetParam().make(*this);
    auto const before = StateOfCache();
    ToolResult const result = Run({"repair", "--out", Out(), "--format", "json"});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(StateOfCache(), before);
    // Before the library is asked, which makes what is missing.
    for (auto const& item : Items(Out()))
        EXPECT_NE(item["severity"], "damage") << item;
    int lost = 0;
    for (auto const& [key, answer] : Answers(Out()))
        lost += answer == sound.at(key) ? 0 : 1;
    EXPECT_EQ(lost > 0, GetParam().lost != Lost::kNone) << lost;
    EXPECT_EQ(lost == 1, GetParam().lost == Lost::kOne) << lost;
    EXPECT_EQ(!result.Json()["items"].empty(), GetParam().is_left_out) << result.out;
}

INSTANTIATE_TEST_SUITE_P(AllOf, Kinds, testing::ValuesIn(kKinds), [](auto const& test) {
    std::string name = test.param.name;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
});

TEST(KindsInTheSchema, AreAllMadeOnce) {
    auto const schema = nlohmann::json::parse(ReadBytes(std::string(TORVANE_SCHEMA_FILES) + "/verify-1.json"));
    std::set<std::string> stated = schema["$defs"]["row"]["properties"]["kind"]["enum"];
    // What could not be looked at: LookUntilSettled_test, and Verify_test without permissions.
    EXPECT_EQ(stated.erase("busy") + stated.erase("unreadable"), 2U);
    std::set<std::string> made;
    for (Kind const& kind : kKinds)
        made.insert(kind.name);
    EXPECT_EQ(made, stated);
}

}  // namespace
