#include "examples/scanner/FileScanner.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "front/DLPCacheMgr.h"

namespace scanner {
namespace {

std::string_view ShortName(std::string_view path) {
    return path.substr(path.rfind('/') + 1);
}

}  // namespace

FileScanner::FileScanner(Policy const& policy, Options const& options, ContentGate& gate, TaskRun* task)
    : policy_(policy),
      options_(options),
      gate_(gate),
      task_(task),
      counters_(policy.templates().size()),
      store_(policy, task, counters_),
      reader_(options.most_file_bytes) {
    // One item with one node, every template looked up whatever was found before: then a full hit is a complete answer.
    QVKKeywordFileItem& item = param_.file_items.emplace_back();
    item.file_nodes.emplace_back();
    item.tpl_ids = policy.ids();
    item.count_matched = true;
    item.threshold = 1;
    item.lookup_flag = true;
    item.check_every_node = true;
    if (task != nullptr) param_.task_id = task->id();
}

FileOutcome FileScanner::Work(std::string const& path) {
    FileOutcome outcome;
    Stopwatch stopwatch(counters_);
    bool const read = Read(path, outcome);
    stopwatch.Mark(kRead);
    if (!read) return outcome;
    md5_of_file_ = md5_.Of(reader_.content());
    stopwatch.Mark(kMd5);

    QVKKeywordFileNode& file = param_.file_items[0].file_nodes[0];
    file.file_path = HString(path);
    file.file_md5 = HString(md5_of_file_);
    ContentGate::Pass const pass(gate_, md5_of_file_);
    Ask(stopwatch);
    QVKKeywordMatchNode node = std::move(result_.match_items[0].match_nodes[0]);
    std::vector<std::size_t> const missing = MissingTemplates(policy_.ids(), node);
    counters_.answers_from_cache += policy_.ids().size() - missing.size();
    std::vector<Answer> answers;
    if (!missing.empty()) {
        answers = Scan(path, missing, stopwatch);
        node = Merge(policy_, node, answers);
        stopwatch.Mark(kScan);
        KeepText(node);
    }
    if (options_.use_cache) {
        ResultStore::Taken const taken = store_.Take(param_, node, std::move(answers));
        outcome.found_times = taken.found_times;
        outcome.trouble = taken.not_recorded;
    }
    stopwatch.Mark(kStore);
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
    FileView const view{ShortName(path), reader_.content(), TextFor(missing)};
    stopwatch.Mark(kExtract);
    std::vector<Answer> answers;
    for (std::size_t const index : missing) {
        answers.push_back(ScanWithTemplate(policy_, index, view));
        ++counters_.templates[index].scanned;
    }
    return answers;
}

std::string_view FileScanner::TextFor(std::vector<std::size_t> const& missing) {
    kept_text_.reset();
    extracted_ = ExtractedText();
    auto const needs_text = [this](std::size_t index) { return policy_.templates()[index].needs_text; };
    if (std::none_of(missing.begin(), missing.end(), needs_text)) return {};
    if (task_ != nullptr) kept_text_ = task_->texts().Find(md5_of_file_);
    if (kept_text_) {
        ++counters_.texts_kept;
        return *kept_text_;
    }
    extracted_ = extractor_.Extract(reader_.content());
    if (extracted_.damaged) ++counters_.damaged;
    if (extracted_.cut) ++counters_.texts_cut;
    return extracted_.text;
}

// Keeps a text that was inflated whole; without a match there is no place to keep, and it is not. Any other text is the
// content itself, which was read for its MD5 in any case, or would hide that there is something to tell of it.
void FileScanner::KeepText(QVKKeywordMatchNode const& whole) {
    if (task_ == nullptr || !extracted_.inflated || extracted_.damaged || extracted_.cut) return;
    task_->texts().Keep(md5_of_file_, extracted_.text, whole.texts);
}

}  // namespace scanner
