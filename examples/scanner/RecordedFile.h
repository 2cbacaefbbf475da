#pragma once

#include <iosfwd>
#include <string>

#include "examples/scanner/Options.h"
#include "host/base/HString.h"
#include "host/policy/SensFile.h"

namespace scanner {

// A finding of a task, ready to be shown. A value.
struct RecordedFile {
    SensFile file;
    std::string level;    // name; the greatest number of today's levels
    std::string classes;  // names, joined with "|"
    std::string verdict;  // by the answers and definitions that the task used
    bool whole = false;   // there was an answer for each of its templates

    // The verdict at the time of the scan.
    [[nodiscard]] std::string Recorded() const { return file.extra_1.get_str(); }
    // How often the file had been found by then, in decimal.
    [[nodiscard]] std::string FoundTimes() const { return file.extra_2.get_str(); }
};

// Rebuilds a finding that `task_id`'s store gave from the template caches.
[[nodiscard]] RecordedFile Rebuild(HString const& task_id, SensFile file);

// Writes a task's findings one after the other, so that none need be held.
class FindingsPrinter {
  public:
    // As text, for people: each finding in a few lines; the recorded verdict stands besides where the rebuilt one
    // differs: answers are gone, or the task was repeated with other rules. Or as one JSON object.
    FindingsPrinter(Format format, std::string const& task_id, std::ostream& out);

    void Print(RecordedFile const& finding);
    // `unread`: how many findings could not be read.
    void End(std::size_t unread);

  private:
    Format format_;
    std::ostream& out_;
    std::size_t count_ = 0;
};

}  // namespace scanner
