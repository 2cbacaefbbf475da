#include "examples/scanner/Answer.h"

#include <gmock/gmock.h>

#include "front/DLPCacheMgr.h"
#include "tests/examples/scanner/PolicyRoot.h"

namespace scanner {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Answers : public testing::Test {
  protected:
    static FileView File(std::string_view name, std::string_view text) { return {name, text, text}; }

    PolicyRoot root_;
    Policy policy_ = PolicyRoot::InForce("plan");
};

TEST_F(Answers, TellEveryMatchedRule) {
    Answer const answer = ScanWithTemplate(policy_, 1, File("a.txt", "a plan,\nanother plan"));
    ASSERT_TRUE(answer.matched);
    ASSERT_EQ(answer.attach.items.size(), 1U);
    EXPECT_EQ(answer.attach.items[0].rule_id, "w");
    EXPECT_EQ(answer.attach.items[0].rule_type, 1);
    EXPECT_EQ(answer.attach.items[0].sub_type, 1001);
    EXPECT_EQ(answer.attach.items[0].match_count, 2);
    EXPECT_EQ(answer.attach.items[0].file_short_name, "a.txt");
    EXPECT_EQ(answer.text.tpl_id, "words");
    EXPECT_EQ(answer.text.text, "a plan,\nanother plan");
}

TEST_F(Answers, OfATemplateWithoutAMatchAreEmpty) {
    Answer const answer = ScanWithTemplate(policy_, 1, File("a.txt", "nothing"));
    EXPECT_FALSE(answer.matched);
    EXPECT_THAT(answer.attach.items, IsEmpty());
}

TEST_F(Answers, AreMissingForWhatANodeListsNowhere) {
    QVKKeywordMatchNode node;
    EXPECT_THAT(MissingTemplates(policy_.ids(), node), ElementsAre(0, 1, 2));
    node.unmatched_tpl_ids = {"names", "mails"};
    EXPECT_THAT(MissingTemplates(policy_.ids(), node), ElementsAre(1));
    node.matched_tpl_ids = {"words"};
    EXPECT_THAT(MissingTemplates(policy_.ids(), node), IsEmpty());
}

TEST_F(Answers, AreMergedInTemplateOrder) {
    QVKKeywordMatchNode cached;
    cached.matched_tpl_ids = {"names", "mails"};
    cached.attach_nodes = {ScanWithTemplate(policy_, 0, File("a.pem", "")).attach,
                           ScanWithTemplate(policy_, 2, File("a.pem", "x@example.com")).attach};
    cached.texts.resize(2);
    cached.texts[1].text = "cached";
    QVKKeywordMatchNode const merged = Merge(policy_, cached, {ScanWithTemplate(policy_, 1, File("a.pem", "plan"))});
    EXPECT_TRUE(merged.sensitive);
    EXPECT_THAT(merged.matched_tpl_ids, ElementsAre(HString("names"), HString("words"), HString("mails")));
    ASSERT_EQ(merged.attach_nodes.size(), 3U);
    EXPECT_EQ(merged.attach_nodes[0].items[0].rule_id, "n");
    EXPECT_EQ(merged.attach_nodes[1].items[0].rule_id, "w");
    EXPECT_EQ(merged.attach_nodes[2].items[0].rule_id, "m");
    ASSERT_EQ(merged.texts.size(), 3U);
    EXPECT_EQ(merged.texts[1].text, "plan");
    EXPECT_EQ(merged.texts[2].text, "cached");
}

TEST_F(Answers, ToBeStoredDoNotIncludeCachedOnes) {
    QVKKeywordMatchNode cached;
    cached.file_node->file_path = "/d/a.txt";
    cached.matched_tpl_ids = {"names"};
    cached.attach_nodes.emplace_back();
    std::vector<Answer> const scanned{ScanWithTemplate(policy_, 1, File("a.txt", "plan")),
                                      ScanWithTemplate(policy_, 2, File("a.txt", "plan"))};
    QVKKeywordMatchNode const stored = MakeStoreNode(policy_, *cached.file_node, scanned);
    EXPECT_THAT(stored.matched_tpl_ids, ElementsAre(HString("words")));
    EXPECT_THAT(stored.unmatched_tpl_ids, ElementsAre(HString("mails")));
    EXPECT_EQ(stored.attach_nodes.size(), 1U);
    EXPECT_EQ(stored.tips->stored_name, "a.txt");
    EXPECT_EQ(stored.file_node->file_path, "/d/a.txt");
}

}  // namespace
}  // namespace scanner
