#include "tools/torvane/cli/Completion.h"

#include <cstdio>
#include <memory>

#include "tools/torvane/cli/Command.h"
#include "tools/torvane/output/Sink.h"

namespace torvane {

Runner AddCompletion(CLI::App& app) {
    auto const shell = std::make_shared<std::string>();
    CLI::App* const command = app.add_subcommand("completion", "Print the completion script for a shell");
    command->add_option("shell", *shell, "The shell")->type_name("{bash}")->required();
    return [shell](Context const& context) {
        if (*shell != "bash") {
            throw Stop(ExitStatus::kUsage, "there is no completion for '" + *shell + "'; did you mean 'bash'?");
        }
        // A script, whatever form of answers is asked for.
        Sink(stdout).Write(BashCompletion(context.app));
        return ExitStatus::kYes;
    };
}

}  // namespace torvane
