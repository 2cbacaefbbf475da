#include <memory>
#include <string>

#include "tools/torvane/cli/Command.h"
#include "tools/torvane/commands/Rebuilding.h"

namespace torvane {

Runner AddRepair(CLI::App& app) {
    auto const out = std::make_shared<std::string>();
    CLI::App* const command = app.add_subcommand("repair", "Make a new root of every sound record");
    command->add_option("--out", *out, "The new root: a directory that is missing or empty")
        ->required()
        ->type_name("DIR");
    return [out](Context const& context) { return RebuildRoot(Purpose::kRepair, *out, {"repair", 1}, context); };
}

}  // namespace torvane
