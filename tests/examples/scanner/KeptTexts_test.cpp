#include "examples/scanner/KeptTexts.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "host/policy/KwLocateMgr.h"
#include "tests/examples/scanner/TempTree.h"

namespace scanner {
namespace {

constexpr char kMd5[] = "900150983cd24fb0d6963f7d28e17f72";
constexpr char kFile[] = "root/cache/task/job/text/900150983cd24fb0d6963f7d28e17f72.arc";

class KeptTextsTest : public testing::Test {
  protected:
    KeptTextsTest() { KwLocateMgr::pins()->set_root(HString(tree_ / "root")); }

    // The places of a template's matches: one on line 1.
    static std::vector<QVKKeywordText> Places() {
        QVKKeywordText text;
        text.tpl_id = "words";
        text.text = "the matched line";
        text.line_positions = {{1, {{0, 4}}}};
        return {text};
    }
    // What comes back of a text in a later process.
    static std::string RoundTrip(std::string const& text) {
        KeptTexts("job").Keep(kMd5, text, Places());
        return KeptTexts("job").Find(kMd5).value_or("not kept");
    }

    TempTree tree_;
};

TEST_F(KeptTextsTest, ComeBackByteForByte) {
    EXPECT_EQ(RoundTrip("plan\nand more"), "plan\nand more");
}

TEST_F(KeptTextsTest, ComeBackByteForByteWhateverTheBytes) {
    std::string text;
    for (int byte = 0; byte < 256; ++byte)
        text += static_cast<char>(byte);
    text += "\xF0\x9F\x98\x80 \xED\xA0\xBD\xED\xB8\x80 \xED\xB2\x80 \xEF\xBB\xBF \xC0\xAF \xE2\x82";  // broken UTF-8
    EXPECT_EQ(RoundTrip(text), text);
}

TEST_F(KeptTextsTest, AreFoundAtOnce) {
    KeptTexts texts("job");
    EXPECT_EQ(texts.Find(kMd5), std::nullopt);
    texts.Keep(kMd5, "plan", Places());
    EXPECT_EQ(texts.Find(kMd5), "plan");
}

TEST_F(KeptTextsTest, HoldThePlacesOfAllTemplatesAndNoTemplate) {
    std::vector<QVKKeywordText> matched = Places();
    matched.push_back(Places()[0]);
    matched[1].line_positions = {{7, {{2, 5}}}};
    KeptTexts("job").Keep(kMd5, "plan", matched);
    QVKKeywordText kept;
    ASSERT_EQ(DLPCacheText("job").Find(kMd5, kept), 2);
    EXPECT_EQ(kept.tpl_id, "");
    EXPECT_EQ(kept.text, "plan");
    EXPECT_EQ(kept.line_positions, (std::vector<QVKKeywordLinePos>{{1, {{0, 4}}}, {7, {{2, 5}}}}));
}

TEST_F(KeptTextsTest, AreKeptPerTask) {
    KeptTexts("job").Keep(kMd5, "plan", Places());
    EXPECT_EQ(KeptTexts("other").Find(kMd5), std::nullopt);
}

TEST_F(KeptTextsTest, WithoutAPlaceAreNotKept) {
    KeptTexts texts("job");
    texts.Keep(kMd5, "plan", {});
    texts.Keep(kMd5, "plan", {QVKKeywordText()});
    EXPECT_EQ(texts.Find(kMd5), std::nullopt);
    EXPECT_FALSE(std::filesystem::exists(tree_ / "root/cache/task"));
}

TEST_F(KeptTextsTest, OfMoreThanFourMebibytesAreNotKept) {
    std::string text(std::size_t{4} << 20, 'x');
    EXPECT_EQ(RoundTrip(text + "y"), "not kept");
    EXPECT_TRUE(RoundTrip(text) == text);
}

TEST_F(KeptTextsTest, ThatAreThereAreNotWrittenAgain) {
    KeptTexts texts("job");
    texts.Keep(kMd5, "plan", Places());
    texts.Keep(kMd5, "another text", Places());
    EXPECT_EQ(texts.Find(kMd5), "plan");
}

TEST_F(KeptTextsTest, ThatAreDamagedAreNoTextsAndAreReplaced) {
    KeptTexts("job").Keep(kMd5, "plan", Places());
    tree_.Write(kFile, "damaged");
    KeptTexts texts("job");
    EXPECT_EQ(texts.Find(kMd5), std::nullopt);
    texts.Keep(kMd5, "plan", Places());
    EXPECT_EQ(KeptTexts("job").Find(kMd5), "plan");
}

// One lookup of what lies there serves the whole run.
TEST_F(KeptTextsTest, OfOthersThatComeLaterAreNotLookedFor) {
    KeptTexts texts("job");
    KeptTexts("job").Keep(kMd5, "plan", Places());
    EXPECT_EQ(texts.Find(kMd5), std::nullopt);
}

TEST_F(KeptTextsTest, LeaveForeignFilesAlone) {
    tree_.Write("root/cache/task/job/text/notes.txt", "foreign");
    KeptTexts texts("job");
    EXPECT_EQ(texts.Find("notes"), std::nullopt);
    EXPECT_EQ(texts.Find("notes.txt"), std::nullopt);
}

}  // namespace
}  // namespace scanner
