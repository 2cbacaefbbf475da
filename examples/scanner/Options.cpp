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
    "  scanner scan --task monday /srv/share        record the sensitive files as the task \"monday\"\n"
    "  scanner tasks                                what was scanned when\n"
    "  scanner findings monday                      what that scan found, under the rules of its time\n"
    "  scanner remove monday                        forget it\n"
    "  scanner templates > my.json                  start a templates file from the built-in one\n"
    "\n"
    "A second scan of the same content is answered from the cache. Only templates whose definition changed\n"
    "are scanned again.\n"
    "\n"
    "Exit status: of scan 0 nothing found, 1 sensitive files found, 2 error; of the others 0, or 2 on an error. "
    "NO_COLOR turns colours off.";

void AddRoot(CLI::App& command, Options& options) {
    command
        .add_option("-r,--root", options.root,
                    "Directory that keeps definitions, answers and findings (default: $TORVANE_ROOT, else "
                    "/var/lib/torvane for root, ~/.local/state/torvane for others)")
        ->type_name("DIR");
    command.add_flag("--log", options.log, "Write the library's log below ROOT/log");
}

void AddFormat(CLI::App& command, Options& options) {
    static std::map<std::string, Format> const formats{{"text", Format::kText}, {"json", Format::kJson}};
    command.add_option("-f,--format", options.format, "Form of the output: text or json")
        ->transform(CLI::CheckedTransformer(formats, CLI::ignore_case).description(""))
        ->type_name("FORMAT");
}

// An id of a task or a policy.
CLI::Option* AddId(CLI::App& command, std::string const& name, std::string& id, std::string const& help) {
    auto const is_not_empty = [](std::string const& text) { return text.empty() ? "an id is not empty" : ""; };
    return command.add_option(name, id, help)->check(CLI::Validator(is_not_empty, ""))->type_name("ID");
}

void AddTaskOptions(CLI::App& scan, Options& options) {
    CLI::Option* const task =
        AddId(scan, "--task", options.task,
              "Task that the sensitive files are recorded under (default: a new one, named by time and process)");
    CLI::Option* const policy = AddId(scan, "--policy", options.policy,
                                      "Policy that the task belongs to; how often a file was found is counted per "
                                      "policy (default: default)");
    CLI::Option* const no_task = scan.add_flag_callback(
        "--no-task", [&options] { options.record = false; }, "Record and count nothing, keep answers alone");
    CLI::Option* const no_cache = scan.add_flag_callback(
        "--no-cache", [&options] { options.use_cache = false; },
        "Neither look answers up nor store them, and record nothing: such a scan is no task");
    for (CLI::Option* const option : {no_task, no_cache})
        option->excludes(task)->excludes(policy);
}

void AddScan(CLI::App& app, Options& options, std::uint64_t& most_mebibytes) {
    CLI::App& scan = *app.add_subcommand("scan", "Scan files and directories for sensitive content");
    scan.add_option("paths", options.paths, "Files and directories (default: /usr/share/doc)")->type_name("PATH");
    scan.add_option("-t,--templates", options.templates_file, "JSON file of templates (default: built in)")
        ->type_name("FILE");
    AddRoot(scan, options);
    scan.add_option("-j,--jobs", options.jobs, "Threads (default: one per processor)")
        ->check(CLI::Range(1U, 256U))
        ->type_name("N");
    AddFormat(scan, options);
    scan.add_option("-m,--max-size", most_mebibytes, "Skip files larger than this many MiB (default: 64)")
        ->check(CLI::Range(1U, 1024U))
        ->type_name("MIB");
    AddTaskOptions(scan, options);
    scan.add_flag("-v,--verbose", options.verbose, "List sensitive files with their verdicts");
}

void AddTaskCommands(CLI::App& app, Options& options) {
    CLI::App& tasks = *app.add_subcommand("tasks", "List the scans that are remembered, newest first");
    AddFormat(tasks, options);
    CLI::App& findings =
        *app.add_subcommand("findings", "List the sensitive files of a scan, by the rules of its time");
    AddId(findings, "task", options.task, "Task of the scan")->required();
    AddFormat(findings, options);
    CLI::App& remove = *app.add_subcommand(
        "remove", "Forget a scan, with its findings and the answers to outdated rules that only it still needed");
    AddId(remove, "task", options.task, "Task of the scan")->required();
    CLI::App& prune =
        *app.add_subcommand("prune", "Delete the answers to outdated rules that no remembered scan was made with");
    for (CLI::App* const command : {&tasks, &findings, &remove, &prune})
        AddRoot(*command, options);
}

Command Parsed(CLI::App const& app) {
    static std::map<std::string, Command> const commands{
        {"scan", Command::kScan},         {"templates", Command::kTemplates}, {"tasks", Command::kTasks},
        {"findings", Command::kFindings}, {"remove", Command::kRemove},       {"prune", Command::kPrune}};
    return commands.at(app.get_subcommands().front()->get_name());
}

}  // namespace

std::optional<Options> ParseOptions(int argc, char const* const* argv, int& exit_status) {
    Options options;
    std::uint64_t most_mebibytes = 64;
    CLI::App app("Scans files for sensitive content and remembers every answer.", "scanner");
    app.footer(kExamples);
    app.require_subcommand(1);
    AddScan(app, options, most_mebibytes);
    AddTaskCommands(app, options);
    app.add_subcommand("templates", "Print the built-in templates as JSON");
    try {
        app.parse(argc, argv);
    } catch (CLI::ParseError const& end) {
        exit_status = app.exit(end) == 0 ? kNothingFound : kFailed;
        return std::nullopt;
    }
    options.command = Parsed(app);
    if (options.paths.empty()) options.paths = {"/usr/share/doc"};
    options.most_file_bytes = most_mebibytes * 1024 * 1024;
    return options;
}

}  // namespace scanner
