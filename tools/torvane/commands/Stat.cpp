#include <chrono>
#include <cmath>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tools/torvane/cache/FileView.h"
#include "tools/torvane/cache/StoreStat.h"
#include "tools/torvane/cli/Command.h"
#include "tools/torvane/cli/Pause.h"
#include "tools/torvane/cli/Values.h"
#include "tools/torvane/output/Progress.h"
#include "tools/torvane/output/Warn.h"

namespace torvane {

namespace {

constexpr Schema kSchema{"stat", 1};
constexpr double kLeastSeconds = 0.1;
constexpr double kMostSeconds = 86400.0;

struct Options {
    double watch = 0;          // seconds; 0: once
    std::uint64_t rounds = 0;  // 0: until somebody ends it
};

struct Counted {
    std::vector<std::pair<std::string, StoreStat>> kinds;  // "sum" last
    std::uint64_t log_bytes = 0;
    std::uint64_t old_log_bytes = 0;

    [[nodiscard]] StoreStat const& Sum() const { return kinds.back().second; }
};

Counted Count(CacheRoot const& root, Settings const& settings) {
    Counted counted;
    StoreStat texts;
    StoreStat sum;
    std::vector<StorePlace> const places = root.Stores();
    Progress progress(settings.progress, "Counting");
    std::uint64_t done = 0;
    for (StoreKind const kind : {StoreKind::kTemplate, StoreKind::kTask, StoreKind::kCounter}) {
        StoreStat of_kind;
        for (StorePlace const& place : places) {
            if (place.kind != kind) continue;
            progress.AtBlock(done++, places.size(), place.Name());
            of_kind.Add(CountStore(place));
            if (kind == StoreKind::kTask) texts.Add(CountTexts(place));
        }
        counted.kinds.emplace_back(NameOf(kind), of_kind);
        sum.Add(of_kind);
    }
    counted.kinds.emplace_back("text", texts);
    sum.Add(texts);
    counted.kinds.emplace_back("sum", sum);
    counted.log_bytes = SizeOfFile(root.LogPath());
    counted.old_log_bytes = SizeOfFile(root.LogPath() + ".old");
    return counted;
}

// With two digits behind the point.
double Rounded(double value) {
    return std::round(value * 100.0) / 100.0;
}

Json RowOf(std::string const& kind, StoreStat const& stat) {
    return {{"kind", kind},
            {"stores", stat.stores},
            {"damaged_stores", stat.damaged_stores},
            {"records", stat.records},
            {"with_data", stat.with_data},
            {"empty", stat.empty},
            {"live_bytes", stat.live_bytes},
            {"dead_bytes", stat.dead_bytes},
            {"overhead_bytes", stat.overhead_bytes},
            {"buckets", stat.buckets},
            {"buckets_used", stat.buckets_used},
            {"longest_chain", stat.longest_chain},
            {"mean_chain", Rounded(stat.MeanChain())},
            {"chain_slots", stat.chain_slots},
            {"wasted_slots", stat.wasted_slots},
            {"busy", stat.busy}};
}

std::vector<Column> Columns() {
    return {{"kind", "KIND"},
            {"stores", "STORES", true},
            {"records", "RECORDS", true},
            {"with_data", "WITH DATA", true},
            {"empty", "EMPTY", true},
            {"live_bytes", "LIVE BYTES", true},
            {"dead_bytes", "DEAD BYTES", true},
            {"overhead_bytes", "OVERHEAD BYTES", true},
            {"buckets", "BUCKETS", true},
            {"buckets_used", "USED", true},
            {"longest_chain", "LONGEST", true},
            {"mean_chain", "MEAN", true},
            {"wasted_slots", "WASTED SLOTS", true},
            {"damaged_stores", "DAMAGED", true}};
}

// "3.2306.4.13.1, cache layout 4".
std::string StampText(CacheRoot const& root) {
    if (root.stamp().empty()) return "none";
    std::string text;
    for (char const* const key : {"major", "branch", "minor", "revise", "module"}) {
        auto const entry = root.stamp().find(key);
        text += (text.empty() ? "" : ".") + (entry == root.stamp().end() ? "?" : entry->second);
    }
    auto const layout = root.stamp().find("cache");
    return text + ", cache layout " + (layout == root.stamp().end() ? "?" : layout->second);
}

void WriteCsv(Counted const& counted, bool is_first, Output& out) {
    if (is_first) out.BeginList(kSchema, Columns());  // and no end, so that the next rows have no head of their own
    for (auto const& [kind, stat] : counted.kinds)
        out.Row(RowOf(kind, stat));
    out.Flush();
}

void WriteTable(CacheRoot const& root, Counted const& counted, Output& out) {
    out.Line(root.root());
    out.BeginList(kSchema, Columns());
    for (auto const& [kind, stat] : counted.kinds)
        out.Row(RowOf(kind, stat));
    out.EndList();
    out.Line("version stamp: " + StampText(root));
    out.Line("log: " + std::to_string(counted.log_bytes) + " bytes, old log: " + std::to_string(counted.old_log_bytes) +
             " bytes");
    if (counted.Sum().busy) out.Line(out.Painted("busy: it changed while it was counted", Output::Paint::kWarning));
    out.Flush();
}

void WriteAnswer(CacheRoot const& root, Counted const& counted, Output& out) {
    Json answer;
    answer["root"] = root.root();
    answer["stamp"] = Json::object();
    for (auto const& [key, value] : root.stamp())
        answer["stamp"][key] = value;
    answer["log_bytes"] = counted.log_bytes;
    answer["old_log_bytes"] = counted.old_log_bytes;
    answer["kinds"] = Json::array();
    for (auto const& [kind, stat] : counted.kinds) {
        if (kind != "sum") answer["kinds"].push_back(RowOf(kind, stat));
    }
    answer["sum"] = RowOf("sum", counted.Sum());
    answer["busy"] = counted.Sum().busy;
    out.Answer(kSchema, answer, [](Output&) {});
}

ExitStatus Once(Context const& context, bool is_first) {
    CacheRoot const root(context.settings.root);
    Counted const counted = Count(root, context.settings);
    switch (context.out.format()) {
        case Format::kTable:
            WriteTable(root, counted, context.out);
            break;
        case Format::kCsv:
            WriteCsv(counted, is_first, context.out);
            break;
        default:
            WriteAnswer(root, counted, context.out);
    }
    return counted.Sum().damaged_stores == 0 ? ExitStatus::kYes : ExitStatus::kNo;
}

// An agent may remove all and make it anew between two rounds.
ExitStatus Again(Context const& context) {
    try {
        return Once(context, false);
    } catch (Stop const& stop) {
        if (stop.status() != ExitStatus::kNoCache && stop.status() != ExitStatus::kBusy) throw;
        Warn(stop.what());
        return stop.status();
    }
}

ExitStatus Run(Options const& options, Context const& context) {
    if (options.watch != 0 && context.out.format() == Format::kJson) {
        throw Stop(ExitStatus::kUsage, "--watch takes --format table, jsonl or csv: json is one document");
    }
    ExitStatus status = Once(context, true);
    if (options.watch == 0) return status;
    Pause const pause;
    std::chrono::milliseconds const time(static_cast<std::int64_t>(options.watch * 1000));
    try {
        for (std::uint64_t round = 1; options.rounds == 0 || round < options.rounds; ++round) {
            if (!pause.Wait(time)) break;
            context.out.Line("");
            status = Again(context);
        }
    } catch (ClosedPipe const&) {  // nobody watches any more
    }
    return status;
}

}  // namespace

Runner AddStat(CLI::App& app) {
    auto const options = std::make_shared<Options>();
    CLI::App* const command = app.add_subcommand("stat", "How much a cache holds and what it costs");
    CLI::Option* const watch =
        AddSeconds(*command, "--watch", options->watch, "Again every so many seconds, not as one JSON document",
                   kLeastSeconds, kMostSeconds);
    AddCount(*command, "--rounds", options->rounds, "With --watch: so many times, then end", 1)->needs(watch);
    return [options](Context const& context) { return Run(*options, context); };
}

}  // namespace torvane
