#include "bench/Definitions.h"

#include <string>

namespace bench {
namespace {

constexpr int kKeywordRule = 1001;
constexpr int kContent = 1;

HString RuleId(std::size_t tpl, std::size_t rule) {
    return HString("rule-" + std::to_string(tpl) + "-" + std::to_string(rule));
}

QVKConfigKeywordTemplateNode MakeTemplate(std::size_t tpl, std::size_t rules) {
    QVKConfigKeywordTemplateNode node;
    node.common->id = TplId(tpl);
    node.common->name = HString("Template " + std::to_string(tpl));
    node.data_class_id = "class";
    node.data_level_id = "level";
    for (std::size_t rule = 0; rule < rules; ++rule)
        node.rule_ids.push_back(RuleId(tpl, rule));
    return node;
}

QVKConfigKeywordFormatItemNode MakeRule(std::size_t tpl, std::size_t rule) {
    QVKConfigKeywordFormatItemNode node;
    node.common->id = RuleId(tpl, rule);
    node.common->name = HString("Rule " + std::to_string(rule));
    node.sub_type = kKeywordRule;
    node.rule_type = kContent;
    node.rule_text = HString("keyword " + std::to_string(rule));
    return node;
}

}  // namespace

HString TplId(std::size_t tpl) {
    return HString("template-" + std::to_string(tpl));
}

KwDefinitions MakeDefinitions(std::size_t templates, std::size_t rules) {
    KwDefinitions definitions;
    for (std::size_t tpl = 0; tpl < templates; ++tpl) {
        definitions.templates.nodes.push_back(MakeTemplate(tpl, rules));
        for (std::size_t rule = 0; rule < rules; ++rule)
            definitions.rules.nodes.push_back(MakeRule(tpl, rule));
    }
    auto& data_class = definitions.data_classes.nodes.emplace_back();
    data_class.common->id = "class";
    data_class.common->name = "Personal data";
    auto& data_level = definitions.data_levels.nodes.emplace_back();
    data_level.common->id = "level";
    data_level.common->name = "Confidential";
    data_level.level = 2;
    return definitions;
}

QVKReportKeywordAttachNode MakeAttachNode(std::size_t tpl, std::size_t rules, HString const& short_name) {
    QVKReportKeywordAttachNode node;
    for (std::size_t rule = 0; rule < rules; ++rule) {
        QVKReportKeywordAttachItem& item = node.items.emplace_back();
        item.tpl_id = TplId(tpl);
        item.rule_id = RuleId(tpl, rule);
        item.rule_type = kContent;
        item.sub_type = kKeywordRule;
        item.rule_text = HString("keyword " + std::to_string(rule));
        item.match_text_1 = "the words around a match";
        item.match_count = static_cast<long long>(rule) + 1;
        item.file_short_name = short_name;
    }
    return node;
}

}  // namespace bench
