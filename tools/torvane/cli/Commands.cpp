#include "tools/torvane/cli/CommandLine.h"

namespace torvane {

std::span<CommandEntry const> AllCommands() {
    static constexpr CommandEntry kCommands[] = {
        {"stat", AddStat},
        {"ls", AddLs},
        {"show", AddShow},
        {"why", AddWhy},
        {"verify", AddVerify},
        {"repair", AddRepair},
        {"compact", AddCompact},
        {"export", AddExport},
        {"tail", AddTail},
        {"config", AddConfig},
        {"completion", AddCompletion},
    };
    return kCommands;
}

}  // namespace torvane
