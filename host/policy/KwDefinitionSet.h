#pragma once

#include <vector>

#include "host/base/HString.h"
#include "host/policy/KwDefinitions.h"
#include "host/policy/KwNodeIndex.h"

// What a set of definitions says about one template.
struct KwTemplateFacts {
    std::vector<QVKConfigKeywordFormatItemNode const*> rules;  // those that are defined, in the template's order
    std::vector<int> sub_types;                                // of the rules, ascending, each once
    HString md5;                                               // see KwDefineMgr::get_md5_by_tpl
};

// One state of a manager's definitions. Immutable once made, so any thread may read; what concerns its templates is
// worked out when it is made, and its MD5 noted in the template itself. The owner keeps it as long as anybody may hold
// one of its records, and links it to the set that it replaced. The constructor throws std::bad_alloc, so do `FactsOf`
// and `TemplatesById`, nothing else does.
class KwDefinitionSet {
  public:
    explicit KwDefinitionSet(KwDefinitions definitions);
    KwDefinitionSet(KwDefinitionSet const&) = delete;
    KwDefinitionSet& operator=(KwDefinitionSet const&) = delete;

    [[nodiscard]] KwNodeIndex<QVKConfigKeywordTemplateNode> const& templates() const noexcept { return templates_; }
    [[nodiscard]] KwNodeIndex<QVKConfigKeywordFormatItemNode> const& rules() const noexcept { return rules_; }
    [[nodiscard]] KwNodeIndex<QVKConfigKeywordDataClassNode> const& data_classes() const noexcept {
        return data_classes_;
    }
    [[nodiscard]] KwNodeIndex<QVKConfigKeywordDataLevelNode> const& data_levels() const noexcept {
        return data_levels_;
    }

    // The templates in id order. Throws std::bad_alloc.
    [[nodiscard]] std::vector<QVKConfigKeywordTemplateNode const*> TemplatesById() const;

    // What is known of a template that lies in this set; null for any other record.
    [[nodiscard]] KwTemplateFacts const* FactsHere(QVKConfigKeywordTemplateNode const& tpl) const noexcept;
    // Works the same out for any record, with the rules of this set.
    [[nodiscard]] KwTemplateFacts FactsOf(QVKConfigKeywordTemplateNode const& tpl) const;

    // The set that this one replaced, or null; set before the set is published.
    KwDefinitionSet const* older = nullptr;

  private:
    KwNodeIndex<QVKConfigKeywordTemplateNode> templates_;
    KwNodeIndex<QVKConfigKeywordFormatItemNode> rules_;
    KwNodeIndex<QVKConfigKeywordDataClassNode> data_classes_;
    KwNodeIndex<QVKConfigKeywordDataLevelNode> data_levels_;
    std::vector<KwTemplateFacts> facts_;  // one per template
};
