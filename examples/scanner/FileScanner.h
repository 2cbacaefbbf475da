#pragma once

#include <string>

#include "examples/scanner/Answer.h"
#include "examples/scanner/ContentGate.h"
#include "examples/scanner/Counters.h"
#include "examples/scanner/Digest.h"
#include "examples/scanner/FileReader.h"
#include "examples/scanner/Options.h"
#include "examples/scanner/Policy.h"
#include "examples/scanner/TextExtractor.h"
#include "host/policy/QVKKeywordCheckParam.h"
#include "host/policy/QVKKeywordMatchResult.h"

namespace scanner {

// What became of one file.
struct FileOutcome {
    bool read = false;
    bool sensitive = false;
    std::string verdict;  // one line per matched rule; empty when nothing was found
    std::string trouble;  // for the user, when the file was not read
};

// Works on files one after the other, with buffers of its own: reads a file, asks the cache, scans with the templates
// that were not answered, stores those answers. One object per thread; `policy` and `gate` are shared.
class FileScanner {
  public:
    FileScanner(Policy const& policy, Options const& options, ContentGate& gate);

    // Throws std::bad_alloc or std::runtime_error when the run cannot go on.
    [[nodiscard]] FileOutcome Work(std::string const& path);
    [[nodiscard]] Counters const& counters() const { return counters_; }

  private:
    [[nodiscard]] bool Read(std::string const& path, FileOutcome& outcome);
    void Ask(Stopwatch& stopwatch);
    void CountAnswers(QVKKeywordMatchNode const& answered);
    [[nodiscard]] std::vector<Answer> Scan(std::string const& path, std::vector<std::size_t> const& missing,
                                           Stopwatch& stopwatch);
    [[nodiscard]] std::string_view ExtractFor(std::vector<std::size_t> const& missing);
    void Store(QVKKeywordMatchNode const& asked, std::vector<Answer> answers);
    void CountUnstorable(QVKKeywordMatchNode const& stored, std::vector<Answer> const& answers);

    Policy const& policy_;
    Options const& options_;
    ContentGate& gate_;
    Counters counters_;
    FileReader reader_;
    Digest md5_{Digest::Kind::kMd5};
    TextExtractor extractor_;
    QVKKeywordCheckParam param_;    // with every template; only the file changes
    QVKKeywordMatchResult result_;  // emptied before each query
};

}  // namespace scanner
