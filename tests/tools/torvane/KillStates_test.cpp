// What a killed process may leave behind, state by state: whatever the library makes or deletes in several steps, after
// each of them. None of it is damage.
#include <filesystem>

#include "tests/support/SoundRoot.h"
#include "tests/tools/torvane/CheckFixture.h"

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

constexpr char kTemplateFile[] = "KeywordTemplate.arc";

class KillStates : public CheckedRoot {
  protected:
    KillStates() { NotSound(); }  // states are made by hand

    // Looks at the state; it may be unfinished, and must be when `is_unfinished` says so.
    void ExpectNoDamage(std::string const& state, bool is_unfinished) const {
        SCOPED_TRACE(state);
        ToolResult const result = Run({"verify", "--format", "json"});
        EXPECT_EQ(result.status, 0) << result.out << result.err;
        auto const report = result.Json();
        EXPECT_EQ(report["damage"], 0) << result.out;
        bool is_told = false;
        for (auto const& item : report["items"])
            is_told |= item["kind"] == "unfinished";
        EXPECT_EQ(is_told, is_unfinished) << result.out;
    }

    // Looks at `directory` with each subset of `names` deleted but the empty one, and lets it be as it was.
    template <class IsUnfinished>
    void ExpectNoDamageWithoutAnyOf(std::string const& directory, Names const& names, IsUnfinished is_unfinished) {
        fs::path const kept = root_.Path() + "-kept";
        for (unsigned subset = 1; subset < 1U << names.size(); ++subset) {
            fs::copy(root_ / directory, kept, fs::copy_options::recursive);
            Names gone;
            for (std::size_t i = 0; i < names.size(); ++i) {
                if ((subset >> i & 1U) == 0) continue;
                gone.push_back(names[i]);
                Remove(directory + "/" + names[i]);
            }
            ExpectNoDamage(directory + " without " + testing::PrintToString(gone), is_unfinished(gone));
            fs::remove_all(root_ / directory);
            fs::rename(kept, root_ / directory);
        }
    }
    static bool Has(Names const& names, std::string const& name) {
        return std::find(names.begin(), names.end(), name) != names.end();
    }

    // As it was made: a head and an empty table.
    void EmptyIndex(std::string const& index) const {
        std::string const bytes = ReadBytes(root_ / index);
        WriteBytes(root_ / index, bytes.substr(0, 27) + std::string(57U * static_cast<unsigned char>(bytes[23]), '\0'));
    }

    // Takes everything out of `directory`; then puts one of `names` back after the other, and looks.
    template <class IsUnfinished>
    void ExpectNoDamageWhileMaking(std::string const& directory, Names const& names, IsUnfinished is_unfinished) {
        fs::path const kept = root_.Path() + "-kept";
        fs::rename(root_ / directory, kept);
        fs::create_directory(root_ / directory);
        for (std::size_t made = 0; made <= names.size(); ++made) {
            if (made > 0) fs::copy(kept / names[made - 1], root_ / (directory + "/" + names[made - 1]));
            if (made > 0 && names[made - 1] == "index") EmptyIndex(directory + "/index");
            ExpectNoDamage(directory + " with " + std::to_string(made) + " files", is_unfinished(made));
            if (made == names.size()) break;
            WriteBytes(root_ / (directory + "/" + names[made] + ".17-3.tmp"), "unfinis");
            ExpectNoDamage(directory + " with " + std::to_string(made) + " files and a half", is_unfinished(made));
            Remove(directory + "/" + names[made] + ".17-3.tmp");
        }
        fs::remove_all(kept);
    }
};

// ---- removal

TEST_F(KillStates, ARemovedTaskMayHaveLostAnythingButItsRecord) {
    ExpectNoDamageWithoutAnyOf(
        kTask, {"index", "cache", kTemplateFile, "KeywordFormatItem.arc", "text"}, [](Names const& gone) {
            bool const has_snapshot = !Has(gone, kTemplateFile);
            return Has(gone, "index") != Has(gone, "cache") || (!has_snapshot && !Has(gone, "index")) ||
                   (has_snapshot && (Has(gone, "index") || Has(gone, "KeywordFormatItem.arc")));
        });
}

TEST_F(KillStates, ARemovedTasksRecordGoesLast) {
    for (std::string const& name : Files(root_ / kTask)) {
        if (name != "ScanTask.arc") Remove(std::string(kTask) + "/" + name);
    }
    ExpectNoDamage("the record alone", false);
    Remove(std::string(kTask) + "/ScanTask.arc");
    ExpectNoDamage("an empty directory", true);
}

TEST_F(KillStates, ARemovedTemplateCacheMayHaveLostAnythingOnceItsTemplateFileIsGone) {
    Remove(Template() + "/" + kTemplateFile);
    ExpectNoDamage("the template file gone", true);
    ExpectNoDamageWithoutAnyOf(Template(), {"index", "cache", "KeywordFormatItem.arc", "KeywordDataClass.arc"},
                               [](Names const&) { return true; });
}

TEST_F(KillStates, ARemovedTemplateCachesDirectoriesGoLast) {
    Remove(Template());
    ExpectNoDamage("the template's directory empty", false);
    Remove("cache/template/T1");
    ExpectNoDamage("no template", false);
}

TEST_F(KillStates, RemovedCountsMayHaveLostAnythingOnceTheirIndexIsGone) {
    Remove(std::string(kCounters) + "/index");
    ExpectNoDamage("the index gone", true);
    ExpectNoDamageWithoutAnyOf(kCounters, {"cache", "1700000000"}, [](Names const&) { return true; });
}

// ---- making

TEST_F(KillStates, ATemplateCacheIsUnfinishedUntilItsIndex) {
    ExpectNoDamageWhileMaking(
        Template(), {"KeywordFormatItem.arc", "KeywordDataClass.arc", "KeywordDataLevel.arc", kTemplateFile, "index"},
        [](std::size_t made) { return made < 5; });
}

TEST_F(KillStates, ATaskIsUnfinishedUntilItsRecordAndBetweenItsDefinitionsAndItsIndex) {
    ExpectNoDamageWhileMaking(kTask,
                              {"ScanTask.arc", "KeywordFormatItem.arc", "KeywordDataClass.arc", "KeywordDataLevel.arc",
                               kTemplateFile, "index"},
                              [](std::size_t made) { return made < 1 || made == 5; });
}

TEST_F(KillStates, CountsAreUnfinishedUntilTheirIndex) {
    ExpectNoDamageWhileMaking(kCounters, {"1700000000"}, [](std::size_t) { return true; });
    WriteBytes(root_ / (std::string(kCounters) + "/index.tmp"), "DLPTpl");
    ExpectNoDamage("half an index", true);
}

TEST_F(KillStates, ARecordWithoutASlotIsWaste) {
    Append(Template() + "/cache", "a record, or the first part of one");
    Append(std::string(kTask) + "/cache", "a finding");
    Append(std::string(kCounters) + "/cache", "0123456789abcdef");
    ExpectNoDamage("records that no slot names", false);
}

TEST_F(KillStates, AStoreWhoseFirstRecordWasNotWrittenIsSound) {
    Remove(std::string(kTask) + "/cache");
    CutTo(std::string(kTask) + "/index", 27);
    ExpectNoDamage("an index without slots", false);
    WriteBytes(root_ / (std::string(kTask) + "/cache"), "");
    ExpectNoDamage("and an empty data file", false);
}

TEST_F(KillStates, ASlotThatIsNotLinkedYetIsWaste) {
    std::uint64_t const last = SlotCount(Template() + "/index");
    std::string const slot = ReadBytes(root_ / (Template() + "/index")).substr(27 + (last - 1) * 57, 49);
    Append(Template() + "/index", slot + std::string(8, '\0'));
    ExpectNoDamage("a slot that no chain names", false);
}

// ---- the wipe at the start, which goes in no order

class KilledWipe : public KillStates {
  protected:
    void ExpectNoDamageAlong(Names const& names) {
        for (std::string const& name : names) {
            fs::remove(name);
            ExpectNoDamage("without " + name, true);
        }
    }
    [[nodiscard]] Names EverythingInTheCache() const {
        Names names;
        for (auto const& entry : fs::recursive_directory_iterator(root_ / "cache"))
            names.push_back(entry.path());
        // A directory behind what is in it.
        std::sort(names.begin(), names.end(), std::greater<>());
        return names;
    }
};

TEST_F(KilledWipe, WithTheStampGoneFirst) {
    Remove("cache/Version.ini");
    ExpectNoDamageAlong(EverythingInTheCache());
}

TEST_F(KilledWipe, WithTheStampGoneFirstAndTheRestInAnotherOrder) {
    Remove("cache/Version.ini");
    Names names = EverythingInTheCache();
    std::stable_partition(names.begin(), names.end(), [](std::string const& name) { return !fs::is_directory(name); });
    auto const directories =
        std::find_if(names.begin(), names.end(), [](std::string const& name) { return fs::is_directory(name); });
    std::reverse(names.begin(), directories);
    ExpectNoDamageAlong(names);
}

TEST_F(KilledWipe, WithTheStampOfAnotherLayoutStillThere) {
    WriteBytes(root_ / "cache/Version.ini", "[DLP]\ncache=3\n");
    Remove(Template() + "/cache");
    ToolResult const result = Run({"verify"});
    EXPECT_EQ(result.status, 6);
    EXPECT_THAT(result.err, testing::HasSubstr("wipes"));
}

TEST_F(KilledWipe, DoesNotMakeTheAgentsOwnDamageUnfinished) {
    Remove("cache/Version.ini");
    fs::create_directories(root_ / "config");
    WriteBytes(root_ / "config/KeywordDataClass.arc", "damaged");
    EXPECT_EQ(Run({"verify"}).status, 1);
}

}  // namespace
