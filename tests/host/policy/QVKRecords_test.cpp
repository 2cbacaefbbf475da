#include <gtest/gtest.h>

#include "host/policy/ArchiveReader.h"
#include "host/policy/ArchiveWriter.h"
#include "host/policy/QVKKeywordMatchResult.h"
#include "host/policy/QVKTableFile.h"
#include "tests/host/policy/DefinitionBuilder.h"

namespace {

TEST(QVKKeywordMatchResult, ADefaultOneIsUsable) {
    QVKKeywordMatchResult const result;
    ASSERT_NE(result.check_param, nullptr);
    EXPECT_TRUE(result.check_param->file_items.empty());
    EXPECT_FALSE(result.sensitive);
    EXPECT_EQ(result.status, 0);
}

TEST(QVKKeywordMatchNode, ADefaultOneIsUsable) {
    QVKKeywordMatchNode const node;
    ASSERT_NE(node.file_node, nullptr);
    ASSERT_NE(node.tips, nullptr);
    EXPECT_TRUE(node.file_node->file_path.empty());
    EXPECT_EQ(node.tips->data_level, 0);
    EXPECT_EQ(node.tips->position_count, 0U);
}

TEST(QVKReportKeywordAttachNode, ResetForgetsItsItems) {
    QVKReportKeywordAttachNode node;
    node.items.emplace_back().rule_id = "R1";
    node.reset_to_default();
    EXPECT_EQ(node, QVKReportKeywordAttachNode());
}

template <class Node>
class DefinitionRecord : public testing::Test {};
using DefinitionRecords = testing::Types<QVKConfigKeywordTemplateNode, QVKConfigKeywordFormatItemNode,
                                         QVKConfigKeywordDataClassNode, QVKConfigKeywordDataLevelNode>;
TYPED_TEST_SUITE(DefinitionRecord, DefinitionRecords);

TYPED_TEST(DefinitionRecord, ADefaultOneHasAnEmptyCommonPart) {
    TypeParam const node;
    ASSERT_NE(node.common, nullptr);
    EXPECT_TRUE(node.common->id.empty());
}

TYPED_TEST(DefinitionRecord, IsOrderedAndEqualById) {
    TypeParam a;
    TypeParam b;
    a.common->id = "A";
    b.common->id = "B";
    b.common->name = "another name";
    EXPECT_TRUE(a < b);
    EXPECT_FALSE(b < a);
    EXPECT_FALSE(a == b);
    b.common->id = "A";
    EXPECT_TRUE(a == b);
}

TYPED_TEST(DefinitionRecord, WithoutACommonPartCountsAsOneWithAnEmptyId) {
    TypeParam none;
    none.common = nullptr;
    TypeParam named;
    named.common->id = "A";
    EXPECT_TRUE(none == TypeParam());
    EXPECT_TRUE(none < named);
    EXPECT_FALSE(named < none);
}

TYPED_TEST(DefinitionRecord, TheLeastRecordTakesTheLeastBytes) {
    Varnok::ArchiveWriter writer;
    TypeParam().Encode(writer);
    EXPECT_EQ(writer.bytes().size(), TypeParam::kLeastBytes);
    TypeParam none;
    none.common = nullptr;
    Varnok::ArchiveWriter same;
    none.Encode(same);
    EXPECT_EQ(same.bytes(), writer.bytes());
}

TYPED_TEST(DefinitionRecord, ReadingLeavesTheCommonPartOfCopiesAlone) {
    TypeParam written;
    written.common->id = "new";
    Varnok::ArchiveWriter writer;
    written.Encode(writer);
    TypeParam read;
    TypeParam const copy = read;
    Varnok::ArchiveReader reader(writer.bytes());
    ASSERT_TRUE(read.Decode(reader));
    EXPECT_EQ(read.common->id, HString("new"));
    EXPECT_TRUE(copy.common->id.empty());
}

TYPED_TEST(DefinitionRecord, EveryCutOfARecordIsRefused) {
    TypeParam written;
    written.common->id = "id";
    written.common->name = "name";
    Varnok::ArchiveWriter writer;
    written.Encode(writer);
    for (std::size_t length = 0; length < writer.bytes().size(); ++length) {
        std::vector<TypeParam> nodes;
        EXPECT_FALSE(Varnok::DecodeTable(std::string_view(writer.bytes()).substr(0, length), 1, nodes)) << length;
    }
}

}  // namespace
