#pragma once

#include <initializer_list>
#include <string>

#include "host/policy/KwDefinitions.h"

// Definitions as tests want them, in one line each.
namespace definitions {

inline QVKConfigKeywordTemplateNode Template(char const* id, std::initializer_list<char const*> rule_ids = {}) {
    QVKConfigKeywordTemplateNode node;
    node.common->id = id;
    node.common->name = "template";
    node.data_class_id = "C1";
    node.data_level_id = "L1";
    for (char const* rule_id : rule_ids)
        node.rule_ids.emplace_back(rule_id);
    return node;
}

inline QVKConfigKeywordFormatItemNode Rule(char const* id, int sub_type = 1001, char const* rule_text = "secret") {
    QVKConfigKeywordFormatItemNode node;
    node.common->id = id;
    node.common->name = "rule";
    node.sub_type = sub_type;
    node.rule_type = sub_type / 1000;
    node.rule_text = rule_text;
    return node;
}

inline QVKConfigKeywordDataClassNode DataClass(char const* id, char const* name = "class") {
    QVKConfigKeywordDataClassNode node;
    node.common->id = id;
    node.common->name = name;
    return node;
}

inline QVKConfigKeywordDataLevelNode DataLevel(char const* id, int level = 1) {
    QVKConfigKeywordDataLevelNode node;
    node.common->id = id;
    node.common->name = "level";
    node.level = level;
    return node;
}

// Template "T1" with the rules "R1" (content) and "R2" (file name), class "C1" and level "L1".
inline KwDefinitions Small() {
    KwDefinitions all;
    all.templates.nodes = {Template("T1", {"R1", "R2"})};
    all.rules.nodes = {Rule("R1"), Rule("R2", 2001, "*.doc")};
    all.data_classes.nodes = {DataClass("C1")};
    all.data_levels.nodes = {DataLevel("L1")};
    return all;
}

inline std::string Narrow(HString const& text) {
    return text.get_str();
}

}  // namespace definitions
