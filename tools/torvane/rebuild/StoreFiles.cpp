#include "tools/torvane/rebuild/StoreFiles.h"

#include <algorithm>
#include <string_view>

#include "host/policy/KwArchivePath.h"

namespace torvane {

namespace {

// The archives of a snapshot but for the template file.
constexpr char const* kDefinitions[] = {Varnok::kFormatItemArchive, Varnok::kDataClassArchive,
                                        Varnok::kDataLevelArchive};

// Whether the check found damage in the file itself.
bool IsDamaged(FindingList const& found, std::string const& file) {
    return std::any_of(found.kept().begin(), found.kept().end(), [&](Finding const& finding) {
        return finding.severity == Severity::kDamage && finding.file == file;
    });
}

// What the check says about the store as a whole, if it says that.
std::string WhatOf(FindingList const& found, std::initializer_list<std::string_view> kinds) {
    for (Finding const& finding : found.kept()) {
        if (std::find(kinds.begin(), kinds.end(), finding.kind) != kinds.end()) return finding.what;
    }
    return "";
}

// The directory itself is unfinished, not just something in it.
std::string WhyUnfinished(std::string const& name, FindingList const& found) {
    for (Finding const& finding : found.kept()) {
        if (finding.kind == std::string_view("unfinished") && finding.file == name) return finding.what;
    }
    return "";
}

// Something else stands where a file should be without which the store is not complete.
std::string WhyForeign(std::string const& name, FindingList const& found, std::initializer_list<std::string> files) {
    for (Finding const& finding : found.kept()) {
        if (finding.kind != std::string_view("foreign")) continue;
        for (std::string const& file : files) {
            if (finding.file == name + "/" + file) return file + ": " + finding.what;
        }
    }
    return "";
}

void TakeSound(std::string const& name, FindingList const& found, char const* file, std::vector<std::string>& files) {
    if (!IsDamaged(found, name + "/" + file)) files.emplace_back(file);
}

void TakeDefinitions(std::string const& name, FindingList const& found, StoreFiles& files) {
    for (char const* const file : kDefinitions)
        TakeSound(name, found, file, files.first);
    TakeSound(name, found, Varnok::kTemplateArchive, files.last);
}

}  // namespace

StoreFiles FilesToCarry(StorePlace const& place, std::string const& name, FindingList const& found) {
    StoreFiles files;
    switch (place.kind) {
        case StoreKind::kTemplate:
            files.refused = WhatOf(found, {"snapshot-damaged", "snapshot-other"});
            if (files.refused.empty()) files.refused = WhyUnfinished(name, found);
            if (files.refused.empty())
                files.refused = WhyForeign(name, found,
                                           {Varnok::kTemplateArchive, Varnok::kFormatItemArchive,
                                            Varnok::kDataClassArchive, Varnok::kDataLevelArchive});
            TakeDefinitions(name, found, files);
            break;
        case StoreKind::kTask:
            files.refused = WhatOf(found, {"task-record-missing", "task-record-damaged", "task-record-other"});
            if (files.refused.empty()) files.refused = WhyUnfinished(name, found);
            if (files.refused.empty()) files.refused = WhyForeign(name, found, {"ScanTask.arc"});
            files.first = {"ScanTask.arc", "SnapCache"};
            TakeDefinitions(name, found, files);
            break;
        case StoreKind::kCounter:
            files.refused = WhatOf(found, {"marker-missing"});
            files.first = VersionsOfCounts(place.directory.substr(0, place.directory.size() - name.size() - 1), place);
            for (std::string const& version : files.first) {
                if (files.refused.empty()) files.refused = WhyForeign(name, found, {version});
            }
            if (files.first.empty()) files.refused = "nothing tells which version of the policy it is of";
            break;
    }
    return files;
}

}  // namespace torvane
