#include "front/DLPCacheVerdict.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "front/DLPCacheMgr.h"
#include "tests/support/TempRoot.h"

namespace {

// Texts of the tests' own, so that the expected lines stand here and nowhere else.
constexpr char kLanguage[] =
    "[Language]\n"
    "DLP_LAN_RULE_REG=expression %d times\n"
    "DLP_LAN_RULE_NAME=name %d times\n"
    "DLP_LAN_RULE_ADDR=address %d times\n"
    "DLP_LAN_RULE_PHONE=phone %d times\n"
    "DLP_LAN_RULE_EMAIL_ADDR=mail %d times\n"
    "DLP_LAN_RULE_ID_CARD=identity %d times\n"
    "DLP_LAN_RULE_BANK_CARD=bank card %d times\n"
    "DLP_LAN_RULE_EXPRESS_NUM=parcel %d times\n"
    "DLP_LAN_RULE_PDS=personal %d times\n"
    "DLP_LAN_RULE_SOCIAL_SECURITY=social %d times\n"
    "DLP_LAN_RULE_FILE_NAME=name is %s\n"
    "DLP_LAN_RULE_FILE_TYPE=type is %s\n"
    "DLP_LAN_RULE_FILE_ENCRYPT=encrypted: %s\n"
    "DLP_LAN_RULE_FILE_MD5=md5 is %s\n"
    "DLP_LAN_RULE_FILE_DNA=fingerprint is %s\n"
    "DLP_LAN_RULE_FILE_SIZE=size is %s\n"
    "DLP_LAN_RULE_FILE_CDATE=made %s\n"
    "DLP_LAN_RULE_FILE_MDATE=changed %s\n"
    "DLP_LAN_RULE_FILE_UNRECOG=unreadable: %s\n"
    "DLP_LAN_RULE_FILE_CODE=code is %s\n"
    "DLP_LAN_RULE_FILE_CLASS=class is %s\n"
    "DLP_LAN_RULE_SAFEDOC=protected: %s\n"
    "DLP_LAN_RULE_FILE_VOLUME_PAGE=%s pages\n"
    "DLP_LAN_RULE_FILE_VOLUME_LINE=%s lines\n"
    "DLP_LAN_RULE_FILE_VOLUME_WORD=%s words\n"
    "DLP_LAN_RULE_FILE_VOLUME_IMAGE=%s images\n"
    "DLP_LAN_RULE_FILE_VOLUME_EMBED=%s objects\n"
    "DLP_LAN_SENSITIVE_YES=yes\n"
    "DLP_LAN_SENSITIVE_NO=no\n";

class DLPCacheVerdictTest : public testing::Test {
  protected:
    DLPCacheVerdictTest() {
        std::filesystem::create_directories(root_ / "ini");
        WriteBytes(root_ / "ini/DLPLanguage.ini", kLanguage);
    }

    static QVKReportKeywordAttachItem Item(int rule_type, int sub_type, long long number = 7) {
        QVKReportKeywordAttachItem item;
        item.rule_type = rule_type;
        item.sub_type = sub_type;
        item.rule_text = "first";
        item.match_text_2 = "second";
        item.match_count = number;
        return item;
    }
    static QVKReportKeywordAttachItem Keyword(char const* word, char const* description, long long count) {
        QVKReportKeywordAttachItem item = Item(1, 1001, count);
        item.rule_text = word;
        item.match_text_2 = description;
        return item;
    }
    static QVKKeywordMatchNode Node(std::vector<QVKReportKeywordAttachItem> items) {
        QVKKeywordMatchNode node;
        node.attach_nodes.push_back({std::move(items)});
        return node;
    }
    static QVKKeywordMatchItem SensitiveItem() {
        QVKKeywordMatchItem item;
        item.sensitive = true;
        item.match_nodes.push_back(Node({Keyword("abc", "", 3)}));
        return item;
    }

    std::string Content(QVKReportKeywordAttachItem const& item) {
        return front_.GetSensResultByRuleContent(item).get_str();
    }
    std::string Attr(QVKReportKeywordAttachItem const& item) { return front_.GetSensResultByRuleAttr(item).get_str(); }
    std::string Classify(QVKReportKeywordAttachItem const& item) {
        return front_.GetSensResultByRuleClassify(item).get_str();
    }
    std::string Extend(QVKReportKeywordAttachItem const& item) {
        return front_.GetSensResultByRuleExtend(item).get_str();
    }
    std::string Volume(char const* volumes) {
        QVKReportKeywordAttachItem item = Item(2, 2011);
        item.match_text_2 = volumes;
        return Attr(item);
    }
    template <class Record>
    std::string Verdict(Record const& record) {
        return front_.GetSensResult(record).get_str();
    }

    TempRoot root_;
    DLPCacheMgr const& front_ = *DLPCacheMgr::pins();
};

TEST_F(DLPCacheVerdictTest, EveryContentRuleHasItsLine) {
    struct {
        int sub_type;
        char const* line;
    } const table[] = {
        {1001, "second\n"},
        {1002, "expression 7 times\n"},
        {1003, "name 7 times\n"},
        {1004, "address 7 times\n"},
        {1005, "phone 7 times\n"},
        {1006, "mail 7 times\n"},
        {1007, "identity 7 times\n"},
        {1008, "bank card 7 times\n"},
        {1009, "parcel 7 times\n"},
        {1010, ""},
        {1011, "bank card 7 times\n"},
        {1012, ""},
        {1013, "personal 7 times\n"},
        {1014, ""},
        {1015, "social 7 times\n"},
        {1000, ""},
        {1016, ""},
        {0, ""},
        {-1, ""},
        {2001, ""},
        {3001, ""},
    };
    for (auto const& row : table)
        EXPECT_EQ(Content(Item(1, row.sub_type)), row.line) << row.sub_type;
}

TEST_F(DLPCacheVerdictTest, EveryAttributeRuleHasItsLine) {
    struct {
        int sub_type;
        char const* line;
    } const table[] = {
        {2000, ""},
        {2001, "name is first\n"},
        {2002, "type is second\n"},
        {2003, "encrypted: no\n"},
        {2004, "md5 is first\n"},
        {2005, "fingerprint is first\n"},
        {2006, "size is 7kb\n"},
        {2007, "made 1970-01-01 00:00:07\n"},
        {2008, "changed 1970-01-01 00:00:07\n"},
        {2009, "unreadable: no\n"},
        {2010, "code is first\n"},
        {2011, ""},
        {2012, "class is first\n"},
        {2013, "protected: no\n"},
        {2014, ""},
        {1002, ""},
        {-1, ""},
    };
    for (auto const& row : table)
        EXPECT_EQ(Attr(Item(2, row.sub_type)), row.line) << row.sub_type;
}

TEST_F(DLPCacheVerdictTest, ClassificationRulesNameTheClass) {
    EXPECT_EQ(Classify(Item(3, 3001)), "class is first\n");
    EXPECT_EQ(Classify(Item(3, 3000)), "");
    EXPECT_EQ(Classify(Item(3, 3002)), "");
    EXPECT_EQ(Classify(Item(3, 2012)), "");
}

TEST_F(DLPCacheVerdictTest, ExtensionRulesGiveADash) {
    EXPECT_EQ(Extend(Item(4, 4001)), "-\n");
    EXPECT_EQ(Extend(Item(4, 4002)), "-\n");
    EXPECT_EQ(Extend(Item(4, 4000)), "");
    EXPECT_EQ(Extend(Item(4, 4003)), "");
}

TEST_F(DLPCacheVerdictTest, KeywordWithoutDescriptionGivesWordAndCount) {
    EXPECT_EQ(Content(Keyword("abc", "", 3)), "abc(3)\n");
    EXPECT_EQ(Content(Keyword("", "", 0)), "(0)\n");
    EXPECT_EQ(Content(Keyword("abc", "", -9223372036854775807LL - 1)), "abc(-9223372036854775808)\n");
}

TEST_F(DLPCacheVerdictTest, KeywordWithDescriptionGivesTheDescriptionAlone) {
    EXPECT_EQ(Content(Keyword("abc", "a secret", 3)), "a secret\n");
}

TEST_F(DLPCacheVerdictTest, BlanksAtBothEndsAreCutAndALineOfBlanksIsNone) {
    EXPECT_EQ(Content(Keyword("abc", " \t\r\n a b \n", 3)), "a b\n");
    EXPECT_EQ(Content(Keyword("abc", " \t\r\n", 3)), "");
    EXPECT_EQ(Content(Keyword(" abc", "", 3)), "abc(3)\n");
}

TEST_F(DLPCacheVerdictTest, OneIsYesAndEveryOtherNumberIsNo) {
    for (int const sub_type : {2003, 2009, 2013}) {
        EXPECT_NE(Attr(Item(2, sub_type, 1)).find(": yes\n"), std::string::npos) << sub_type;
        EXPECT_NE(Attr(Item(2, sub_type, 0)).find(": no\n"), std::string::npos) << sub_type;
        EXPECT_NE(Attr(Item(2, sub_type, -1)).find(": no\n"), std::string::npos) << sub_type;
    }
}

TEST_F(DLPCacheVerdictTest, EncryptionWithNumber2IsNo) {
    EXPECT_EQ(Attr(Item(2, 2003, 2)), "encrypted: no\n");
}

TEST_F(DLPCacheVerdictTest, VolumeOfPagesAloneGivesThePageLine) {
    EXPECT_EQ(Volume("2;0;0;0;0"), "2 pages,\n");
}

TEST_F(DLPCacheVerdictTest, VolumeOfEmbeddedObjectsAloneGivesTheirLine) {
    EXPECT_EQ(Volume("0;0;0;0;1"), "1 objects\n");
}

TEST_F(DLPCacheVerdictTest, VolumeNamesEveryPartThatIsNotZero) {
    EXPECT_EQ(Volume("1;2;3;4;5"), "1 pages, 2 lines, 3 words, 4 images, 5 objects\n");
    EXPECT_EQ(Volume("0;2;0;4;0"), "2 lines, 4 images,\n");
    EXPECT_EQ(Volume("0;0;0;0;0"), "");
    EXPECT_EQ(Volume("00;;0;0;0"), "00 pages,  lines,\n");
}

TEST_F(DLPCacheVerdictTest, VolumeOfOtherThanFivePartsGivesNothing) {
    EXPECT_EQ(Volume("2;3"), "");
    EXPECT_EQ(Volume("1;2;3;4;5;6"), "");
    EXPECT_EQ(Volume("1;2;3;4;5;"), "");
    EXPECT_EQ(Volume(""), "");
}

TEST_F(DLPCacheVerdictTest, RuleKindDecidesWhichRulesApply) {
    EXPECT_EQ(Verdict(Node({Item(1, 1002), Item(2, 2001), Item(3, 3001), Item(4, 4001)})),
              "expression 7 times\nname is first\nclass is first\n-\n");
    EXPECT_EQ(Verdict(Node({Item(2, 1002), Item(1, 2001), Item(4, 3001), Item(3, 4001)})), "");
    EXPECT_EQ(Verdict(Node({Item(0, 1002), Item(5, 1002), Item(-1, 4001)})), "");
}

TEST_F(DLPCacheVerdictTest, NodeGivesTheLinesOfAllItsAttachNodesInOrder) {
    QVKKeywordMatchNode node = Node({Keyword("a", "", 1), Keyword("b", "", 2)});
    node.attach_nodes.push_back({});
    node.attach_nodes.push_back({{Keyword("c", "", 3)}});
    EXPECT_EQ(Verdict(node), "a(1)\nb(2)\nc(3)\n");
    EXPECT_EQ(Verdict(QVKKeywordMatchNode()), "");
}

TEST_F(DLPCacheVerdictTest, SensitiveItemOfOneNodeGivesItsVerdict) {
    QVKKeywordMatchItem item = SensitiveItem();
    EXPECT_EQ(Verdict(item), "abc(3)\n");
    item.match_nodes.push_back(item.match_nodes[0]);
    EXPECT_EQ(Verdict(item), "");
    item.match_nodes.clear();
    EXPECT_EQ(Verdict(item), "");
}

TEST_F(DLPCacheVerdictTest, ItemThatIsNotSensitiveGivesNothing) {
    QVKKeywordMatchItem item = SensitiveItem();
    item.sensitive = false;
    item.match_nodes[0].sensitive = true;
    EXPECT_EQ(Verdict(item), "");
}

TEST_F(DLPCacheVerdictTest, SensitiveResultOfOneItemGivesItsVerdict) {
    QVKKeywordMatchResult result;
    result.sensitive = true;
    EXPECT_EQ(Verdict(result), "");
    result.match_items.push_back(SensitiveItem());
    EXPECT_EQ(Verdict(result), "abc(3)\n");
}

TEST_F(DLPCacheVerdictTest, ResultThatIsNotSensitiveGivesNothing) {
    QVKKeywordMatchResult result;
    result.match_items.push_back(SensitiveItem());
    EXPECT_EQ(Verdict(result), "");
}

TEST_F(DLPCacheVerdictTest, SensitiveResultOfTwoItemsGivesNothing) {
    QVKKeywordMatchResult result;
    result.sensitive = true;
    result.match_items = {SensitiveItem(), SensitiveItem()};
    EXPECT_EQ(Verdict(result), "");
}

TEST_F(DLPCacheVerdictTest, SensitiveResultWhoseItemIsNotGivesNothing) {
    QVKKeywordMatchResult result;
    result.sensitive = true;
    result.match_items.push_back(SensitiveItem());
    result.match_items[0].sensitive = false;
    EXPECT_EQ(Verdict(result), "");
}

}  // namespace
