#include <cstdint>
#include <memory>
#include <string>

#include "tools/torvane/cli/Command.h"
#include "tools/torvane/cli/Values.h"
#include "tools/torvane/commands/Listing.h"
#include "tools/torvane/output/Warn.h"

namespace torvane {

namespace {

constexpr int kVersion = 1;

struct Options {
    std::string what;
    ListFilter filter;
    bool match = false;
    bool no_match = false;
    std::uint64_t limit = 0;
    bool limited = false;
};

ExitStatus Run(Options options, Context const& context) {
    Listed const listed = ListedOf(options.what);
    if (options.match || options.no_match) options.filter.matched = options.match;
    options.filter.CheckFor(listed);
    CacheRoot const root(context.settings.root);
    Listing listing(root, options.filter, context.settings);

    std::string const schema = "ls-" + options.what;
    context.out.BeginList({schema.c_str(), kVersion},
                          ColumnsOf(listed, context.out.format() == Format::kCsv, context.settings.show_text));
    std::uint64_t rows = 0;
    // Nothing is looked for behind the last row that is wanted.
    auto const is_full = [&] { return options.limited && rows >= options.limit; };
    if (is_full()) {
        listing.Find(listed);
    } else {
        (void)listing.ForEach(listed, [&](Json const& row) {
            context.out.Row(row);
            ++rows;
            return !is_full();
        });
    }
    if (is_full() && !context.settings.quiet) Warn("these are the first " + std::to_string(rows));
    context.out.EndList({{"rows", rows}, {"limited", is_full()}});
    return listing.Status();
}

}  // namespace

Runner AddLs(CLI::App& app) {
    auto const options = std::make_shared<Options>();
    CLI::App* const command = app.add_subcommand("ls", "List what a cache holds");
    command->add_option("what", options->what, "templates, answers, tasks, findings, counters or texts")
        ->required()
        ->type_name(ListedType());
    AddFilled(*command, "--template", options->filter.template_id, "Only those of this template")->type_name("ID");
    AddFilled(*command, "--task", options->filter.task_id, "Only those of this task")->type_name("ID");
    AddFilled(*command, "--policy", options->filter.policy_id, "Only those of this policy")->type_name("ID");
    CLI::Option* const match = command->add_flag("--match", options->match, "Only answers with a match");
    command->add_flag("--no-match", options->no_match, "Only answers without a match")->excludes(match);
    CLI::Option* const limit = AddCount(*command, "--limit", options->limit, "At most so many");
    return [options, limit](Context const& context) {
        options->limited = limit->count() > 0;
        return Run(*options, context);
    };
}

}  // namespace torvane
