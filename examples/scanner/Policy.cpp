#include "examples/scanner/Policy.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <stdexcept>

#include "host/base/HFile.h"
#include "host/policy/KwDefineMgr.h"
#include "host/policy/KwLocateMgr.h"
#include "host/policy/QVKConfigKeywordDataClassVTMgr.h"
#include "host/policy/QVKConfigKeywordDataLevelVTMgr.h"
#include "host/policy/QVKConfigKeywordFormatItemVTMgr.h"
#include "host/policy/QVKConfigKeywordTemplateVTMgr.h"
#include "template/DLPCacheTplMgr.h"

namespace scanner {
namespace {

// The archives are written one by one, so what stands in the way of one is looked for before the first.
void RequireFiles() {
    for (HString const& path : {QVKConfigKeywordFormatItemVTMgr::pins()->get_arc_file(),
                                QVKConfigKeywordDataClassVTMgr::pins()->get_arc_file(),
                                QVKConfigKeywordDataLevelVTMgr::pins()->get_arc_file(),
                                QVKConfigKeywordTemplateVTMgr::pins()->get_arc_file()}) {
        if (HFile::IsOtherThanFile(path))
            throw std::runtime_error("cannot save the definitions: " + path.get_str() + " is no file");
    }
}

}  // namespace

Policy::Policy(KwDefinitions const& definitions) {
    std::map<HString, QVKConfigKeywordFormatItemNode const*> rules;
    for (auto const& rule : definitions.rules.nodes)
        rules.emplace(rule.common->id, &rule);
    for (auto const& node : definitions.templates.nodes) {
        Template& tpl = templates_.emplace_back();
        tpl.id = node.common->id;
        tpl.name = node.common->name.get_str();
        for (HString const& id : node.rule_ids)
            tpl.rules.emplace_back(*rules.at(id));
        tpl.needs_text = std::any_of(tpl.rules.begin(), tpl.rules.end(), [](Rule const& r) { return r.NeedsText(); });
        ids_.push_back(tpl.id);
    }
}

void Policy::Install(KwDefinitions const& definitions) {
    RequireFiles();
    KwDefineMgr* const manager = KwDefineMgr::pins();
    if (manager == nullptr || !manager->install(definitions)) throw std::bad_alloc();
    for (Template& tpl : templates_)
        tpl.md5 = manager->get_md5_by_tpl(*manager->get_tpl_by_id(tpl.id));
    HString const directory = KwLocateMgr::pins()->get_config_path(true);
    if (int const error = definitions.save(directory)) {
        throw std::runtime_error("cannot save the definitions in " + directory.get_str() + ": " + std::strerror(error));
    }
}

bool Policy::IsCurrent(Template const& tpl) {
    auto const* const definition = KwDefineMgr::pins()->get_tpl_by_id(tpl.id);
    return definition != nullptr && KwDefineMgr::pins()->get_md5_by_tpl(*definition) == tpl.md5;
}

void Policy::OpenCaches() const {
    for (Template const& tpl : templates_) {
        auto const* const definition = KwDefineMgr::pins()->get_tpl_by_id(tpl.id);
        DLPCacheTplMgr* const manager = DLPCacheTplMgr::pins();
        if (definition == nullptr || manager == nullptr || manager->GetCache(*definition, tpl.md5) == nullptr) {
            throw std::bad_alloc();
        }
    }
}

}  // namespace scanner
