#include "tools/torvane/commands/Rebuilding.h"

#include <fmt/format.h>

#include <utility>

#include "tools/torvane/check/RootCheck.h"
#include "tools/torvane/commands/FindingRows.h"
#include "tools/torvane/output/Progress.h"
#include "tools/torvane/rebuild/Interruption.h"
#include "tools/torvane/rebuild/OutRoot.h"
#include "tools/torvane/rebuild/RootRebuild.h"

namespace torvane {

namespace {

// Shows what was left out and adds up the rest.
class Tally {
  public:
    explicit Tally(Output& out) : out_(out) {}

    void Take(Carried const& carried) {
        for (LeftOut const& left : carried.left_out()) {
            out_.Row(
                {{"file", left.file}, {"slot", left.slot ? Json(*left.slot) : Json(nullptr)}, {"what", left.what}});
        }
        if (carried.left_out_count() > Carried::kKept) {
            out_.Row({{"file", carried.left_out().back().file},
                      {"slot", nullptr},
                      {"what", fmt::format("and {} more, not listed", carried.left_out_count() - Carried::kKept)}});
        }
        left_out_ += carried.left_out_count();
        sum_.records += carried.records;
        sum_.empty += carried.empty;
        sum_.files += carried.files;
        sum_.record_bytes += carried.record_bytes;
    }
    [[nodiscard]] Json Sums(std::string const& out) const {
        return {{"out", out},          {"records", sum_.records},           {"empty", sum_.empty},
                {"files", sum_.files}, {"record_bytes", sum_.record_bytes}, {"left_out", left_out_}};
    }
    void Say(std::string const& out) const {
        out_.Line(fmt::format("{}: {} of {} and {} {} without one, {} copied", out, Counted(sum_.records, "record"),
                              Counted(sum_.record_bytes, "byte"), sum_.empty, sum_.empty == 1 ? "entry" : "entries",
                              Counted(sum_.files, "file")));
        out_.Line(left_out_ == 0 ? "nothing left out" : fmt::format("left out: {}", Counted(left_out_, "place")));
    }

  private:
    Output& out_;
    Carried sum_;
    std::uint64_t left_out_ = 0;
};

// Only what is sound can be carried over so that it answers as before.
void RequireSound(CacheRoot const& root, Context const& context) {
    Progress progress(context.settings.progress, "Checking");
    FindingList all;
    RootCheck check(root, Depth::kFull,
                    {[&](FindingList&& list) { all.Append(std::move(list)); },
                     [&](std::uint64_t done, std::uint64_t total, std::string const& where) {
                         Interruption::Check();
                         progress.At(done, total, where);
                     }});
    check.Run();
    if (all.Count(Severity::kDamage) != 0)
        throw Stop(ExitStatus::kNo, "the cache is damaged: see `torvane verify`, then `torvane repair`");
    if (all.losses() != 0)
        throw Stop(ExitStatus::kNo,
                   "the cache is unfinished, and what is missing may have been of use: see `torvane "
                   "verify`, then `torvane repair`");
    if (all.Count(Severity::kUnreadable) != 0) throw Stop(ExitStatus::kIo, "parts of the cache cannot be read");
    if (all.Count(Severity::kBusy) != 0) throw Stop(ExitStatus::kBusy, "the cache kept changing while it was read");
}

ExitStatus Rebuild(Purpose purpose, std::string const& out, Schema const& schema, Context const& context) {
    CacheRoot const source(context.settings.root);
    OutRoot target(out, source.root());
    if (purpose == Purpose::kCompact) RequireSound(source, context);
    Progress progress(context.settings.progress, "Copying");
    Tally tally(context.out);
    context.out.BeginList(schema, {{"file", "LEFT OUT"}, {"slot", "SLOT", true}, {"what", "WHY"}}, Titles::kWithRows);
    RootRebuild rebuild(
        purpose, source, target.path(),
        {[&](Carried const& carried) { tally.Take(carried); },
         [&](std::uint64_t done, std::uint64_t total, std::string const& where) { progress.At(done, total, where); }});
    rebuild.Run();
    target.Keep();
    Progress::Hide();
    context.out.EndList(tally.Sums(target.path()));
    tally.Say(target.path());
    context.out.Flush();
    return ExitStatus::kYes;
}

}  // namespace

ExitStatus RebuildRoot(Purpose purpose, std::string const& out, Schema const& schema, Context const& context) {
    Interruption const interruption;
    try {
        return Rebuild(purpose, out, schema, context);
    } catch (Interruption::Interrupted const&) {
        Progress::Hide();
        Interruption::EndProgram();
    }
}

}  // namespace torvane
