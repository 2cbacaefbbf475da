#include <fmt/format.h>

#include <memory>

#include "tools/torvane/check/RootCheck.h"
#include "tools/torvane/cli/Command.h"
#include "tools/torvane/commands/FindingRows.h"
#include "tools/torvane/output/Progress.h"

namespace torvane {

namespace {

constexpr Schema kSchema{"verify", 1};

struct Options {
    bool quick = false;
};

// Damage that was seen counts for more than what could not be looked at.
ExitStatus StatusOf(FindingRows const& rows) {
    if (rows.Count(Severity::kDamage) != 0) return ExitStatus::kNo;
    if (rows.Count(Severity::kUnreadable) != 0) return ExitStatus::kIo;
    return rows.Count(Severity::kBusy) != 0 ? ExitStatus::kBusy : ExitStatus::kYes;
}

void Conclude(Output& out, FindingRows const& rows, std::uint64_t stores) {
    std::uint64_t const damage = rows.Count(Severity::kDamage);
    std::uint64_t const waste = rows.Count(Severity::kWaste);
    std::uint64_t const unseen = rows.Count(Severity::kUnreadable) + rows.Count(Severity::kBusy);
    if (waste != 0) {
        out.Line(fmt::format("unfinished or wasted: {}, {}", Counted(waste, "place"), Counted(rows.wasted(), "byte")));
    }
    if (unseen != 0)
        out.Line(out.Painted(fmt::format("not looked at: {}", Counted(unseen, "place")), Output::Paint::kWarning));
    std::string const where = fmt::format(" in {}", Counted(stores, "store"));
    out.Line(damage == 0
                 ? out.Painted("no damage found", Output::Paint::kGood) + where
                 : out.Painted(fmt::format("{} damaged", Counted(damage, "place")), Output::Paint::kBad) + where);
}

ExitStatus Run(Options const& options, Context const& context) {
    CacheRoot const root(context.settings.root);
    Progress progress(context.settings.progress, "Checking");
    FindingRows rows(context.out);
    context.out.BeginList(kSchema, FindingRows::Columns(), Titles::kWithRows);
    RootCheck check(
        root, options.quick ? Depth::kQuick : Depth::kFull,
        {[&](FindingList&& list) { rows.Show(list); },
         [&](std::uint64_t done, std::uint64_t total, std::string const& where) { progress.At(done, total, where); }});
    check.Run();
    Progress::Hide();
    Json sums = rows.Sums();
    sums["stores"] = check.stores();
    sums["quick"] = options.quick;
    // A list shows its sums in one form only; for people they are said in words.
    context.out.EndList(sums);
    Conclude(context.out, rows, check.stores());
    context.out.Flush();
    return StatusOf(rows);
}

}  // namespace

Runner AddVerify(CLI::App& app) {
    auto const options = std::make_shared<Options>();
    CLI::App* const command = app.add_subcommand("verify", "Check every file of a cache");
    command->add_flag("--quick", options->quick, "Heads, lengths, links and places of records only");
    return [options](Context const& context) { return Run(*options, context); };
}

}  // namespace torvane
