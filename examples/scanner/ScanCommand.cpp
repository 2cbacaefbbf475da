#include "examples/scanner/ScanCommand.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <functional>
#include <future>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <thread>

#include "examples/scanner/AuditPolicy.h"
#include "examples/scanner/Crew.h"
#include "examples/scanner/FileWalker.h"
#include "examples/scanner/Policy.h"
#include "examples/scanner/Root.h"
#include "examples/scanner/Summary.h"
#include "examples/scanner/TaskRun.h"
#include "examples/scanner/TemplateFile.h"
#include "examples/scanner/Troubles.h"
#include "front/DLPCacheMgr.h"

namespace scanner {
namespace {

using Clock = std::chrono::steady_clock;

// Makes everything ready for the first file.
void OpenCaches(Policy const& policy, Options const& options) {
    if (DLPCacheMgr::pins() == nullptr) throw std::bad_alloc();
    if (options.use_cache) policy.OpenCaches();
}

// The run as a task, for people: what was scanned.
HString TaskName(Options const& options) {
    HString name;
    for (std::string const& path : options.paths) {
        if (name.not_empty()) name << " ";
        name << HString(path);
    }
    return name;
}

// Puts the templates in force and begins the task, if the scan is to be one. What may refuse it comes before the first
// change.
std::unique_ptr<TaskRun> Begin(KwDefinitions const& definitions, Options const& options, std::chrono::milliseconds wait,
                               Policy& policy) {
    if (!options.HasTask()) {
        policy.Install(definitions);
        return nullptr;
    }
    AuditPolicy const audit = PlanPolicy(HString(options.policy), policy.ids());
    HString const id = options.task.empty() ? FreshTaskId() : HString(options.task);
    RequireRunnable(id, audit.node);
    policy.Install(definitions);
    PutInForce(audit);
    return std::make_unique<TaskRun>(id, TaskName(options), audit.node, wait);
}

// The files to scan, and how long it took to list them.
struct Listing {
    WalkResult walk;
    Summary::Seconds seconds{};
};

Listing ListFiles(std::vector<std::string> const& starts, std::string const& root) {
    auto const begin = Clock::now();
    WalkResult walk = WalkFiles(starts, root);
    return {std::move(walk), Clock::now() - begin};
}

unsigned JobCount(Options const& options) {
    return options.jobs > 0 ? options.jobs : std::max(1U, std::thread::hardware_concurrency());
}

// Tells of what could not be read, the first ones by name.
void ReportTroubles(WalkResult const& walk, std::vector<FileOutcome> const& outcomes) {
    Troubles troubles(std::cerr);
    for (WalkError const& error : walk.errors) {
        troubles.Add(Printable(error.path) + ": " + std::strerror(error.error));
    }
    for (std::size_t i = 0; i < outcomes.size(); ++i) {
        if (!outcomes[i].trouble.empty()) troubles.Add(Printable(walk.files[i]) + ": " + outcomes[i].trouble);
    }
    troubles.End();
}

void Print(Summary const& summary, Options const& options) {
    char const* const no_colour = std::getenv("NO_COLOR");
    bool const colour = ::isatty(STDOUT_FILENO) == 1 && (no_colour == nullptr || *no_colour == '\0');
    if (options.format == Format::kJson)
        PrintJson(summary, std::cout);
    else
        PrintText(summary, options.verbose, colour, std::cout);
    if (!std::cout.flush()) throw std::runtime_error("the summary cannot be written");
}

int StatusOf(Counters const& counters, WalkResult const& walk) {
    bool const unread = counters.unreadable > 0 || !walk.errors.empty();
    if (unread && counters.files == 0) return kFailed;
    return counters.sensitive_files > 0 ? kSensitiveFound : kNothingFound;
}

// Ends the task. Gives what went wrong, so that the summary is printed first.
std::exception_ptr Finish(TaskRun& task) {
    try {
        task.Finish();
        return nullptr;
    } catch (std::exception const&) {
        return std::current_exception();
    }
}

Summary MakeSummary(Options const& options, Root const& root, Policy const& policy, TaskRun const* task) {
    Summary summary(policy.templates().size());
    summary.paths = options.paths;
    summary.root = root.path();
    if (task != nullptr) {
        summary.task = task->id().get_str();
        summary.policy = options.policy;
    }
    summary.use_cache = options.use_cache;
    for (Template const& tpl : policy.templates())
        summary.templates.emplace_back(tpl.id.get_str(), tpl.name);
    return summary;
}

}  // namespace

int RunScan(Options const& options, std::chrono::milliseconds wait) {
    auto const begin = Clock::now();
    KwDefinitions const definitions = LoadTemplates(options.templates_file);
    Policy policy(definitions);
    std::vector<std::string> const starts = ResolvePaths(options.paths);
    Root const root(options);
    std::unique_ptr<TaskRun> const task = Begin(definitions, options, wait, policy);
    // From here on an error would wait for the whole list.
    std::future<Listing> listing = std::async(std::launch::async, ListFiles, std::cref(starts), std::cref(root.path()));
    OpenCaches(policy, options);
    auto const opened = Clock::now();
    auto const [walk, walk_seconds] = listing.get();
    auto const walked = Clock::now();
    Crew crew(policy, options, walk.files, task.get());
    unsigned const jobs = JobCount(options);
    std::vector<FileOutcome> const outcomes = crew.Run(jobs);
    auto const worked = Clock::now();
    std::exception_ptr const failure = task ? Finish(*task) : nullptr;

    Summary summary = MakeSummary(options, root, policy, task.get());
    summary.jobs = jobs;
    summary.counters = crew.counters();
    Summarize(walk.files, outcomes, summary);
    summary.open_seconds = opened - begin;
    summary.walk_seconds = walk_seconds;
    summary.files_seconds = worked - walked;
    summary.wall_seconds = Clock::now() - begin;
    ReportTroubles(walk, outcomes);
    Print(summary, options);
    if (failure) std::rethrow_exception(failure);
    return StatusOf(summary.counters, walk);
}

}  // namespace scanner
