#include "tools/torvane/commands/Listed.h"

#include <algorithm>

#include "tools/torvane/ExitStatus.h"
#include "tools/torvane/cli/Nearest.h"

namespace torvane {

namespace {

struct ListedKind {
    std::string name;
    bool by_template;
    bool by_task;
    bool by_policy;
    bool by_match;
    std::vector<Column> columns;
    std::vector<Column> more;   // CSV, too
    std::vector<Column> texts;  // with --show-text
};

Column Plain(char const* name) {
    return {name, name};
}

Column Number(char const* name, char const* title) {
    return {name, title, true};
}

// In the order of Listed.
std::vector<ListedKind> const& Kinds() {
    static std::vector<ListedKind> const kinds = {
        {"templates",
         true,
         false,
         false,
         false,
         {{"id", "ID"},
          {"name", "NAME"},
          {"md5", "MD5"},
          {"current", "CURRENT"},
          {"made", "MADE"},
          Number("rules", "RULES"),
          {"data_class", "CLASS"},
          {"data_level", "LEVEL"},
          {"depends_on_name", "BY NAME"},
          Number("buckets", "BUCKETS"),
          {"state", "STATE"},
          {"damage", "DAMAGE"}},
         {Plain("directory")},
         {}},
        {"answers",
         true,
         false,
         false,
         true,
         {{"template", "TEMPLATE"},
          {"template_md5", "TEMPLATE MD5"},
          {"key", "KEY"},
          {"matched", "MATCHED"},
          Number("rules", "RULES"),
          Number("text_bytes", "TEXT"),
          Number("slot", "SLOT"),
          Number("offset", "OFFSET"),
          Number("length", "LENGTH"),
          {"state", "STATE"},
          {"name", "NAME"},
          {"damage", "DAMAGE"}},
         {},
         {}},
        {"tasks",
         false,
         true,
         true,
         false,
         {{"id", "ID"},
          {"name", "NAME"},
          {"status", "STATUS"},
          {"started", "STARTED"},
          {"ended", "ENDED"},
          {"policy", "POLICY"},
          Number("policy_version", "POLICY VERSION"),
          Number("findings", "FINDINGS"),
          {"state", "STATE"},
          {"damage", "DAMAGE"}},
         {Plain("handle"), Plain("by_policy"), Plain("templates"), Plain("keep"), Plain("note"), Plain("directory")},
         {}},
        {"findings",
         true,
         true,
         false,
         false,
         {{"task", "TASK"},
          Number("sn", "SN"),
          {"md5", "MD5"},
          Number("size", "SIZE"),
          {"modified", "MODIFIED"},
          {"found", "FOUND"},
          {"templates", "TEMPLATES"},
          {"state", "STATE"},
          {"path", "PATH"},
          {"damage", "DAMAGE"}},
         {Plain("created"), Plain("verdict_length"), Plain("extra_length"), Plain("slot"), Plain("offset"),
          Plain("length")},
         {{"verdict", "VERDICT"}, {"extra", "EXTRA"}}},
        {"counters",
         false,
         false,
         true,
         false,
         {{"policy", "POLICY"},
          Number("policy_version", "POLICY VERSION"),
          {"key", "KEY"},
          Number("realtime", "REALTIME"),
          Number("by_policy", "BY POLICY"),
          Number("tool", "TOOL"),
          Number("slot", "SLOT"),
          Number("offset", "OFFSET"),
          {"state", "STATE"},
          {"damage", "DAMAGE"}},
         {Plain("length")},
         {}},
        {"texts",
         true,
         true,
         false,
         false,
         {{"task", "TASK"},
          {"name", "NAME"},
          Number("bytes", "BYTES"),
          {"text_template", "TEMPLATE"},
          Number("lines", "LINES"),
          Number("positions", "POSITIONS"),
          Number("text_length", "TEXT"),
          {"text_path", "TEXT PATH"},
          {"state", "STATE"},
          {"damage", "DAMAGE"}},
         {Plain("file"), Plain("second_text_length"), Plain("second_text_path"), Plain("second_positions")},
         {{"text", "TEXT"}, {"second_text", "SECOND TEXT"}}},
    };
    return kinds;
}

ListedKind const& KindOf(Listed listed) {
    return Kinds()[static_cast<std::size_t>(listed)];
}

}  // namespace

std::vector<std::string> const& ListedNames() {
    static std::vector<std::string> const names = [] {
        std::vector<std::string> all;
        for (ListedKind const& kind : Kinds())
            all.push_back(kind.name);
        return all;
    }();
    return names;
}

Listed ListedOf(std::string const& name) {
    auto const& names = ListedNames();
    auto const found = std::find(names.begin(), names.end(), name);
    if (found == names.end()) {
        throw Stop(ExitStatus::kUsage,
                   "'" + name + "' is none of " + ListOf(names) + "; did you mean '" + NearestTo(name, names) + "'?");
    }
    return static_cast<Listed>(found - names.begin());
}

std::string ListedType() {
    std::string type("{");
    type.append(ListOf(ListedNames())).append("}");
    std::erase(type, ' ');
    return type;
}

std::vector<Column> ColumnsOf(Listed listed, bool all, bool show_text) {
    ListedKind const& kind = KindOf(listed);
    std::vector<Column> columns = kind.columns;
    if (all) columns.insert(columns.end(), kind.more.begin(), kind.more.end());
    if (show_text) columns.insert(columns.end(), kind.texts.begin(), kind.texts.end());
    return columns;
}

void ListFilter::CheckFor(Listed listed) const {
    ListedKind const& kind = KindOf(listed);
    auto const refuse = [&](char const* option) {
        throw Stop(ExitStatus::kUsage, std::string(option) + " does not go with " + kind.name);
    };
    if (!template_id.empty() && !kind.by_template) refuse("--template");
    if (!task_id.empty() && !kind.by_task) refuse("--task");
    if (!policy_id.empty() && !kind.by_policy) refuse("--policy");
    if (matched && !kind.by_match) refuse(*matched ? "--match" : "--no-match");
}

}  // namespace torvane
