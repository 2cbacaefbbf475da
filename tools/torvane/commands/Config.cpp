#include "tools/torvane/cli/Command.h"

namespace torvane {

Runner AddConfig(CLI::App& app) {
    app.add_subcommand("config", "Show every setting, its value and where it comes from");
    return [](Context const& context) {
        context.out.BeginList({"config", 1}, {{"name", "SETTING"}, {"value", "VALUE"}, {"source", "SOURCE"}});
        for (Setting const& setting : context.settings.all)
            context.out.Row({{"name", setting.name}, {"value", setting.value}, {"source", setting.source}});
        context.out.EndList();
        return ExitStatus::kYes;
    };
}

}  // namespace torvane
