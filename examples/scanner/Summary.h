#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

#include "examples/scanner/Counters.h"
#include "examples/scanner/FileScanner.h"
#include "examples/scanner/FileWalker.h"
#include "examples/scanner/Options.h"
#include "examples/scanner/Policy.h"

namespace scanner {

struct SensitiveFile {
    std::string path;
    std::string verdict;
    int found_times = 0;  // 0: not counted
};

// What a run tells its user. A value.
struct Summary {
    using Seconds = Counters::Seconds;

    explicit Summary(std::size_t template_count) : counters(template_count) {}

    std::vector<std::string> paths;  // as given
    std::string root;
    std::string task;    // empty: nothing was recorded
    std::string policy;  // of the task
    bool use_cache = true;
    unsigned jobs = 1;
    Counters counters;
    std::vector<std::pair<std::string, std::string>> templates;  // id and name, in order
    Seconds open_seconds{};                                      // templates, definitions, caches made ready
    Seconds walk_seconds{};                                      // directories listed, while the caches are made ready
    Seconds files_seconds{};                                     // files worked on
    Seconds wall_seconds{};                                      // all of it
    std::vector<std::pair<std::string, std::uint64_t>> top_verdicts;  // line and number of files, most frequent first
    std::string
        digest;  // SHA-256 over path, zero byte, verdict, zero byte of each file read, in byte order of the paths
    std::vector<SensitiveFile> sensitive;  // in byte order of the paths
};

// Fills what follows from the outcomes: sensitive files, verdict lines, digest.
void Summarize(std::vector<std::string> const& files, std::vector<FileOutcome> const& outcomes, Summary& summary);

// As a table for people; sensitive files are listed with `verbose`, `colour` allows escape sequences.
void PrintText(Summary const& summary, bool verbose, bool colour, std::ostream& out);
// As one JSON object, sensitive files included (their paths as JsonText.h has them).
void PrintJson(Summary const& summary, std::ostream& out);

// Control characters (in UTF-8 also U+0080 to U+009F) as \xNN per byte, so that no file name can steer a terminal.
[[nodiscard]] std::string Printable(std::string const& text);

// The columns that a text of UTF-8 takes, as its number of code points: wide and combining characters are not told
// apart.
[[nodiscard]] std::size_t WidthOf(std::string const& text);

}  // namespace scanner
