#include "tests/task/RemovalFixture.h"

#include <algorithm>
#include <memory>

#include "host/policy/KwDefineMgr.h"
#include "task/DLPCacheTaskStore.h"

RemovalFixture::RemovalFixture() {
    registry_.reset();
    definitions_.templates.nodes.push_back(MakeTpl("T2", {"R2"}));
    Install();
}

void RemovalFixture::Edit(std::string const& tpl_id) {
    auto const is_wanted = [&](auto const& tpl) { return tpl.common->id == HString(tpl_id); };
    auto const tpl = std::ranges::find_if(definitions_.templates.nodes, is_wanted);
    ASSERT_NE(tpl, definitions_.templates.nodes.end());
    std::string const rule_id = "R" + std::to_string(definitions_.rules.nodes.size() + 1);
    definitions_.rules.nodes.push_back(MakeRule(rule_id, 1001));
    tpl->rule_ids.emplace_back(rule_id);
    Install();
}

void RemovalFixture::RemoveTpl(std::string const& tpl_id) {
    std::erase_if(definitions_.templates.nodes, [&](auto const& tpl) { return tpl.common->id == HString(tpl_id); });
    Install();
}

std::string RemovalFixture::MakeCache(std::string const& tpl_id) {
    auto const& tpl = *KwDefineMgr::pins()->get_tpl_by_id(HString(tpl_id));
    HString const md5 = KwDefineMgr::pins()->get_md5_by_tpl(tpl);
    EXPECT_EQ(Caches().GetCache(tpl, md5)->Add(HString("key"), TwoItems(), MakeText("text"), "name"), 1);
    return md5.get_str();
}

bool RemovalFixture::HasCache(std::string const& md5, std::string const& tpl_id) const {
    return Exists(Dir(tpl_id, md5));
}

ScanTask& RemovalFixture::MakeUser(std::string const& id, std::vector<HString> const& tpl_ids) {
    QVKPolicySensitiveFileAuditNode policy = Policy("P1");
    policy.tpl_ids = tpl_ids;
    return MakeTaskOf(policy, id);
}

ScanTask& RemovalFixture::AddUser(std::string const& id, std::vector<HString> const& tpl_ids, Writer writer) {
    ScanTask& task = MakeUser(id, tpl_ids);
    Registry().AddTask(&task);
    if (writer == Writer::kOpen) {
        EXPECT_NE(Registry().GetCache(HString(id)), nullptr);
    } else {
        DLPCacheTaskStore const of_an_earlier_process(task);
    }
    return task;
}

ScanTask& RemovalFixture::AddHistoryProbe() {
    ScanTask& probe = MakeTaskOf(Policy("gone"), "history probe");
    Registry().AddTask(&probe);
    return probe;
}
