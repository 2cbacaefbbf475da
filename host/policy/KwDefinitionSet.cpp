#include "host/policy/KwDefinitionSet.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>

#include "host/base/Md5.h"
#include "host/policy/ArchiveWriter.h"

namespace {

using Template = QVKConfigKeywordTemplateNode;
using Rule = QVKConfigKeywordFormatItemNode;

void PutRule(Varnok::ArchiveWriter& writer, Rule const& rule) {
    writer.PutText(rule.common->id);
    writer.PutText(rule.common->name);
    writer.PutInt32(rule.sub_type);
    writer.PutInt32(rule.rule_type);
    writer.PutText(rule.rule_text);
    writer.PutText(rule.description);
    writer.PutInt32(rule.min_count);
}

HString UpperCaseMd5(std::string_view bytes) {
    Varnok::Md5 md5;
    md5.Update(bytes.data(), bytes.size());
    char hex[32];
    Varnok::Md5::ToHexUpper(md5.Finish(), hex);
    return HString(std::string_view(hex, sizeof hex));
}

// See KwDefineMgr::get_md5_by_tpl for what goes in.
HString Md5Of(Template const& tpl, std::vector<Rule const*> rules) {
    std::sort(rules.begin(), rules.end(), [](Rule const* a, Rule const* b) { return *a < *b; });
    rules.erase(std::unique(rules.begin(), rules.end()), rules.end());
    Varnok::ArchiveWriter writer;
    writer.PutText(tpl.common ? tpl.common->id : HString());
    writer.PutText(tpl.data_class_id);
    writer.PutText(tpl.data_level_id);
    writer.PutCount(rules.size());
    for (Rule const* rule : rules)
        PutRule(writer, *rule);
    return UpperCaseMd5(writer.bytes());
}

}  // namespace

KwDefinitionSet::KwDefinitionSet(KwDefinitions definitions)
    : templates_(std::move(definitions.templates.nodes)),
      rules_(std::move(definitions.rules.nodes)),
      data_classes_(std::move(definitions.data_classes.nodes)),
      data_levels_(std::move(definitions.data_levels.nodes)) {
    facts_.reserve(templates_.nodes().size());
    for (std::size_t position = 0; position < templates_.nodes().size(); ++position) {
        Template& tpl = templates_.NodeAt(position);
        tpl.data_md5 = facts_.emplace_back(FactsOf(tpl)).md5;
    }
}

std::vector<Template const*> KwDefinitionSet::TemplatesById() const {
    std::vector<Template const*> sorted;
    sorted.reserve(templates_.nodes().size());
    for (Template const& tpl : templates_.nodes())
        sorted.push_back(&tpl);
    std::sort(sorted.begin(), sorted.end(), [](Template const* a, Template const* b) { return *a < *b; });
    return sorted;
}

KwTemplateFacts const* KwDefinitionSet::FactsHere(Template const& tpl) const noexcept {
    std::size_t const position = templates_.PositionOf(tpl);
    return position == templates_.kNone ? nullptr : &facts_[position];
}

KwTemplateFacts KwDefinitionSet::FactsOf(Template const& tpl) const {
    KwTemplateFacts facts;
    for (HString const& id : tpl.rule_ids) {
        Rule const* const rule = rules_.Find(id);
        if (rule == nullptr) continue;
        facts.rules.push_back(rule);
        facts.sub_types.push_back(rule->sub_type);
    }
    std::sort(facts.sub_types.begin(), facts.sub_types.end());
    facts.sub_types.erase(std::unique(facts.sub_types.begin(), facts.sub_types.end()), facts.sub_types.end());
    facts.md5 = Md5Of(tpl, facts.rules);
    return facts;
}
