#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>

#include "tools/torvane/ExitStatus.h"
#include "tools/torvane/cli/Settings.h"
#include "tools/torvane/output/Output.h"

namespace torvane {

// What a command works with.
struct Context {
    Settings const& settings;
    Output& out;
    CLI::App const& app;  // the whole command line, for completion
};

using Runner = std::function<ExitStatus(Context const&)>;

// Each adds one command with its options to `app` and gives what runs it; called once, the options' values live in it.
Runner AddStat(CLI::App& app);
Runner AddLs(CLI::App& app);
Runner AddShow(CLI::App& app);
Runner AddWhy(CLI::App& app);
Runner AddVerify(CLI::App& app);
Runner AddRepair(CLI::App& app);
Runner AddCompact(CLI::App& app);
Runner AddExport(CLI::App& app);
Runner AddTail(CLI::App& app);
Runner AddConfig(CLI::App& app);
Runner AddCompletion(CLI::App& app);

}  // namespace torvane
