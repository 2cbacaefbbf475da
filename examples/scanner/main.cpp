// A small agent that scans files and lets the library remember the answers.

#include <exception>
#include <iostream>

#include "examples/scanner/Options.h"
#include "examples/scanner/ScanCommand.h"
#include "examples/scanner/TemplateFile.h"

namespace {

int Run(int argc, char const* const* argv) {
    int exit_status = scanner::kFailed;
    std::optional<scanner::Options> const options = scanner::ParseOptions(argc, argv, exit_status);
    if (!options) return exit_status;
    if (options->command == scanner::Command::kTemplates) {
        std::cout << scanner::BuiltInTemplates() << std::flush;
        return std::cout ? scanner::kNothingFound : scanner::kFailed;
    }
    return scanner::RunScan(*options);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return Run(argc, argv);
    } catch (std::exception const& error) {
        std::cerr << "scanner: " << error.what() << '\n';
        return scanner::kFailed;
    }
}
