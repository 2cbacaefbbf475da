#include "examples/scanner/AuditPolicy.h"

#include <gmock/gmock.h>

#include <ctime>
#include <filesystem>
#include <limits>
#include <memory>
#include <stdexcept>

#include "host/policy/KwLocateMgr.h"
#include "host/policy/QVKPolicySensitiveFileAuditVTMgr.h"
#include "tests/examples/scanner/PutPolicy.h"
#include "tests/examples/scanner/TempTree.h"

namespace scanner {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::Ge;
using testing::Le;

constexpr char kRecord[] = "root/config/PolicySensitiveFileAudit.arc";

class AuditPolicies : public testing::Test {
  protected:
    AuditPolicies() { KwLocateMgr::pins()->set_root(HString(tree_ / "root")); }

    static long long Version(HString const& id, std::vector<HString> const& tpl_ids) {
        return PutPolicyInForce(id, tpl_ids).header().time_stamp;
    }
    static QVKPolicySensitiveFileAuditVT OnDisk() {
        QVKPolicySensitiveFileAuditVT table;
        EXPECT_EQ(table.from_file(KwLocateMgr::pins()->get_policy_keyword_sens()), 0);
        return table;
    }

    TempTree tree_;
};

TEST_F(AuditPolicies, HaveTheirTemplatesAndTheTimeAsTheirVersion) {
    long long const before = std::time(nullptr);
    auto const node = PutPolicyInForce("daily", {"a", "b"});
    EXPECT_THAT(node.header().time_stamp, AllOf(Ge(before), Le(std::time(nullptr))));
    EXPECT_EQ(node.header().id, "daily");
    EXPECT_EQ(node.header().record_key, "daily");
    EXPECT_THAT(node.tpl_ids, ElementsAre(HString("a"), HString("b")));
    EXPECT_FALSE(node.keep);
}

TEST_F(AuditPolicies, AreInForceAndKeptForLaterProcesses) {
    long long const version = Version("daily", {"a"});
    QVKPolicySensitiveFileAuditVT in_force;
    ASSERT_TRUE(QVKPolicySensitiveFileAuditVTMgr::pins()->get(in_force, false));
    ASSERT_EQ(in_force.nodes.size(), 1U);
    EXPECT_EQ(in_force.nodes[0].header().time_stamp, version);
    ASSERT_EQ(OnDisk().nodes.size(), 1U);
    EXPECT_EQ(OnDisk().nodes[0].header().time_stamp, version);
}

TEST_F(AuditPolicies, OfAnEarlierProcessAreInForceAgain) {
    long long const version = Version("daily", {"a"});
    ASSERT_TRUE(QVKPolicySensitiveFileAuditVTMgr::pins()->set_no_write_to_arc(QVKPolicySensitiveFileAuditVT()));
    EXPECT_EQ(Version("daily", {"a"}), version);
    QVKPolicySensitiveFileAuditVT in_force;
    ASSERT_TRUE(QVKPolicySensitiveFileAuditVTMgr::pins()->get(in_force, false));
    EXPECT_EQ(in_force.nodes.size(), 1U);
}

TEST_F(AuditPolicies, KeepTheirVersionWhileTheirTemplatesStay) {
    long long const version = Version("daily", {"a", "b"});
    EXPECT_EQ(Version("daily", {"a", "b"}), version);
    EXPECT_EQ(Version("daily", {"b", "a"}), version);
}

TEST_F(AuditPolicies, GetAGreaterVersionWithEveryChangeAlsoWithinOneSecond) {
    long long last = 0;
    for (std::vector<HString> const& tpl_ids : {std::vector<HString>{"a"}, {"a", "b"}, {"b"}, {}, {"b", "b"}}) {
        long long const version = Version("daily", tpl_ids);
        EXPECT_GT(version, last);
        last = version;
    }
}

TEST_F(AuditPolicies, LeaveOtherPoliciesAsTheyAre) {
    long long const version = Version("daily", {"a"});
    (void)Version("weekly", {"b"});
    (void)Version("weekly", {"c"});
    EXPECT_EQ(OnDisk().nodes.size(), 2U);
    EXPECT_EQ(Version("daily", {"a"}), version);
}

TEST_F(AuditPolicies, ThatAreOnlyPlannedAreNeitherWrittenNorInForce) {
    long long const version = Version("daily", {"a"});
    EXPECT_GT(PlanPolicy("daily", {"b"}).node.header().time_stamp, version);
    EXPECT_EQ(OnDisk().nodes[0].header().time_stamp, version);
    QVKPolicySensitiveFileAuditVT in_force;
    ASSERT_TRUE(QVKPolicySensitiveFileAuditVTMgr::pins()->get(in_force, false));
    EXPECT_EQ(in_force.nodes[0].header().time_stamp, version);
}

TEST_F(AuditPolicies, OfTheLastVersionThereIsAreNotChanged) {
    constexpr long long kLast = std::numeric_limits<long long>::max();
    (void)Version("daily", {"a"});
    QVKPolicySensitiveFileAuditVT table = OnDisk();
    auto const header = std::make_shared<QVKPolicyCommon>(table.nodes[0].header());
    header->time_stamp = kLast;
    table.nodes[0].policy = header;
    ASSERT_EQ(table.to_file(KwLocateMgr::pins()->get_policy_keyword_sens()), 0);
    EXPECT_THROW((void)PlanPolicy("daily", {"b"}), std::runtime_error);
    EXPECT_EQ(Version("daily", {"a"}), kLast);
}

TEST_F(AuditPolicies, HaveAnIdThatAFileCanHave) {
    EXPECT_NO_THROW((void)PlanPolicy(HString(std::string(255, 'x')), {"a"}));
    EXPECT_THROW((void)PlanPolicy(HString(std::string(256, 'x')), {"a"}), std::runtime_error);
    EXPECT_THROW((void)PlanPolicy(HString(std::string(86, '/')), {"a"}), std::runtime_error);  // "%2F" each
}

TEST_F(AuditPolicies, AreNotWrittenOverARecordFileThatCannotBeRead) {
    tree_.Write(kRecord, "damaged");
    EXPECT_THROW((void)PutPolicyInForce("daily", {"a"}), std::runtime_error);
    EXPECT_EQ(tree_.Read(kRecord), "damaged");
}

TEST_F(AuditPolicies, ThatCannotBeWrittenAreAnError) {
    tree_.Write("root/config", "in the way");
    EXPECT_THROW((void)PutPolicyInForce("daily", {"a"}), std::runtime_error);
}

}  // namespace
}  // namespace scanner
