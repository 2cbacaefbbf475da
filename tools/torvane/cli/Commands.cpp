#include "tools/torvane/cli/CommandLine.h"

namespace torvane {

std::span<CommandEntry const> AllCommands() {
    static constexpr CommandEntry kCommands[] = {
        {"stat", AddStat, true},
        {"ls", AddLs},
        {"show", AddShow, true},
        {"why", AddWhy, true},
        {"verify", AddVerify, true},
        {"repair", AddRepair, true},
        {"compact", AddCompact, true},
        {"export", AddExport},
        {"tail", AddTail},
        {"config", AddConfig},
        {"completion", AddCompletion},
    };
    return kCommands;
}

}  // namespace torvane
