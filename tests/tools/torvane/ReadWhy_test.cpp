#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <utility>

#include "host/base/Murmur3.h"
#include "tests/support/BucketCount.h"
#include "tests/tools/torvane/ReadRoot.h"
#include "tools/torvane/cache/FileKey.h"

using testing::HasSubstr;

namespace {

class WhyTool : public ReadRoot {
  protected:
    // What people are told of a file that has been made with File.
    [[nodiscard]] ToolResult Told(std::string const& name) const {
        return Run({"why", root_ / name, "--template", "T1"});
    }
    [[nodiscard]] std::string FirstLine(std::string const& name) const {
        std::string const text = Told(name).out;
        return text.substr(0, text.find('\n'));
    }

    // The differences of the only other definition that there is an answer under, once `change` has been made to the
    // definitions: "what id change before after".
    [[nodiscard]] std::vector<std::string> DifferencesAfter(std::function<void(KwDefinitions&)> const& change) {
        MakeSmallRoot();
        change(definitions_);
        AsAgent([] {});
        std::vector<std::string> found;
        auto const why = Why(File("a.txt", "a"), "T1");
        for (auto const& row : why["versions"][0]["differences"]) {
            std::string text = row["what"];
            for (char const* const member : {"id", "change", "before", "after"})
                text += "|" + (row[member].is_null() ? "-" : row[member].get<std::string>());
            found.push_back(text);
        }
        return found;
    }

    void SetTime(std::string const& path, std::int64_t seconds) const {
        struct timespec const times[2] = {{seconds, 0}, {seconds, 0}};
        ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    }
    // Replaces bytes of a file.
    void Put(std::string const& path, std::size_t offset, std::string const& bytes) const {
        std::string all = ReadBytes(path);
        all.replace(offset, bytes.size(), bytes);
        WriteBytes(path, all);
    }
};

}  // namespace

TEST_F(WhyTool, AnsweredWithAMatch) {
    MakeSmallRoot();
    auto const why = Why(File("a.txt", "a"), "T1");
    EXPECT_EQ(why["reason"], "matched");
    EXPECT_EQ(why["hit"], true);
    EXPECT_EQ(why["index"], TemplateStore("T1") + "/index");
    EXPECT_EQ(Run({"why", root_ / "a.txt", "--template", "T1"}).status, 0);
}

TEST_F(WhyTool, AnsweredAsNotMatched) {
    MakeSmallRoot();
    EXPECT_EQ(Why(File("b.txt", "b"), "T1")["reason"], "not-matched");
    EXPECT_EQ(Told("b.txt").status, 0);
    EXPECT_EQ(FirstLine("b.txt"), "hit: answered as not matched");
}

TEST_F(WhyTool, NeverStored) {
    MakeSmallRoot();
    EXPECT_EQ(Why(File("c.txt", "c"), "T1")["reason"], "never-stored");
    EXPECT_EQ(Run({"why", root_ / "c.txt", "--template", "T1"}).status, 1);
}

TEST_F(WhyTool, TheNameCountsWhereARuleLooksAtNames) {
    DefineByName("T2");
    AsAgent([] { StoreNoMatch("/x/b.txt", kMd5B, "T2"); });
    EXPECT_EQ(Why(File("b.txt", "b"), "T2")["reason"], "not-matched");
    EXPECT_EQ(Why(File("other.txt", "b"), "T2")["reason"], "never-stored");
    EXPECT_EQ(Json({"why", root_ / "other.txt", "--name", "B.TXT", "--template", "T2"})["reason"], "not-matched");
}

TEST_F(WhyTool, TheDefinitionChangedAndWhatDiffers) {
    MakeSmallRoot();
    std::string const before = Items({"ls", "templates"})[0]["md5"];
    Define("T1", "another word");
    AsAgent([] {});
    auto const why = Why(File("a.txt", "a"), "T1");
    EXPECT_EQ(why["reason"], "definition-changed");
    ASSERT_EQ(why["versions"].size(), 1U);
    EXPECT_EQ(why["versions"][0]["md5"], before);
    EXPECT_EQ(why["versions"][0]["current"], false);
    EXPECT_FALSE(why["versions"][0]["since"].is_null());
    ASSERT_EQ(why["versions"][0]["differences"].size(), 1U);
    EXPECT_EQ(why["versions"][0]["differences"][0]["id"], "rule T1");
    EXPECT_EQ(why["versions"][0]["differences"][0]["change"], "rule text");
    EXPECT_NE(why["current_md5"], before);
}

TEST_F(WhyTool, TheTemplateIsUnknown) {
    MakeSmallRoot();
    EXPECT_EQ(Why(File("a.txt", "a"), "T9")["reason"], "template-unknown");
}

TEST_F(WhyTool, AnMd5InUpperCaseIsTheSame) {
    Define("T1");
    AsAgent([] { StoreNoMatch("/x/b.txt", "92EB5FFEE6AE2FEC3AD71C777531578F", "T1"); });
    EXPECT_EQ(Why(File("b.txt", "b"), "T1")["reason"], "not-matched");
}

TEST_F(WhyTool, WithoutDefinitionsTheNewestCacheStandsForThem) {
    MakeSmallRoot();
    std::filesystem::remove_all(Root() + "/config");
    auto const why = Why(File("a.txt", "a"), "T1");
    EXPECT_EQ(why["reason"], "matched");
    EXPECT_EQ(why["definitions_from"], "snapshot");
}

TEST_F(WhyTool, TheKeyCannotBeStored) {
    SetBucketCount(Root(), "1");  // bucket 0 is the only one
    Define("T1");
    AsAgent([] { StoreNoMatch("/x/a.txt", kMd5A, "T1"); });
    EXPECT_EQ(Why(File("a.txt", "a"), "T1")["reason"], "key-unstorable");
}

TEST_F(WhyTool, StoredButDamaged) {
    MakeSmallRoot();
    std::string const data = TemplateStore("T1") + "/cache";
    std::string bytes = ReadBytes(data);
    bytes[0] = static_cast<char>(bytes[0] + 1);
    WriteBytes(data, bytes);
    auto const why = Why(File("a.txt", "a"), "T1");
    EXPECT_EQ(why["reason"], "damaged");
    EXPECT_EQ(why["damage"], "record cannot be decoded");
}

TEST_F(WhyTool, ADamagedHeadIsNamed) {
    MakeSmallRoot();
    WriteBytes(TemplateStore("T1") + "/index", "no index");
    EXPECT_EQ(Why(File("a.txt", "a"), "T1")["damage"], "index head is not valid");
}

TEST_F(WhyTool, SaysInOneLineWhatItIs) {
    MakeSmallRoot();
    (void)File("a.txt", "a");
    (void)File("c.txt", "c");
    EXPECT_EQ(FirstLine("a.txt"), "hit: answered with a match");
    EXPECT_EQ(FirstLine("c.txt"), "miss: no answer was ever stored for this content");
    EXPECT_THAT(Run({"why", root_ / "a.txt", "--template", "T9"}).out,
                testing::StartsWith("miss: the template is not among the agent's definitions\n"));
    EXPECT_EQ(Run({"why", root_ / "a.txt", "--template", "T9"}).status, 1);
}

TEST_F(WhyTool, TellsPeopleWhereTheAnswerLies) {
    MakeSmallRoot();
    auto const why = Why(File("a.txt", "a"), "T1");
    std::string const text = Told("a.txt").out;
    EXPECT_THAT(text, HasSubstr("slot: " + why["slot"].dump() + " at " + why["slot_offset"].dump() + " of " +
                                TemplateStore("T1") + "/index\n"));
    EXPECT_THAT(text,
                HasSubstr("record: " + why["length"].dump() + " bytes at 0 of " + TemplateStore("T1") + "/cache\n"));
    EXPECT_EQ(why["length"], std::filesystem::file_size(TemplateStore("T1") + "/cache"));
}

TEST_F(WhyTool, TellsPeopleWhichDefinitionIsThereSinceWhenAndWhatDiffers) {
    MakeSmallRoot();
    std::string const md5 = Items({"ls", "templates"})[0]["md5"];
    SetTime(TemplateStore("T1") + "/KeywordTemplate.arc", 1700000000);
    Define("T1", "another word");
    AsAgent([] {});
    (void)File("a.txt", "a");
    ToolResult const told = Told("a.txt");
    EXPECT_EQ(told.status, 1);
    EXPECT_EQ(FirstLine("a.txt"), "miss: the template's definition changed, the answer is of another one");
    EXPECT_THAT(told.out, HasSubstr("  " + md5 + " since 2023-11-14T22:13:20Z, not current, has an answer\n" +
                                    "    rule rule T1: another rule text\n"));
    EXPECT_EQ(Why(root_ / "a.txt", "T1")["versions"][0]["since"], "2023-11-14T22:13:20Z");
}

TEST_F(WhyTool, AnAnswerUnderTheCurrentDefinitionCountsWhateverOthersSay) {
    MakeSmallRoot();
    Define("T1", "another word");
    AsAgent([] { StoreNoMatch("/x/a.txt", kMd5A, "T1"); });
    auto const why = Why(File("a.txt", "a"), "T1");
    EXPECT_EQ(why["reason"], "not-matched");
    EXPECT_EQ(why["versions"].size(), 2U);
    EXPECT_EQ(Why(File("b.txt", "b"), "T1")["reason"], "definition-changed");
    EXPECT_EQ(Why(File("c.txt", "c"), "T1")["reason"], "never-stored");
}

TEST_F(WhyTool, EveryFieldOfARuleThatCountsIsNamed) {
    EXPECT_THAT(DifferencesAfter([](KwDefinitions& all) {
                    auto& rule = all.rules.nodes.back();
                    rule.common->name = HString("other");
                    rule.sub_type = 1002;
                    rule.rule_type = 3;
                    rule.rule_text = HString("other");
                    rule.description = HString("other");
                    rule.min_count = 9;
                }),
                testing::ElementsAre("rule|rule T1|name|-|-", "rule|rule T1|sub-type|1001|1002",
                                     "rule|rule T1|rule type|1|3", "rule|rule T1|rule text|-|-",
                                     "rule|rule T1|description|-|-", "rule|rule T1|least count|1|9"));
}

TEST_F(WhyTool, ClassAndLevelOfTheTemplateAreNamed) {
    EXPECT_THAT(DifferencesAfter([](KwDefinitions& all) {
                    all.templates.nodes.back().data_class_id = HString("C1");
                    all.templates.nodes.back().data_level_id = HString("L1");
                }),
                testing::ElementsAre("template|-|data class|-|C1", "template|-|data level|-|L1"));
}

TEST_F(WhyTool, RulesThatCameAndWentAreNamed) {
    EXPECT_THAT(DifferencesAfter([](KwDefinitions& all) {
                    all.rules.nodes.back().common->id = HString("R2");
                    all.templates.nodes.back().rule_ids = {HString("R2")};
                }),
                testing::ElementsAre("rule|rule T1|removed|-|-", "rule|R2|added|-|-"));
}

TEST_F(WhyTool, AFingerprintRuleIsTold) {
    Define("T1");
    definitions_.rules.nodes.back().sub_type = 2005;
    AsAgent([] { StoreNoMatch("/x/b.txt", kMd5B, "T1"); });
    EXPECT_EQ(Why(File("a.txt", "a"), "T1")["fingerprint_rules"], true);
    EXPECT_THAT(Told("a.txt").out, HasSubstr("\na match of one of its fingerprint rules is never stored\n"));
}

TEST_F(WhyTool, DefinitionsThatAreDamagedAreTold) {
    NotSound();
    MakeSmallRoot();
    WriteBytes(Root() + "/config/KeywordTemplate.arc", "damaged");
    auto const why = Why(File("a.txt", "a"), "T1");
    EXPECT_EQ(why["reason"], "template-unknown");
    EXPECT_EQ(why["damage"], "the agent's definitions are damaged");
    EXPECT_THAT(Told("a.txt").out, HasSubstr("\nthe agent's definitions are damaged\n"));
}

TEST_F(WhyTool, WithoutDefinitionsAndCacheATemplateIsUnknown) {
    MakeSmallRoot();
    std::filesystem::remove_all(Root() + "/config");
    EXPECT_THAT(Run({"why", File("a.txt", "a"), "--template", "T9"}).out,
                testing::StartsWith("miss: the template is unknown: no definitions and no cache of it\n"));
}

TEST_F(WhyTool, OfSeveralCachesTheNewestStandsForTheDefinitions) {
    MakeSmallRoot();
    std::string const old = TemplateStore("T1");
    Define("T1", "another word");
    AsAgent([] { StoreNoMatch("/x/c.txt", kMd5B, "T1"); });
    std::filesystem::remove_all(Root() + "/config");
    SetTime(old + "/KeywordTemplate.arc", 1700000000);
    EXPECT_EQ(Why(File("a.txt", "a"), "T1")["reason"], "definition-changed");
}

TEST_F(WhyTool, AKeyThatCannotBeStoredIsToldAsSuch) {
    SetBucketCount(Root(), "1");
    Define("T1");
    AsAgent([] { StoreNoMatch("/x/a.txt", kMd5A, "T1"); });
    (void)File("a.txt", "a");
    EXPECT_EQ(Told("a.txt").status, 1);
    EXPECT_EQ(FirstLine("a.txt"), "miss: the key cannot be stored, it falls into bucket 0");
}

TEST_F(WhyTool, EachKindOfDamageIsNamed) {
    MakeSmallRoot();
    (void)File("a.txt", "a");
    std::string const store = TemplateStore("T1");
    auto const slot = Why(root_ / "a.txt", "T1")["slot_offset"].get<std::size_t>();
    std::string const index = ReadBytes(store + "/index");
    std::string const data = ReadBytes(store + "/cache");
    auto const expect = [&](std::string const& what) {
        EXPECT_EQ(FirstLine("a.txt"), "miss: what is stored is damaged: " + what);
        EXPECT_EQ(Told("a.txt").status, 1);
        WriteBytes(store + "/index", index);
        WriteBytes(store + "/cache", data);
    };
    Put(store + "/index", slot + 37, "\x01");  // the record's offset
    expect("record lies outside its data file");
    Put(store + "/index", slot, "g");          // the key
    Put(store + "/index", slot + 49, "\x01");  // the next slot
    expect("the key's chain is damaged behind slot " + std::to_string((slot - 27) / 57 + 1));
    Put(store + "/index", slot, "g");
    Put(store + "/index", slot + 49, "\x1d");  // between two slots
    expect("the key's chain is damaged behind slot " + std::to_string((slot - 27) / 57 + 1));
    std::filesystem::remove(store + "/cache");
    expect("data file is missing");
    std::filesystem::remove(store + "/index");
    expect("index is missing");
}

TEST_F(WhyTool, AnAnswerWhoseTextIsDamagedIsAHitAsForTheLibrary) {
    MakeSmallRoot();
    std::string const data = TemplateStore("T1") + "/cache";
    auto const text_bytes = Items({"ls", "answers", "--match"})[0]["text_bytes"].get<std::size_t>();
    Put(data, ReadBytes(data).size() - text_bytes, "\x07");  // the text's version
    EXPECT_EQ(Why(File("a.txt", "a"), "T1")["reason"], "matched");
    EXPECT_THAT(Told("a.txt").out, HasSubstr("\nits text cannot be decoded, the library gives an empty one\n"));
}

TEST_F(WhyTool, AnAnswerMayHaveBeenInAnOlderStoreThatIsDamaged) {
    NotSound();
    MakeSmallRoot();
    std::string const older = TemplateStore("T1");
    Define("T1", "another word");
    AsAgent([] { StoreNoMatch("/x/b.txt", kMd5B, "T1"); });
    Put(older + "/index", 0, "\x01\x02");
    auto const why = Why(File("a.txt", "a"), "T1");
    EXPECT_EQ(why["reason"], "damaged");
    for (auto const& version : why["versions"]) {
        EXPECT_EQ(version["has_answer"].is_null(), version["directory"] == older);
        EXPECT_EQ(version["damage"].is_null(), version["directory"] != older);
    }
    EXPECT_THAT(Told("a.txt").out, HasSubstr("cannot say whether it has an answer: index head is not valid"));
    // An answer that is found elsewhere is one.
    EXPECT_EQ(Why(File("b.txt", "b"), "T1")["reason"], "not-matched");
}

TEST_F(WhyTool, DamagedDefinitionsAreToldAndNotCompared) {
    NotSound();
    MakeSmallRoot();
    WriteBytes(Root() + "/config/KeywordFormatItem.arc", "no archive");
    auto const why = Why(File("a.txt", "a"), "T1");
    EXPECT_EQ(why["damage"], "the agent's definitions are damaged");
    EXPECT_EQ(why["versions"][0]["differences"].size(), 0U);
    EXPECT_THAT(Told("a.txt").out, HasSubstr("the agent's definitions are damaged"));
}

TEST_F(WhyTool, ACacheThatIsNotFinishedIsNone) {
    MakeSmallRoot();
    std::filesystem::remove(TemplateStore("T1") + "/KeywordTemplate.arc");
    auto const why = Why(File("a.txt", "a"), "T1");
    EXPECT_EQ(why["reason"], "never-stored");
    EXPECT_EQ(why["versions"].size(), 0U);
}

TEST_F(WhyTool, SnapshotsWithoutATimeStandForTheDefinitions) {
    MakeSmallRoot();
    std::filesystem::remove_all(Root() + "/config");
    SetTime(TemplateStore("T1") + "/KeywordTemplate.arc", 0);
    EXPECT_EQ(Why(File("a.txt", "a"), "T1")["reason"], "matched");
}

TEST_F(WhyTool, WhatIsNoRegularFileHasNoContent) {
    MakeSmallRoot();
    ASSERT_EQ(::mkfifo((root_ / "fifo").c_str(), 0600), 0);
    EXPECT_EQ(Told("fifo").status, 3);
    EXPECT_EQ(Run({"why", "/dev/null", "--template", "T1"}).status, 3);
    EXPECT_THAT(Told("fifo").err, HasSubstr("is no regular file"));
}

TEST_F(WhyTool, AKeyIsUnstorableOnlyWhereItIsSoInBothCases) {
    SetBucketCount(Root(), "2");
    Define("T1");
    AsAgent([] { StoreNoMatch("/x/a.txt", kMd5A, "T1"); });
    bool seen[2][2] = {};  // by whether the keys of the lower-case and the upper-case MD5 fall into bucket 0
    for (int number = 0; number < 200; ++number) {
        std::string const md5 = HString(number).get_md5_std_format_lower(HString()).get_str();
        std::vector<std::string> const keys = torvane::AnswerKeys({"/x/f", "", md5}, false);
        if (keys.size() != 2) continue;
        bool in_none[2];
        for (std::size_t at = 0; at < 2; ++at)
            in_none[at] = Varnok::Murmur3_32(keys[at].data(), static_cast<int>(keys[at].size())) % 2 == 0;
        if (std::exchange(seen[in_none[0]][in_none[1]], true)) continue;
        auto const why = Json({"why", "/x/f", "--template", "T1", "--md5", md5});
        EXPECT_EQ(why["reason"], in_none[0] && in_none[1] ? "key-unstorable" : "never-stored") << md5;
        EXPECT_EQ(why["may_be_unstorable"], in_none[0] != in_none[1]) << md5;
    }
    EXPECT_TRUE(seen[0][0] && seen[0][1] && seen[1][0] && seen[1][1]);
}

TEST_F(WhyTool, ForeignThingsInThePlaceOfTheDefinitionsAreNoMissingDefinitions) {
    NotSound();
    MakeSmallRoot();
    std::string const archive = Root() + "/config/KeywordTemplate.arc";
    std::filesystem::rename(archive, root_ / "elsewhere");
    for (bool const is_link : {true, false}) {
        std::filesystem::remove(archive);
        if (is_link) std::filesystem::create_symlink(root_ / "elsewhere", archive);
        if (!is_link) {
            ASSERT_EQ(::mkfifo(archive.c_str(), 0600), 0);
        }
        auto const why = Why(File("a.txt", "a"), "T1");
        EXPECT_EQ(why["reason"], "template-unknown");
        EXPECT_EQ(why["definitions_from"], "config");
        EXPECT_EQ(why["damage"], "the agent's definitions are damaged");
    }
}

TEST_F(WhyTool, AForeignThingInASnapshotIsDamage) {
    NotSound();
    MakeSmallRoot();
    std::string const archive = TemplateStore("T1") + "/KeywordFormatItem.arc";
    std::filesystem::remove(archive);
    ASSERT_EQ(::mkfifo(archive.c_str(), 0600), 0);
    EXPECT_EQ(Why(File("a.txt", "a"), "T1")["reason"], "damaged");
    EXPECT_EQ(Told("a.txt").status, 1);
    EXPECT_EQ(Run({"ls", "templates"}).status, 1);
    EXPECT_EQ(Items({"ls", "templates"})[0]["state"], "damaged");
    EXPECT_EQ(Run({"show", "--file", root_ / "a.txt"}).status, 0);
}

TEST_F(WhyTool, AnMd5ThatIsNoneIsWrongUsage) {
    MakeSmallRoot();
    for (char const* const md5 : {"", "zz", "0cc175b9c0f1b6a831c399e26977266", "0cc175b9c0f1b6a831c399e26977266g"})
        EXPECT_EQ(Run({"why", "/x/a.txt", "--template", "T1", "--md5", md5}).status, 2) << md5;
    EXPECT_EQ(Run({"show", "--file", "/x/a.txt", "--md5", "zz"}).status, 2);
    EXPECT_EQ(Run({"why", "/x/a.txt", "--template", "T1", "--md5", kMd5A}).status, 0);
}
