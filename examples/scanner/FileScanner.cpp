#include "examples/scanner/FileScanner.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "front/DLPCacheMgr.h"

namespace scanner {
namespace {

std::string_view ShortName(std::string_view path) {
    return path.substr(path.rfind('/') + 1);
}

}  // namespace

FileScanner::FileScanner(Policy const& policy, Options const& options, ContentGate& gate)
    : policy_(policy),
      options_(options),
      gate_(gate),
      counters_(policy.templates().size()),
      reader_(options.most_file_bytes) {
    // One item with one node, every template looked up whatever was found before: then a full hit is a complete answer.
    QVKKeywordFileItem& item = param_.file_items.emplace_back();
    item.file_nodes.emplace_back();
    item.tpl_ids = policy.ids();
    item.count_matched = true;
    item.threshold = 1;
    item.lookup_flag = true;
    item.check_every_node = true;
}

FileOutcome FileScanner::Work(std::string const& path) {
    FileOutcome outcome;
    Stopwatch stopwatch(counters_);
    bool const read = Read(path, outcome);
    stopwatch.Mark(kRead);
    if (!read) return outcome;
    std::string const md5 = md5_.Of(reader_.content());
    stopwatch.Mark(kMd5);

    QVKKeywordFileNode& file = param_.file_items[0].file_nodes[0];
    file.file_path = HString(path);
    file.file_md5 = HString(md5);
    ContentGate::Pass const pass(gate_, md5);
    Ask(stopwatch);
    QVKKeywordMatchNode node = std::move(result_.match_items[0].match_nodes[0]);
    std::vector<std::size_t> const missing = MissingTemplates(policy_.ids(), node);
    counters_.answers_from_cache += policy_.ids().size() - missing.size();
    if (!missing.empty()) {
        std::vector<Answer> answers = Scan(path, missing, stopwatch);
        QVKKeywordMatchNode merged = Merge(policy_, node, answers);
        stopwatch.Mark(kScan);
        if (options_.use_cache) Store(node, std::move(answers));
        stopwatch.Mark(kStore);
        node = std::move(merged);
    }
    CountAnswers(node);
    if (!node.matched_tpl_ids.empty()) {
        outcome.sensitive = true;
        outcome.verdict = DLPCacheMgr::pins()->GetSensResult(node).get_str();
    }
    stopwatch.Mark(kLookup);
    return outcome;
}

bool FileScanner::Read(std::string const& path, FileOutcome& outcome) {
    switch (reader_.Read(path)) {
        case ReadStatus::kRead:
            outcome.read = true;
            ++counters_.files;
            counters_.bytes += reader_.content().size();
            break;
        case ReadStatus::kTooLarge:
            ++counters_.too_large;
            outcome.trouble = "skipped, larger than " + std::to_string(options_.most_file_bytes >> 20) + " MiB";
            break;
        case ReadStatus::kNotRegular:
            ++counters_.not_regular;
            break;
        case ReadStatus::kFailed:
            ++counters_.unreadable;
            outcome.trouble = std::strerror(reader_.error());
            break;
    }
    return outcome.read;
}

// Fills result_ with one item that has one node; without a cache that node holds no answer.
void FileScanner::Ask(Stopwatch& stopwatch) {
    result_.match_items.clear();
    result_.sensitive = false;
    if (!options_.use_cache) {
        auto& node = result_.match_items.emplace_back().match_nodes.emplace_back();
        *node.file_node = param_.file_items[0].file_nodes[0];
        return;
    }
    int const code = DLPCacheMgr::pins()->QueryCache(param_, result_);
    if (code < 0 || result_.match_items.size() != 1 || result_.match_items[0].match_nodes.size() != 1) {
        throw std::runtime_error("the cache cannot be queried (code " + std::to_string(code) + ")");
    }
    if (code == DLPCache::kFullHit)
        ++counters_.full_hits;
    else if (code == DLPCache::kPartialHit)
        ++counters_.partial_hits;
    else
        ++counters_.misses;
    stopwatch.Mark(kLookup);
}

void FileScanner::CountAnswers(QVKKeywordMatchNode const& answered) {
    std::size_t next = 0;
    for (HString const& id : answered.matched_tpl_ids) {
        while (policy_.ids()[next] != id)
            ++next;
        ++counters_.templates[next].matched;
    }
    if (!answered.matched_tpl_ids.empty()) ++counters_.sensitive_files;
}

std::vector<Answer> FileScanner::Scan(std::string const& path, std::vector<std::size_t> const& missing,
                                      Stopwatch& stopwatch) {
    FileView const view{ShortName(path), reader_.content(), ExtractFor(missing)};
    stopwatch.Mark(kExtract);
    std::vector<Answer> answers;
    for (std::size_t const index : missing) {
        answers.push_back(ScanWithTemplate(policy_, index, view));
        ++counters_.templates[index].scanned;
    }
    return answers;
}

std::string_view FileScanner::ExtractFor(std::vector<std::size_t> const& missing) {
    auto const needs_text = [this](std::size_t index) { return policy_.templates()[index].needs_text; };
    if (std::none_of(missing.begin(), missing.end(), needs_text)) return {};
    ExtractedText const extracted = extractor_.Extract(reader_.content());
    if (extracted.damaged) ++counters_.damaged;
    if (extracted.cut) ++counters_.texts_cut;
    return extracted.text;
}

void FileScanner::Store(QVKKeywordMatchNode const& asked, std::vector<Answer> answers) {
    counters_.outdated_answers += std::erase_if(answers, [this](Answer const& answer) {
        return !Policy::IsCurrent(policy_.templates()[answer.template_index]);
    });
    QVKKeywordMatchResult result;
    *result.check_param = param_;
    QVKKeywordMatchNode node = MakeStoreNode(policy_, asked, answers);
    result.match_items.emplace_back().match_nodes.push_back(node);
    if (int const code = DLPCacheMgr::pins()->AddTpl(result); code != DLPCache::kStored) {
        throw std::runtime_error("the cache refuses a result (code " + std::to_string(code) + ")");
    }
    CountUnstorable(node, answers);
}

// A cache that cannot take an answer logs it and goes on, so whether it did shows only when it is asked again.
void FileScanner::CountUnstorable(QVKKeywordMatchNode const& stored, std::vector<Answer> const& answers) {
    std::vector<HString> ids;
    for (Answer const& answer : answers)
        ids.push_back(policy_.ids()[answer.template_index]);
    QVKKeywordMatchNode found;
    DLPCacheMgr::pins()->QueryMatchNode(*stored.file_node, ids, true, found);
    std::vector<std::size_t> const missing = MissingTemplates(ids, found);
    for (std::size_t const index : missing)
        ++counters_.templates[answers[index].template_index].unstorable;
    if (!missing.empty()) ++counters_.unstorable_files;
}

}  // namespace scanner
