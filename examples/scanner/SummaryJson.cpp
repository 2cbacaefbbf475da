#include <nlohmann/json.hpp>
#include <ostream>

#include "examples/scanner/JsonText.h"
#include "examples/scanner/Summary.h"

namespace scanner {
namespace {

using nlohmann::ordered_json;

ordered_json Figures(Summary const& summary) {
    Counters const& counters = summary.counters;
    return {{"files", counters.files},
            {"bytes", counters.bytes},
            {"full_hits", counters.full_hits},
            {"partial_hits", counters.partial_hits},
            {"misses", counters.misses},
            {"answers_from_cache", counters.answers_from_cache},
            {"answers_scanned", counters.answers_scanned()},
            {"answers_unstorable", counters.answers_unstorable()},
            {"answers_outdated", counters.outdated_answers},
            {"files_unstorable", counters.unstorable_files},
            {"sensitive_files", counters.sensitive_files},
            {"unrecorded", counters.unrecorded},
            {"unreadable", counters.unreadable},
            {"too_large", counters.too_large},
            {"not_regular", counters.not_regular},
            {"damaged", counters.damaged},
            {"texts_cut", counters.texts_cut},
            {"texts_kept", counters.texts_kept}};
}

ordered_json Times(Summary const& summary) {
    ordered_json times;
    for (std::size_t i = 0; i < kStages; ++i)
        times[kStageNames[i]] = summary.counters.seconds[i].count();
    times["start"] = summary.open_seconds.count();
    times["list"] = summary.walk_seconds.count();
    times["work"] = summary.files_seconds.count();
    times["wall"] = summary.wall_seconds.count();
    return times;
}

ordered_json Templates(Summary const& summary) {
    ordered_json templates = ordered_json::array();
    for (std::size_t i = 0; i < summary.templates.size(); ++i) {
        TemplateCounters const& counters = summary.counters.templates[i];
        templates.push_back({{"id", summary.templates[i].first},
                             {"name", summary.templates[i].second},
                             {"matched", counters.matched},
                             {"scanned", counters.scanned},
                             {"unstorable", counters.unstorable}});
    }
    return templates;
}

ordered_json Findings(Summary const& summary) {
    ordered_json findings = ordered_json::array();
    for (SensitiveFile const& file : summary.sensitive) {
        ordered_json& finding = findings.emplace_back(ordered_json::object());
        PutPath(file.path, finding);
        finding["verdict"] = file.verdict;
        if (file.found_times > 0) finding["found_times"] = file.found_times;
    }
    return findings;
}

}  // namespace

void PrintJson(Summary const& summary, std::ostream& out) {
    ordered_json json{
        {"paths", summary.paths}, {"root", summary.root}, {"cache", summary.use_cache}, {"jobs", summary.jobs}};
    json["task"] = summary.task.empty() ? ordered_json() : ordered_json(summary.task);
    json["policy"] = summary.task.empty() ? ordered_json() : ordered_json(summary.policy);
    json["summary"] = Figures(summary);
    json["seconds"] = Times(summary);
    json["templates"] = Templates(summary);
    json["top_verdicts"] = ordered_json::array();
    for (auto const& [line, count] : summary.top_verdicts) {
        json["top_verdicts"].push_back({{"files", count}, {"line", line}});
    }
    json["digest"] = summary.digest;
    json["sensitive"] = Findings(summary);
    WriteJson(json, out);
}

}  // namespace scanner
