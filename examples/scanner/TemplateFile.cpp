#include "examples/scanner/TemplateFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <nlohmann/json.hpp>
#include <set>
#include <string_view>

namespace scanner {
namespace {

using nlohmann::json;

struct RuleKind {
    char const* name;
    int sub_type;
    int rule_type;
    bool has_text;
};

constexpr std::array kRuleKinds{
    RuleKind{"keyword", kKeyword, kContent, true},
    RuleKind{"regex", kRegex, kContent, true},
    RuleKind{"email", kEmail, kContent, false},
    RuleKind{"bank_card", kBankCard, kContent, false},
    RuleKind{"file_name", kFileName, kFileAttribute, true},
    RuleKind{"file_type", kFileType, kFileAttribute, true},
    RuleKind{"file_size", kFileSize, kFileAttribute, true},
};

// Walks the parsed file, knowing at each point where it is.
class TemplateParser {
  public:
    explicit TemplateParser(std::string source) : source_(std::move(source)) {}

    KwDefinitions Parse(json const& root) {
        CheckMembers(root, "the file", {"data_classes", "data_levels", "templates"});
        for (auto const& [where, entry] : Entries(root, "data_classes", ""))
            AddClass(entry, where);
        for (auto const& [where, entry] : Entries(root, "data_levels", ""))
            AddLevel(entry, where);
        for (auto const& [where, entry] : Entries(root, "templates", ""))
            AddTemplate(entry, where);
        if (definitions_.templates.nodes.empty()) Fail("templates", "must hold at least one template");
        return std::move(definitions_);
    }

  private:
    [[noreturn]] void Fail(std::string const& where, std::string const& what) const {
        throw TemplateFileError(source_ + ": " + where + ": " + what);
    }

    void CheckMembers(json const& object, std::string const& where,
                      std::initializer_list<std::string_view> known) const {
        if (!object.is_object()) Fail(where, "must be an object");
        for (auto const& member : object.items()) {
            if (std::find(known.begin(), known.end(), member.key()) != known.end()) continue;
            Fail(where, "unknown member \"" + member.key() + "\"");
        }
    }

    std::vector<std::pair<std::string, json const&>> Entries(json const& object, std::string const& name,
                                                             std::string const& where) const {
        std::string const path = where.empty() ? name : where + "." + name;
        if (!object.contains(name) || !object.at(name).is_array()) Fail(path, "must be an array");
        std::vector<std::pair<std::string, json const&>> entries;
        for (json const& entry : object.at(name)) {
            entries.emplace_back(path + "[" + std::to_string(entries.size()) + "]", entry);
        }
        return entries;
    }

    std::string Text(json const& object, char const* name, std::string const& where) const {
        if (!object.contains(name) || !object.at(name).is_string()) {
            Fail(where, std::string("\"") + name + "\" must be a text");
        }
        std::string text = object.at(name);
        if (text.empty()) Fail(where, std::string("\"") + name + "\" must not be empty");
        return text;
    }

    int Number(json const& object, char const* name, int least, std::string const& where) const {
        json const& value = object.at(name);
        if (!value.is_number_integer() || value < least || value > 1000000) {
            Fail(where,
                 std::string("\"") + name + "\" must be a whole number from " + std::to_string(least) + " to 1000000");
        }
        return value;
    }

    // The id and name that every entry has. `seen` holds the ids of the entry's kind.
    QVKCommon Common(json const& entry, std::set<std::string>& seen, std::string const& where) const {
        QVKCommon common;
        std::string const id = Text(entry, "id", where);
        if (!seen.insert(id).second) Fail(where, "the id \"" + id + "\" occurs twice");
        common.id = HString(id);
        common.name = HString(Text(entry, "name", where));
        return common;
    }

    void AddClass(json const& entry, std::string const& where) {
        CheckMembers(entry, where, {"id", "name"});
        *definitions_.data_classes.nodes.emplace_back().common = Common(entry, class_ids_, where);
    }

    void AddLevel(json const& entry, std::string const& where) {
        CheckMembers(entry, where, {"id", "name", "level"});
        auto& level = definitions_.data_levels.nodes.emplace_back();
        *level.common = Common(entry, level_ids_, where);
        if (!entry.contains("level")) Fail(where, "\"level\" is missing");
        level.level = Number(entry, "level", 1, where);
    }

    void AddTemplate(json const& entry, std::string const& where) {
        CheckMembers(entry, where, {"id", "name", "data_class", "data_level", "rules"});
        auto& tpl = definitions_.templates.nodes.emplace_back();
        *tpl.common = Common(entry, template_ids_, where);
        tpl.data_class_id = Reference(entry, "data_class", class_ids_, where);
        tpl.data_level_id = Reference(entry, "data_level", level_ids_, where);
        for (auto const& [rule_where, rule] : Entries(entry, "rules", where)) {
            tpl.rule_ids.push_back(AddRule(rule, rule_where));
        }
        if (tpl.rule_ids.empty()) Fail(where + ".rules", "must hold at least one rule");
    }

    HString Reference(json const& entry, char const* name, std::set<std::string> const& ids,
                      std::string const& where) const {
        std::string const id = Text(entry, name, where);
        if (!ids.contains(id)) Fail(where, std::string("no ") + name + " has the id \"" + id + "\"");
        return HString(id);
    }

    HString AddRule(json const& entry, std::string const& where) {
        CheckMembers(entry, where, {"id", "name", "type", "text", "description", "min_count"});
        auto& rule = definitions_.rules.nodes.emplace_back();
        *rule.common = Common(entry, rule_ids_, where);
        RuleKind const& kind = Kind(Text(entry, "type", where), where);
        rule.sub_type = kind.sub_type;
        rule.rule_type = kind.rule_type;
        if (kind.has_text)
            rule.rule_text = HString(Text(entry, "text", where));
        else if (entry.contains("text"))
            Fail(where, std::string("a rule of type ") + kind.name + " has no \"text\"");
        if (entry.contains("description")) rule.description = HString(Text(entry, "description", where));
        if (entry.contains("min_count")) rule.min_count = Number(entry, "min_count", 1, where);
        return rule.common->id;
    }

    RuleKind const& Kind(std::string const& name, std::string const& where) const {
        std::string known;
        for (RuleKind const& kind : kRuleKinds) {
            if (name == kind.name) return kind;
            known += (known.empty() ? "" : ", ") + std::string(kind.name);
        }
        Fail(where, "unknown type \"" + name + "\" (known: " + known + ")");
    }

    std::string source_;
    KwDefinitions definitions_;
    std::set<std::string> class_ids_, level_ids_, template_ids_, rule_ids_;
};

}  // namespace

KwDefinitions ParseTemplates(std::string const& text, std::string const& source) {
    json root;
    try {
        root = json::parse(text);
    } catch (json::parse_error const& error) {
        std::string what = error.what();  // "[json.exception...] parse error at line 2, column 3: ..."
        throw TemplateFileError(source + ": " + what.substr(std::min(what.find("] ") + 2, what.size())));
    }
    return TemplateParser(source).Parse(root);
}

KwDefinitions LoadTemplates(std::string const& path) {
    if (path.empty()) return ParseTemplates(BuiltInTemplates(), "built-in templates");
    std::ifstream file(path, std::ios::binary);
    if (!file) throw TemplateFileError(path + ": " + std::strerror(errno));
    std::string const text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (file.bad()) throw TemplateFileError(path + ": cannot be read");
    return ParseTemplates(text, path);
}

}  // namespace scanner
