#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "tools/torvane/cli/Command.h"
#include "tools/torvane/commands/Listing.h"

namespace torvane {

namespace {

constexpr Schema kSchema{"export", 1};

std::vector<Listed> Wanted(std::vector<std::string> const& names) {
    std::vector<Listed> wanted;
    for (std::string const& name : names.empty() ? ListedNames() : names)
        if (Listed const listed = ListedOf(name); std::find(wanted.begin(), wanted.end(), listed) == wanted.end())
            wanted.push_back(listed);
    return wanted;
}

// Those of every kind that is wanted, each once.
std::vector<Column> AllColumns(std::vector<Listed> const& wanted, bool show_text) {
    std::vector<Column> columns{{"kind", "KIND"}};
    for (Listed const listed : wanted) {
        for (Column const& column : ColumnsOf(listed, true, show_text)) {
            bool known = false;
            for (Column const& other : columns)
                known = known || other.name == column.name;
            if (!known) columns.push_back(column);
        }
    }
    return columns;
}

// A table or one document of everything serves nobody: JSON lines, unless the option says something else.
bool IsDefault(Settings const& settings) {
    for (Setting const& setting : settings.all) {
        if (setting.name == "format") return setting.source != "option";
    }
    return true;
}

ExitStatus Write(std::vector<Listed> const& wanted, Settings const& settings, Output& out) {
    CacheRoot const root(settings.root);
    Listing listing(root, {}, settings);
    out.BeginList(kSchema, AllColumns(wanted, settings.show_text));
    for (Listed const listed : wanted) {
        (void)listing.ForEach(listed, [&](Json const& row) {
            out.Row(row);
            return true;
        });
    }
    out.EndList();
    return listing.Status();
}

ExitStatus Run(std::vector<std::string> const& names, Context const& context) {
    Settings const& settings = context.settings;
    std::vector<Listed> const wanted = Wanted(names);
    if (settings.format == Format::kJsonl || settings.format == Format::kCsv) {
        return Write(wanted, settings, context.out);
    }
    if (!IsDefault(settings)) throw Stop(ExitStatus::kUsage, "export takes --format jsonl or --format csv");
    Output lines(Format::kJsonl, false, stdout);
    return Write(wanted, settings, lines);
}

}  // namespace

Runner AddExport(CLI::App& app) {
    auto const names = std::make_shared<std::vector<std::string>>();
    CLI::App* const command = app.add_subcommand("export", "Write everything that ls lists, one object a line");
    command->add_option("what", *names, "templates, answers, tasks, findings, counters, texts; everything by default")
        ->type_name(ListedType());
    return [names](Context const& context) { return Run(*names, context); };
}

}  // namespace torvane
