#include "text/DLPCacheText.h"

#include <ostream>

#include "tests/text/TextFixture.h"

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

using TextTest = TextFixture;

TEST_F(TextTest, TextIsFoundUnderItsName) {
    EXPECT_EQ(cache_.Add("a", MakeText("alpha")), 1);
    EXPECT_EQ(cache_.Add("b", MakeText("beta")), 1);
    EXPECT_EQ(Find("a"), (Found{2, MakeText("alpha")}));
    EXPECT_EQ(Find("b"), (Found{2, MakeText("beta")}));
    EXPECT_EQ(Find("A"), (Found{-4, MakeText("before")}));
}

TEST_F(TextTest, EveryFieldComesBack) {
    QVKKeywordText text = MakeText("alpha");
    text.second_text = "second";
    text.second_text_path = "/no/such/file";
    text.second_positions = {{5, 6}};
    EXPECT_EQ(cache_.Add("a", text), 1);
    EXPECT_EQ(Find("a"), (Found{2, text}));
}

TEST_F(TextTest, NothingIsMissingInADirectoryThatIs) {
    EXPECT_EQ(Find("a"), (Found{-4, MakeText("before")}));
    EXPECT_FALSE(Exists(root_ / "cache/task"));
    fs::create_directories(Dir());
    EXPECT_EQ(Find("a"), (Found{-4, MakeText("before")}));
}

TEST_F(TextTest, PathOfAMissingFileIsNotKeptButTheDirectoryIsMade) {
    QVKKeywordText text = MakeText("alpha");
    text.text_path = root_ / "missing";
    EXPECT_EQ(cache_.Add("a", text), -15);
    EXPECT_TRUE(Exists(Dir()));
    EXPECT_THAT(Files(Dir()), IsEmpty());
}

TEST_F(TextTest, SecondTextWithoutPositionsIsNotKept) {
    QVKKeywordText text;
    text.second_text = "second";
    EXPECT_EQ(cache_.Add("a", text), -15);
    EXPECT_THAT(Files(Dir()), IsEmpty());
}

TEST_F(TextTest, SecondAddCoversTheFirstAndSaysSoOnce) {
    LogLines log;
    EXPECT_EQ(cache_.Add("a", MakeText("alpha")), 1);
    EXPECT_THAT(log.Take(), IsEmpty());
    EXPECT_EQ(cache_.Add("a", MakeText("newer")), 1);
    auto const lines = log.Take();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].level, 2);
    EXPECT_EQ(lines[0].source, "../DLPCacheText.cpp");
    EXPECT_EQ(lines[0].line, 156);
    EXPECT_EQ(lines[0].text, "conflict exist, cover !!!!!!!!!!");
    EXPECT_EQ(Find("a"), (Found{2, MakeText("newer")}));
    EXPECT_THAT(Files(Dir()), ElementsAre("a.arc"));
}

TEST_F(TextTest, RefusedTextLeavesTheFirst) {
    LogLines log;
    EXPECT_EQ(cache_.Add("a", MakeText("alpha")), 1);
    EXPECT_EQ(cache_.Add("a", QVKKeywordText()), -15);
    EXPECT_EQ(Find("a"), (Found{2, MakeText("alpha")}));
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(TextTest, WriteDoesNotJudge) {
    fs::create_directories(Dir());
    EXPECT_EQ(cache_.WriteArcCache("a", QVKKeywordText()), 1);
    EXPECT_EQ(Find("a"), (Found{-13, QVKKeywordText()}));
}

TEST_F(TextTest, WriteMakesNoDirectory) {
    EXPECT_EQ(cache_.WriteArcCache("a", MakeText("alpha")), 1);
    EXPECT_FALSE(Exists(root_ / "cache/task"));
    EXPECT_EQ(Find("a").code, -4);
}

TEST_F(TextTest, TextThatIsNoLongerKeepableStaysAsItWasRead) {
    WriteBytes(root_ / "content", "content");
    QVKKeywordText text = MakeText("");
    text.text_path = root_ / "content";
    EXPECT_EQ(cache_.Add("a", text), 1);
    EXPECT_EQ(Find("a"), (Found{2, text}));
    fs::remove(root_ / "content");
    EXPECT_EQ(Find("a"), (Found{-13, text}));
}

TEST_F(TextTest, DamagedFileIsUnreadable) {
    cache_.Add("a", MakeText("alpha"));
    std::string const whole = ReadBytes(File("a"));
    for (std::string const& damaged : {std::string(), whole.substr(0, whole.size() - 1), whole + "x"}) {
        WriteBytes(File("a"), damaged);
        EXPECT_EQ(Find("a"), (Found{-13, QVKKeywordText()}));
    }
    WriteBytes(File("a"), whole);
    EXPECT_EQ(Find("a").code, 2);
}

TEST_F(TextTest, TasksAreApart) {
    DLPCacheText const other("T2");
    cache_.Add("a", MakeText("alpha"));
    QVKKeywordText text;
    EXPECT_EQ(other.Find("a", text), -4);
    EXPECT_EQ(other.Add("a", MakeText("other")), 1);
    EXPECT_EQ(Find("a").text, MakeText("alpha"));
    EXPECT_EQ(DLPCacheText("T1").Find("a", text), 2);
}

TEST_F(TextTest, PathIsTaskAndNameAsFileNames) {
    EXPECT_EQ(cache_.GetFileArcCache("a").get_str(), root_ / "cache/task/T1/text/a.arc");
    EXPECT_EQ(cache_.GetFileArcCache("").get_str(), root_ / "cache/task/T1/text/%.arc");
    EXPECT_EQ(DLPCacheText("../T").GetFileArcCache("../a/b").get_str(),
              root_ / "cache/task/%2E.%2FT/text/%2E.%2Fa%2Fb.arc");
}

TEST_F(TextTest, HostileNameStaysInItsDirectory) {
    for (char const* const name : {"", ".", "..", "/", "../x", "../../../../x", "a/b", "%", "a\nb"}) {
        EXPECT_EQ(cache_.Add(name, MakeText(name + std::string("!"))), 1);
    }
    EXPECT_THAT(Files(Dir()),
                testing::UnorderedElementsAre("%.arc", "%25.arc", "%2E..arc", "%2E.%2F..%2F..%2F..%2Fx.arc",
                                              "%2E.%2Fx.arc", "%2E.arc", "%2F.arc", "a%0Ab.arc", "a%2Fb.arc"));
    EXPECT_EQ(Find("../x").text, MakeText("../x!"));
    EXPECT_EQ(std::distance(fs::directory_iterator(root_ / "cache/task/T1"), fs::directory_iterator()), 1);
    EXPECT_FALSE(Exists(root_ / "x"));
}

TEST_F(TextTest, NameTooLongForAFileIsNotStored) {
    std::string const name(300, 'n');
    EXPECT_EQ(cache_.Add(HString(name), MakeText("alpha")), 1);
    EXPECT_EQ(Find(name), (Found{-4, MakeText("before")}));
    EXPECT_THAT(Files(Dir()), IsEmpty());
}

TEST_F(TextTest, DirectoryInTheFilesPlaceStays) {
    NotSound();
    LogLines log;
    fs::create_directories(File("a") + "/sub");
    EXPECT_EQ(cache_.Add("a", MakeText("alpha")), 1);
    EXPECT_EQ(Find("a"), (Found{-4, MakeText("before")}));
    EXPECT_TRUE(Exists(File("a") + "/sub"));
    EXPECT_THAT(Files(Dir()), ElementsAre("a.arc"));
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(TextTest, LinkInTheFilesPlaceIsReplacedAndNotFollowed) {
    fs::create_directories(Dir());
    std::string const elsewhere = root_ / "elsewhere";
    DLPCacheText("T2").Add("a", MakeText("of others"));
    fs::copy_file(root_ / "cache/task/T2/text/a.arc", elsewhere);
    fs::create_symlink(elsewhere, File("a"));
    std::string const before = ReadBytes(elsewhere);
    EXPECT_EQ(Find("a"), (Found{-13, QVKKeywordText()}));
    EXPECT_EQ(cache_.Add("a", MakeText("alpha")), 1);
    EXPECT_EQ(Find("a"), (Found{2, MakeText("alpha")}));
    EXPECT_EQ(ReadBytes(elsewhere), before);
}

TEST_F(TextTest, NothingBehindALinkInTheDirectorysPlaceIsTouched) {
    NotSound();
    fs::create_directories(root_ / "cache/task/T1");
    fs::create_directories(root_ / "elsewhere");
    WriteBytes(root_ / "elsewhere/a.arc", "stays");
    fs::create_directory_symlink(root_ / "elsewhere", root_ / "cache/task/T1/text");
    EXPECT_EQ(cache_.Add("a", MakeText("alpha")), 1);
    EXPECT_EQ(cache_.Add("b", MakeText("beta")), 1);
    EXPECT_EQ(Find("a"), (Found{-4, MakeText("before")}));
    EXPECT_EQ(ReadBytes(root_ / "elsewhere/a.arc"), "stays");
    EXPECT_FALSE(Exists(root_ / "elsewhere/b.arc"));
}

TEST_F(TextTest, NothingBehindALinkAboveTheDirectoryIsTouched) {
    NotSound();
    fs::path const cache = root_ / "cache";
    fs::path const elsewhere = root_ / "elsewhere";
    fs::create_directories(elsewhere / "T1/text");
    for (char const* const link : {"task", "task/T1"}) {
        SCOPED_TRACE(link);
        fs::remove_all(cache / "task");
        fs::create_directories((cache / link).parent_path());
        fs::create_directory_symlink(link == std::string("task") ? elsewhere : elsewhere / "T1", cache / link);
        EXPECT_EQ(cache_.Add("a", MakeText("alpha")), 1);
        EXPECT_EQ(cache_.WriteArcCache("a", MakeText("alpha")), 1);
        EXPECT_TRUE(fs::is_empty(elsewhere / "T1/text"));
        ASSERT_EQ(MakeText("alpha").to_file(HString((elsewhere / "T1/text/b.arc").string())), 0);
        EXPECT_EQ(Find("b").code, -4);
        fs::remove(elsewhere / "T1/text/b.arc");
    }
}

TEST_F(TextTest, NothingIsDoneForATaskWithoutId) {
    DLPCacheText const nobodys{HString()};
    EXPECT_TRUE(nobodys.GetFileArcCache("a").empty());
    EXPECT_EQ(nobodys.Add("a", MakeText("alpha")), 1);
    QVKKeywordText text;
    EXPECT_EQ(nobodys.Find("a", text), -4);
    EXPECT_FALSE(Exists(root_ / "cache/task"));
}

TEST_F(TextTest, FileInTheDirectorysPlaceStays) {
    fs::create_directories(root_ / "cache/task/T1");
    WriteBytes(root_ / "cache/task/T1/text", "stays");
    EXPECT_EQ(cache_.Add("a", MakeText("alpha")), 1);
    EXPECT_EQ(Find("a").code, -4);
    EXPECT_EQ(ReadBytes(root_ / "cache/task/T1/text"), "stays");
}

// The rules by which a text is worth keeping. A path is "there", "missing", "directory" or none.
struct Rule {
    char const* name;
    char const* text_path;
    char const* text;
    bool lines;
    char const* second_text_path;
    char const* second_text;
    bool second_positions;
    bool kept;
    friend void PrintTo(Rule const& rule, std::ostream* out) { *out << rule.name; }
};
class TextRules : public TextTest, public testing::WithParamInterface<Rule> {
  protected:
    TextRules() {
        WriteBytes(root_ / "there", "content");
        fs::create_directories(root_ / "directory");
    }
    HString Path(std::string const& name) const { return name.empty() ? HString() : HString(root_ / name); }
    QVKKeywordText Made() const {
        QVKKeywordText text;
        text.text_path = Path(GetParam().text_path);
        text.text = GetParam().text;
        if (GetParam().lines) text.line_positions = {{1, {{1, 2}}}};
        text.second_text_path = Path(GetParam().second_text_path);
        text.second_text = GetParam().second_text;
        if (GetParam().second_positions) text.second_positions = {{3, 4}};
        return text;
    }
};
constexpr Rule kRules[] = {
    {"path of a file, lines", "there", "", true, "", "", false, true},
    {"path of a file, no lines", "there", "", false, "", "", false, false},
    {"path of a missing file", "missing", "", true, "", "", false, false},
    {"path of a directory", "directory", "", true, "", "", false, false},
    {"a path decides before a text", "missing", "text", true, "there", "second", true, false},
    {"a path decides, second positions do not help", "there", "text", false, "there", "second", true, false},
    {"text, lines", "", "text", true, "", "", false, true},
    {"text, no lines", "", "text", false, "", "", false, false},
    {"a text decides before what is second", "", "text", false, "there", "second", true, false},
    {"second path of a file, positions", "", "", false, "there", "", true, true},
    {"second path of a file, no positions", "", "", true, "there", "", false, false},
    {"second path of a missing file", "", "", true, "missing", "", true, false},
    {"second path decides before second text", "", "", false, "missing", "second", true, false},
    {"second path of a directory", "", "", false, "directory", "second", true, false},
    {"second text, positions", "", "", false, "", "second", true, true},
    {"second text, lines alone", "", "", true, "", "second", false, false},
    {"nothing but positions", "", "", true, "", "", true, false},
    {"nothing", "", "", false, "", "", false, false},
};
INSTANTIATE_TEST_SUITE_P(Rules, TextRules, testing::ValuesIn(kRules));

TEST_P(TextRules, Add) {
    EXPECT_EQ(cache_.Add("a", Made()), GetParam().kept ? 1 : -15);
    EXPECT_EQ(Exists(File("a")), GetParam().kept);
}

TEST_P(TextRules, Find) {
    fs::create_directories(Dir());
    ASSERT_EQ(cache_.WriteArcCache("a", Made()), 1);
    EXPECT_EQ(Find("a"), (Found{GetParam().kept ? 2 : -13, Made()}));
}

}  // namespace
