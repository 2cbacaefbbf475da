// A small agent that scans files and lets the library remember the answers.

#include <exception>
#include <iostream>

#include "examples/scanner/Options.h"
#include "examples/scanner/ScanCommand.h"
#include "examples/scanner/Summary.h"
#include "examples/scanner/TaskCommands.h"
#include "examples/scanner/TemplateFile.h"

namespace {

int PrintTemplates() {
    std::cout << scanner::BuiltInTemplates() << std::flush;
    return std::cout ? scanner::kNothingFound : scanner::kFailed;
}

int Run(int argc, char const* const* argv) {
    int exit_status = scanner::kFailed;
    std::optional<scanner::Options> const options = scanner::ParseOptions(argc, argv, exit_status);
    if (!options) return exit_status;
    switch (options->command) {
        case scanner::Command::kScan:
            return scanner::RunScan(*options);
        case scanner::Command::kTemplates:
            return PrintTemplates();
        case scanner::Command::kTasks:
            return scanner::RunTasks(*options);
        case scanner::Command::kFindings:
            return scanner::RunFindings(*options);
        case scanner::Command::kRemove:
            return scanner::RunRemove(*options);
        case scanner::Command::kPrune:
            return scanner::RunPrune(*options);
    }
    return scanner::kFailed;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return Run(argc, argv);
    } catch (std::exception const& error) {
        // Messages hold names and texts from everywhere.
        std::cerr << "scanner: " << scanner::Printable(error.what()) << '\n';
        return scanner::kFailed;
    }
}
