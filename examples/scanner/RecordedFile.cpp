#include "examples/scanner/RecordedFile.h"

#include <nlohmann/json.hpp>
#include <ostream>
#include <sstream>
#include <utility>

#include "examples/scanner/JsonText.h"
#include "examples/scanner/Registry.h"
#include "examples/scanner/Summary.h"
#include "front/DLPCacheMgr.h"

namespace scanner {
namespace {

using nlohmann::ordered_json;

std::string Join(std::vector<HString> const& texts) {
    std::string joined;
    for (HString const& text : texts) {
        if (!joined.empty()) joined += '|';
        joined += text.get_str();
    }
    return joined;
}

void PrintLines(std::string const& text, std::string const& indent, std::ostream& out) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        out << indent << Printable(line) << '\n';
}

ordered_json Templates(SensFile const& file) {
    ordered_json templates = ordered_json::array();
    // The names and MD5s are those of the templates that the task knows, in the same order.
    bool const known = file.tpl_names.size() == file.tpl_ids.size() && file.tpl_md5s.size() == file.tpl_ids.size();
    for (std::size_t i = 0; i < file.tpl_ids.size(); ++i) {
        ordered_json& tpl = templates.emplace_back(ordered_json{{"id", file.tpl_ids[i].get_str()}});
        if (!known) continue;
        tpl["name"] = file.tpl_names[i].get_str();
        tpl["md5"] = file.tpl_md5s[i].get_str();
    }
    return templates;
}

void PrintText(RecordedFile const& finding, std::ostream& out) {
    SensFile const& file = finding.file;
    out << file.sn << "  " << Printable(file.file_path.get_str()) << '\n';
    out << "    level: " << Printable(finding.level) << ", classes: " << Printable(finding.classes)
        << ", templates: " << Printable(Join(file.tpl_names));
    if (finding.FoundTimes() != "") out << ", times found: " << Printable(finding.FoundTimes());
    out << '\n';
    PrintLines(finding.verdict, "      ", out);
    if (finding.verdict == finding.Recorded()) return;
    out << "    recorded at the time of the scan:\n";
    PrintLines(finding.Recorded(), "      ", out);
}

ordered_json Entry(RecordedFile const& finding) {
    SensFile const& file = finding.file;
    ordered_json entry{{"sn", file.sn}};
    PutPath(file.file_path.get_str(), entry);
    entry["md5"] = file.file_md5.get_str();
    entry["length"] = file.file_attrs[0];
    entry["created"] = file.file_attrs[1];
    entry["modified"] = file.file_attrs[2];
    entry["found"] = file.file_attrs[3];
    entry["times_found"] = finding.FoundTimes();
    entry["level"] = finding.level;
    entry["classes"] = finding.classes;
    entry["templates"] = Templates(file);
    entry["verdict"] = finding.verdict;
    entry["whole"] = finding.whole;
    entry["recorded_verdict"] = finding.Recorded();
    return entry;
}

}  // namespace

RecordedFile Rebuild(HString const& task_id, SensFile file) {
    file.task_id = task_id;  // not stored with it
    QVKKeywordMatchResult result;
    TaskRegistry().GetSensFileResult(file, result);
    RecordedFile recorded;
    recorded.verdict = DLPCacheMgr::pins()->GetSensResult(result).get_str();
    if (result.match_items.size() == 1 && result.match_items[0].match_nodes.size() == 1) {
        QVKKeywordMatchNode const& node = result.match_items[0].match_nodes[0];
        recorded.level = node.tips->data_level_name.get_str();
        recorded.classes = node.tips->data_class_names.get_str();
        recorded.whole = node.matched_tpl_ids.size() == file.tpl_ids.size();
    }
    recorded.file = std::move(file);
    return recorded;
}

FindingsPrinter::FindingsPrinter(Format format, std::string const& task_id, std::ostream& out)
    : format_(format), out_(out) {
    if (format_ == Format::kJson) out_ << "{\n  \"task\": " << JsonText(task_id) << ",\n  \"findings\": [";
}

void FindingsPrinter::Print(RecordedFile const& finding) {
    if (format_ == Format::kText)
        PrintText(finding, out_);
    else
        out_ << (count_ == 0 ? "\n    " : ",\n    ") << JsonText(Entry(finding), 4);
    ++count_;
}

void FindingsPrinter::End(std::size_t unread) {
    if (format_ == Format::kJson)
        out_ << (count_ == 0 ? "]\n}\n" : "\n  ]\n}\n");
    else if (count_ + unread == 0)
        out_ << "The scan found nothing.\n";
}

}  // namespace scanner
