#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "examples/scanner/Answer.h"
#include "examples/scanner/ContentGate.h"
#include "examples/scanner/Counters.h"
#include "examples/scanner/Digest.h"
#include "examples/scanner/FileReader.h"
#include "examples/scanner/Options.h"
#include "examples/scanner/Policy.h"
#include "examples/scanner/ResultStore.h"
#include "examples/scanner/TaskRun.h"
#include "examples/scanner/TextExtractor.h"
#include "host/policy/QVKKeywordCheckParam.h"
#include "host/policy/QVKKeywordMatchResult.h"

namespace scanner {

// What became of one file.
struct FileOutcome {
    bool read = false;
    bool sensitive = false;
    int found_times = 0;  // of a sensitive file, this time included; 0: not counted
    std::string verdict;  // one line per matched rule; empty when nothing was found
    std::string trouble;  // for the user, when the file was not read, or found and not recorded
};

// Works on files one after the other, with buffers of its own: reads a file, asks the cache, scans with the templates
// that were not answered, hands over those answers and what is sensitive. One object per thread; the arguments are
// shared.
class FileScanner {
  public:
    // `task`: null when nothing is recorded.
    FileScanner(Policy const& policy, Options const& options, ContentGate& gate, TaskRun* task);

    // `path`: absolute, since what is recorded must mean the same file wherever it is read.
    // Throws std::bad_alloc or std::runtime_error when the run cannot go on.
    [[nodiscard]] FileOutcome Work(std::string const& path);
    [[nodiscard]] Counters const& counters() const { return counters_; }

  private:
    [[nodiscard]] bool Read(std::string const& path, FileOutcome& outcome);
    void Ask(Stopwatch& stopwatch);
    void CountAnswers(QVKKeywordMatchNode const& answered);
    [[nodiscard]] std::vector<Answer> Scan(std::string const& path, std::vector<std::size_t> const& missing,
                                           Stopwatch& stopwatch);
    [[nodiscard]] std::string_view TextFor(std::vector<std::size_t> const& missing);
    void KeepText(QVKKeywordMatchNode const& whole);

    Policy const& policy_;
    Options const& options_;
    ContentGate& gate_;
    TaskRun* task_;
    Counters counters_;
    ResultStore store_;
    FileReader reader_;
    Digest md5_{Digest::Kind::kMd5};
    TextExtractor extractor_;
    std::string md5_of_file_;
    std::optional<std::string> kept_text_;  // of the file at hand, when it was kept
    ExtractedText extracted_;               // of the file at hand, when it was extracted
    QVKKeywordCheckParam param_;            // with every template; only the file changes
    QVKKeywordMatchResult result_;          // emptied before each query
};

}  // namespace scanner
