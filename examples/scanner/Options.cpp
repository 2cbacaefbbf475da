#include "examples/scanner/Options.h"

#include <CLI/CLI.hpp>
#include <map>

namespace scanner {
namespace {

constexpr char kExamples[] =
    "Examples:\n"
    "  scanner scan                                 scan /usr/share/doc with the built-in templates\n"
    "  scanner scan ~/Documents --verbose           list every sensitive file with its verdict\n"
    "  scanner scan --templates my.json /srv/share  scan with templates of your own\n"
    "  scanner scan --root /tmp/try --format json   keep answers below /tmp/try, print JSON\n"
    "  scanner templates > my.json                  start a templates file from the built-in one\n"
    "\n"
    "A second scan of the same content is answered from the cache. Only templates whose definition changed\n"
    "are scanned again.\n"
    "\n"
    "Exit status: 0 nothing found, 1 sensitive files found, 2 error. NO_COLOR turns colours off.";

void AddScan(CLI::App& app, Options& options, std::uint64_t& most_mebibytes) {
    static std::map<std::string, Format> const formats{{"text", Format::kText}, {"json", Format::kJson}};
    CLI::App* scan = app.add_subcommand("scan", "Scan files and directories for sensitive content");
    scan->add_option("paths", options.paths, "Files and directories (default: /usr/share/doc)")->type_name("PATH");
    scan->add_option("-t,--templates", options.templates_file, "JSON file of templates (default: built in)")
        ->type_name("FILE");
    scan->add_option("-r,--root", options.root,
                     "Directory that keeps definitions and answers (default: $TORVANE_ROOT, else /var/lib/torvane for "
                     "root, ~/.local/state/torvane for others)")
        ->type_name("DIR");
    scan->add_option("-j,--jobs", options.jobs, "Threads (default: one per processor)")
        ->check(CLI::Range(1U, 256U))
        ->type_name("N");
    scan->add_option("-f,--format", options.format, "Form of the summary: text or json")
        ->transform(CLI::CheckedTransformer(formats, CLI::ignore_case).description(""))
        ->type_name("FORMAT");
    scan->add_option("-m,--max-size", most_mebibytes, "Skip files larger than this many MiB (default: 64)")
        ->check(CLI::Range(1U, 1024U))
        ->type_name("MIB");
    scan->add_flag_callback(
        "--no-cache", [&options] { options.use_cache = false; }, "Neither look answers up nor store them");
    scan->add_flag("-v,--verbose", options.verbose, "List sensitive files with their verdicts");
    scan->add_flag("--log", options.log, "Write the library's log below ROOT/log");
}

}  // namespace

std::optional<Options> ParseOptions(int argc, char const* const* argv, int& exit_status) {
    Options options;
    std::uint64_t most_mebibytes = 64;
    CLI::App app("Scans files for sensitive content and remembers every answer.", "scanner");
    app.footer(kExamples);
    app.require_subcommand(1);
    AddScan(app, options, most_mebibytes);
    CLI::App const* templates = app.add_subcommand("templates", "Print the built-in templates as JSON");
    try {
        app.parse(argc, argv);
    } catch (CLI::ParseError const& end) {
        exit_status = app.exit(end) == 0 ? kNothingFound : kFailed;
        return std::nullopt;
    }
    if (templates->parsed()) options.command = Command::kTemplates;
    if (options.paths.empty()) options.paths = {"/usr/share/doc"};
    options.most_file_bytes = most_mebibytes * 1024 * 1024;
    return options;
}

}  // namespace scanner
