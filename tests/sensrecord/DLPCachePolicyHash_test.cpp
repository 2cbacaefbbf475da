#include "sensrecord/DLPCachePolicyHash.h"

#include <gtest/gtest.h>

#include <climits>

namespace {

HString HashOf(long long stamp) {
    QVKPolicySensitiveFileAuditNode node;
    node.policy->time_stamp = stamp;
    return DLPCache::GetPolicyHash(node);
}

TEST(PolicyHash, IsTheTimeStampInDecimal) {
    EXPECT_EQ(HashOf(1700000000), "1700000000");
    EXPECT_EQ(HashOf(0), "0");
    EXPECT_EQ(HashOf(-1), "-1");
    EXPECT_EQ(HashOf(LLONG_MAX), "9223372036854775807");
    EXPECT_EQ(HashOf(LLONG_MIN), "-9223372036854775808");
}

TEST(PolicyHash, LooksAtNothingElse) {
    QVKPolicySensitiveFileAuditNode node;
    node.policy->time_stamp = 5;
    node.policy->id = "P";
    node.policy->record_key = "key";
    node.flags = 8;
    node.keep = true;
    EXPECT_EQ(DLPCache::GetPolicyHash(node), HashOf(5));
}

TEST(PolicyHash, PolicyWithoutAHeaderIsOfTimeZero) {
    QVKPolicySensitiveFileAuditNode node;
    node.policy = nullptr;
    EXPECT_EQ(DLPCache::GetPolicyHash(node), "0");
}

}  // namespace
