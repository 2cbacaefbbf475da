#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/torvane/output/Output.h"

namespace torvane {

enum class Listed { kTemplates, kAnswers, kTasks, kFindings, kCounters, kTexts };
// "templates", "answers", ..., in the order above.
[[nodiscard]] std::vector<std::string> const& ListedNames();
// Throws Stop(kUsage) with the nearest right name.
[[nodiscard]] Listed ListedOf(std::string const& name);
// "{templates,answers,...}", the type of an option that takes them.
[[nodiscard]] std::string ListedType();
// The columns of its rows, without "kind": those of a table or, for CSV, `all` members; the texts with `show_text`.
[[nodiscard]] std::vector<Column> ColumnsOf(Listed listed, bool all, bool show_text);

// Which things are listed; empty members leave nothing out.
struct ListFilter {
    std::string template_id;
    std::string task_id;
    std::string policy_id;
    std::optional<bool> matched;

    // Throws Stop(kUsage) for a filter that these things have nothing of.
    void CheckFor(Listed listed) const;
};

}  // namespace torvane
