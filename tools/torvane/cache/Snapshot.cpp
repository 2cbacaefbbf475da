#include "tools/torvane/cache/Snapshot.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>

#include "host/policy/KwArchivePath.h"
#include "tools/torvane/ExitStatus.h"
#include "tools/torvane/cache/FileView.h"
#include "tools/torvane/cache/StoreView.h"

namespace torvane {

namespace {

using Rule = QVKConfigKeywordFormatItemNode;
using Rules = std::map<std::string, Rule const*>;

std::string IdOf(std::shared_ptr<QVKCommon> const& common) {
    return common ? common->id.get_str() : std::string();
}

HString NameOf(std::shared_ptr<QVKCommon> const& common) {
    return common ? common->name : HString();
}

Rules RulesOf(Snapshot const& snapshot, QVKConfigKeywordTemplateNode const& tpl) {
    std::vector<Rule const*> list;
    (void)snapshot.definitions().get_rules_by_tpl(tpl, list);
    Rules rules;
    for (Rule const* const rule : list)
        rules.emplace(IdOf(rule->common), rule);
    return rules;
}

void CompareRules(Rule const& before, Rule const& after, std::vector<Difference>& found) {
    std::string const id = IdOf(before.common);
    auto const number = [&](char const* field, int old_value, int new_value) {
        if (old_value == new_value) return;
        found.push_back({"rule", id, field, std::to_string(old_value), std::to_string(new_value)});
    };
    // What a rule looks for is not shown, only that it is another one.
    auto const text = [&](char const* field, HString const& old_value, HString const& new_value) {
        if (old_value != new_value) found.push_back({"rule", id, field, {}, {}});
    };
    text("name", NameOf(before.common), NameOf(after.common));
    number("sub-type", before.sub_type, after.sub_type);
    number("rule type", before.rule_type, after.rule_type);
    text("rule text", before.rule_text, after.rule_text);
    text("description", before.description, after.description);
    number("least count", before.min_count, after.min_count);
}

void CompareIds(char const* field, HString const& before, HString const& after, std::vector<Difference>& found) {
    if (before != after) found.push_back({"template", {}, field, before.get_str(), after.get_str()});
}

}  // namespace

Snapshot::Snapshot(std::string const& directory) {
    for (int look = 1; look == 1 || (changed_ && look <= kLooks); ++look)
        Read(directory);
}

void Snapshot::Read(std::string const& directory) {
    damaged_ = false;
    exists_ = false;
    made_ = 0;
    std::vector<FileView> files;
    for (char const* const name :
         {Varnok::kTemplateArchive, Varnok::kFormatItemArchive, Varnok::kDataClassArchive, Varnok::kDataLevelArchive}) {
        files.emplace_back(directory + "/" + name);
        FileView const& file = files.back();
        file.RequireReadable();
        // None of the library's files: as if it were damaged, and not opened.
        if (file.state() == FileView::State::kForeign) damaged_ = true;
        if (name == Varnok::kTemplateArchive && file.state() != FileView::State::kMissing) {
            exists_ = true;
            made_ = file.status().st_mtim.tv_sec;
        }
    }
    definitions_ = std::make_unique<KwDefineMgr>();
    definitions_->set_config_path(HString(directory + "/"));
    int const error = definitions_->load();
    changed_ = std::any_of(files.begin(), files.end(), [](FileView const& file) { return file.HasChanged(); });
    if (error == 0) return;
    bool const has_foreign = damaged_;
    damaged_ = true;
    if (has_foreign) return;  // which says it all, whatever comes of opening it
    if (error != EBADMSG && error != ELOOP && error != EISDIR && error != ENOTDIR && error != ENXIO) {
        throw Stop(ExitStatus::kIo, "cannot read the definitions in " + directory + ": " + std::strerror(error));
    }
}

QVKConfigKeywordTemplateNode const* Snapshot::Template(std::string const& id) const {
    return definitions_->get_tpl_by_id(HString(id));
}

std::string Snapshot::Md5Of(std::string const& template_id) const {
    auto const* const tpl = Template(template_id);
    return tpl == nullptr ? std::string() : definitions_->get_md5_by_tpl(*tpl).get_str();
}

bool Snapshot::DependsOnName(std::string const& template_id) const {
    auto const* const tpl = Template(template_id);
    return tpl != nullptr &&
           (definitions_->is_exist_rule_sub_type(*tpl, 2001) || definitions_->is_exist_rule_sub_type(*tpl, 2002));
}

std::vector<Difference> Differences(Snapshot const& before, Snapshot const& after, std::string const& template_id) {
    std::vector<Difference> found;
    auto const* const old_tpl = before.Template(template_id);
    auto const* const new_tpl = after.Template(template_id);
    if (old_tpl == nullptr || new_tpl == nullptr) {
        if (old_tpl != nullptr) found.push_back({"template", {}, "removed", {}, {}});
        if (new_tpl != nullptr) found.push_back({"template", {}, "added", {}, {}});
        return found;
    }
    CompareIds("data class", old_tpl->data_class_id, new_tpl->data_class_id, found);
    CompareIds("data level", old_tpl->data_level_id, new_tpl->data_level_id, found);
    Rules const old_rules = RulesOf(before, *old_tpl);
    Rules const new_rules = RulesOf(after, *new_tpl);
    for (auto const& [id, rule] : old_rules) {
        auto const same = new_rules.find(id);
        if (same == new_rules.end()) {
            found.push_back({"rule", id, "removed", {}, {}});
        } else {
            CompareRules(*rule, *same->second, found);
        }
    }
    for (auto const& [id, rule] : new_rules) {
        if (!old_rules.contains(id)) found.push_back({"rule", id, "added", {}, {}});
    }
    return found;
}

}  // namespace torvane
