#include <memory>
#include <string>

#include "tools/torvane/cli/Command.h"
#include "tools/torvane/commands/Rebuilding.h"

namespace torvane {

Runner AddCompact(CLI::App& app) {
    auto const out = std::make_shared<std::string>();
    CLI::App* const command = app.add_subcommand("compact", "Make a new root without dead bytes and repeated slots");
    command->add_option("--out", *out, "The new root: a directory that is missing or empty")
        ->required()
        ->type_name("DIR");
    return [out](Context const& context) { return RebuildRoot(Purpose::kCompact, *out, {"compact", 1}, context); };
}

}  // namespace torvane
