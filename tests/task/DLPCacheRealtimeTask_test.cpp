#include "task/DLPCacheRealtimeTask.h"

#include <cstdlib>
#include <ctime>

#include "tests/task/RegistryFixture.h"

namespace {

using DLPCache::GetRealtimeTaskID;
using DLPCache::IsRealtimeTask;

class DLPCacheRealtimeTaskTest : public RegistryFixture {
  protected:
    // 2024-07-10 15:05:03 UTC.
    static QVKPolicySensitiveFileAuditNode Node(std::string const& policy_id, int flags) {
        QVKPolicySensitiveFileAuditNode node = Policy(policy_id, 1720623903);
        node.flags = flags;
        return node;
    }
};

TEST_F(DLPCacheRealtimeTaskTest, IdIsFifteenZerosAndTheVersionsTime) {
    EXPECT_EQ(GetRealtimeTaskID(Node("P1", 0)).get_str(), "000000000000000-20240710150503");
    EXPECT_EQ(GetRealtimeTaskID(Node("P1", 7 | 16)).get_str(), "000000000000000-20240710150503");
}

TEST_F(DLPCacheRealtimeTaskTest, IdWithTheFlagCarriesThePolicyIdInLowerCaseWithoutDashesAround) {
    EXPECT_EQ(GetRealtimeTaskID(Node("--Ab-C--", 8)).get_str(), "ab-c-20240710150503");
    EXPECT_EQ(GetRealtimeTaskID(Node("{ÄB}", 15)).get_str(), "{Äb}-20240710150503");
    EXPECT_EQ(GetRealtimeTaskID(Node("---", 8)).get_str(), "-20240710150503");
    EXPECT_EQ(GetRealtimeTaskID(Node("", 8)).get_str(), "-20240710150503");
}

TEST_F(DLPCacheRealtimeTaskTest, IdOfAnEmptyPolicyIsThatOfTheYear1970) {
    QVKPolicySensitiveFileAuditNode node;
    node.policy = nullptr;
    EXPECT_EQ(GetRealtimeTaskID(node).get_str(), "000000000000000-19700101000000");
}

TEST_F(DLPCacheRealtimeTaskTest, IdDoesNotMoveWithTheTimeZone) {
    ASSERT_EQ(setenv("TZ", "Asia/Tokyo", 1), 0);
    tzset();
    EXPECT_EQ(GetRealtimeTaskID(Node("P1", 0)).get_str(), "000000000000000-20240710150503");
}

TEST_F(DLPCacheRealtimeTaskTest, TaskIsRealtimeExactlyWhenItsIdIsThatOfItsPolicy) {
    auto const is_realtime = [](QVKPolicySensitiveFileAuditNode const& node, char const* id) {
        return IsRealtimeTask(MakeTaskOf(node, id));
    };
    EXPECT_TRUE(is_realtime(Node("P1", 0), "000000000000000-20240710150503"));
    EXPECT_FALSE(is_realtime(Node("P1", 0), "000000000000000-20240710150504"));
    EXPECT_FALSE(is_realtime(Node("P1", 0), "000000000000000-202407101505030"));
    EXPECT_FALSE(is_realtime(Node("P1", 0), "p1-20240710150503"));
    EXPECT_TRUE(is_realtime(Node("-P1-", 8), "p1-20240710150503"));
    EXPECT_FALSE(is_realtime(Node("-P1-", 8), "P1-20240710150503"));
    EXPECT_FALSE(is_realtime(Node("-P1-", 8), "-p1--20240710150503"));
    EXPECT_FALSE(is_realtime(Node("-P1-", 8), "p1"));
    EXPECT_FALSE(is_realtime(Node("-P1-", 8), "p1-"));
    EXPECT_FALSE(is_realtime(Node("-P1-", 8), "000000000000000-20240710150503"));
    EXPECT_TRUE(is_realtime(Node("", 8), "-20240710150503"));
    EXPECT_FALSE(is_realtime(Node("", 8), ""));
    EXPECT_FALSE(is_realtime(Node("P1", 0), ""));
}

TEST_F(DLPCacheRealtimeTaskTest, TaskWithoutPolicyIsRealtimeUnderTheIdOfAnEmptyOne) {
    ScanTask task;
    task.policy = nullptr;
    EXPECT_FALSE(IsRealtimeTask(task));
    task.id = "000000000000000-19700101000000";
    EXPECT_TRUE(IsRealtimeTask(task));
}

}  // namespace
