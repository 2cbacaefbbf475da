#pragma once

#include <iosfwd>
#include <string>
#include <vector>

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

// For people: each finding in a few lines. The recorded verdict stands besides where the rebuilt one differs: answers
// are gone, or the task was repeated with other rules.
void PrintText(std::vector<RecordedFile> const& findings, std::ostream& out);
// As one JSON object.
void PrintJson(std::string const& task_id, std::vector<RecordedFile> const& findings, std::ostream& out);

}  // namespace scanner
