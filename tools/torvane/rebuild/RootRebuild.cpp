#include "tools/torvane/rebuild/RootRebuild.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <iterator>
#include <string_view>
#include <thread>
#include <utility>

#include "host/base/HFile.h"
#include "tools/torvane/ExitStatus.h"
#include "tools/torvane/check/ConfigCheck.h"
#include "tools/torvane/check/StoresCheck.h"
#include "tools/torvane/check/TextCheck.h"
#include "tools/torvane/check/TreeCheck.h"
#include "tools/torvane/rebuild/BucketCount.h"
#include "tools/torvane/rebuild/FileCopy.h"
#include "tools/torvane/rebuild/Interruption.h"
#include "tools/torvane/rebuild/StoreFiles.h"

namespace torvane {

namespace {

constexpr int kTries = 4;  // the first and three more
constexpr std::chrono::milliseconds kPause(20);
constexpr char kDefinitions[] = "config";
constexpr char kStamp[] = "/cache/Version.ini";
// The library completes it; with this alone it leaves what is there.
constexpr char kLeastStamp[] = "[DLP]\ncache=4\n";

// Of what the check names, the kinds that mean something is not carried over which no slot or record tells of.
constexpr std::string_view kNotCarried[] = {"stray",       "temporary",       "foreign",       "snapshot-damaged",
                                            "index-short", "index-table-cut", "index-slot-cut"};

void TellFiles(FindingList const& found, Carried& carried) {
    for (Finding const& finding : found.kept()) {
        bool const is_told =
            std::find(std::begin(kNotCarried), std::end(kNotCarried), finding.kind) != std::end(kNotCarried);
        if (is_told) carried.LeaveOut({finding.file, finding.slot, finding.what});
    }
}

bool IsMissing(std::string const& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) != 0 && errno == ENOENT;
}

bool IsNoDirectory(std::string const& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 && !S_ISDIR(status.st_mode);
}

// As it is by now.
StorePlace UpToDate(std::string const& root, StorePlace place) {
    if (place.kind == StoreKind::kCounter) place.version = VersionOfCounts(root, place);
    return place;
}

// What the check says about the file; empty: nothing.
std::string WhyDamaged(FindingList const& found, std::string const& file) {
    for (Finding const& finding : found.kept()) {
        if (finding.file == file) return finding.what;
    }
    return "";
}

void RequireReadable(FindingList const& found) {
    if (found.Count(Severity::kUnreadable) == 0) return;
    for (Finding const& finding : found.kept()) {
        if (finding.severity == Severity::kUnreadable)
            throw Stop(ExitStatus::kIo, "cannot read " + finding.file + ": " + finding.what);
    }
    throw Stop(ExitStatus::kIo, "parts of the cache cannot be read");
}

}  // namespace

RootRebuild::RootRebuild(Purpose purpose, CacheRoot const& source, std::string out, Listener listener)
    : purpose_(purpose), source_(source), out_(std::move(out)), listener_(std::move(listener)) {}

void RootRebuild::Run() {
    MakeDirectory(out_ + "/cache");
    TellTree();
    std::vector<StorePlace> const places = source_.Stores();
    for (std::size_t i = 0; i < places.size(); ++i) {
        listener_.progress(i, places.size(), places[i].Name());
        CarryStore(places[i]);
    }
    for (char const* const directory : {kDefinitions, "ini"})
        CarryAgentsFiles(directory);
    CarryStamp();
}

// What does not belong among the stores' directories is not carried over.
void RootRebuild::TellTree() {
    FindingList found;
    ChangeWatch unwatched;
    std::string const& root = source_.root();
    CheckTop(root, found, unwatched);
    CheckCountersTop(root, found, unwatched);
    for (char const* const name : {"cache/template", "cache/task", "cache/sensrecord/1"})
        CheckIds(root, name, found, unwatched);
    for (std::string const& id : NamesIn(root + "/cache/template"))
        CheckIds(root, "cache/template/" + id, found, unwatched);
    Carried carried;
    TellFiles(found, carried);
    listener_.carried(carried);
}

void RootRebuild::CarryStore(StorePlace const& place) {
    std::string const name = place.directory.substr(source_.root().size() + 1);
    for (int round = 1; round <= kTries; ++round) {
        Interruption::Check();
        Carried carried;
        if (TryStore(UpToDate(source_.root(), place), name, carried)) return listener_.carried(carried);
        RemoveTree(out_ + "/" + name);
        std::this_thread::sleep_for(kPause);
    }
    throw Stop(ExitStatus::kBusy, name + " was written each time that it was copied");
}

bool RootRebuild::TryStore(StorePlace const& place, std::string const& name, Carried& carried) {
    FindingList found;
    ChangeWatch watch;
    watch.Add(place.directory);
    if (IsMissing(place.directory)) return true;  // removed since it was listed
    CheckStore({source_, place, Depth::kQuick, found, watch});
    if (watch.HasChanged()) return false;
    if (HasTooManySlots(IndexView(place.IndexPath()))) {
        carried.LeaveOut({name, std::nullopt, "its index has more slots than this version can check"});
        return !watch.MayHaveChanged();
    }
    RequireReadable(found);
    StoreFiles const files = FilesToCarry(place, name, found);
    if (!files.refused.empty()) {
        carried.LeaveOut({name, std::nullopt, files.refused});
        return !watch.MayHaveChanged();
    }
    TellFiles(found, carried);
    std::string const directory = out_ + "/" + name;
    MakeDirectory(directory);
    auto const copy = [&](std::string const& file) {
        watch.Add(place.directory + "/" + file);
        if (CopyFile(place.directory + "/" + file, directory + "/" + file)) {
            ++carried.files;
        } else if (!IsMissing(place.directory + "/" + file)) {
            carried.LeaveOut({name + "/" + file, std::nullopt, "no regular file"});
        }
    };
    for (std::string const& file : files.first)
        copy(file);
    try {
        FindingList ignored;
        StoreCheck check(place, name, purpose_ == Purpose::kRepair ? Depth::kFull : Depth::kQuick, ignored, watch);
        bool const may_be_other = purpose_ == Purpose::kRepair && place.kind != StoreKind::kTask;
        auto const buckets = may_be_other ? BucketCountByKeys(check.index(), place.kind) : std::nullopt;
        if (buckets) check.Believe(*buckets);
        check.Run();
        StoreRebuild(purpose_, place, name, check, directory, carried).Run();
    } catch (Stop const& stop) {
        if (stop.status() != ExitStatus::kBusy) throw;
        return false;
    }
    if (place.kind == StoreKind::kTask) CarryTexts(place, name, carried, watch);
    for (std::string const& file : files.last)
        copy(file);
    return !watch.MayHaveChanged();
}

void RootRebuild::CarryTexts(StorePlace const& place, std::string const& name, Carried& carried, ChangeWatch& watch) {
    std::string const texts = name + "/text";
    bool is_made = false;
    ForEachName(place.directory + "/text", [&](std::string const& text) {
        Interruption::Check();
        std::string const file = texts + "/" + text;
        FindingList found;
        CheckTextFile(source_.root(), file, Depth::kFull, found, watch);
        if (!watch.HasChanged()) RequireReadable(found);
        if (!found.kept().empty()) {
            carried.LeaveOut({file, std::nullopt, found.kept().front().what});
            return true;
        }
        if (!std::exchange(is_made, true)) MakeDirectory(out_ + "/" + texts);
        if (CopyFile(source_.root() + "/" + file, out_ + "/" + file)) ++carried.files;
        return true;
    });
}

void RootRebuild::CarryAgentsFiles(std::string const& directory) {
    for (int round = 1; round <= kTries; ++round) {
        Carried carried;
        if (TryAgentsFiles(directory, carried)) return listener_.carried(carried);
        RemoveTree(out_ + "/" + directory);
        std::this_thread::sleep_for(kPause);
    }
    throw Stop(ExitStatus::kBusy, directory + " was written each time that it was copied");
}

bool RootRebuild::TryAgentsFiles(std::string const& directory, Carried& carried) {
    std::string const from = source_.root() + "/" + directory;
    ChangeWatch watch;
    watch.Add(from);
    if (IsNoDirectory(from)) {
        if (purpose_ == Purpose::kCompact) throw Stop(ExitStatus::kNo, from + " is no directory: not carried over");
        carried.LeaveOut({directory, std::nullopt, "no directory: nothing in it was looked at"});
        return !watch.MayHaveChanged();
    }
    FindingList damaged;
    if (purpose_ == Purpose::kRepair && directory == kDefinitions) CheckConfig(source_.root(), damaged, watch);
    if (watch.HasChanged()) return false;
    RequireReadable(damaged);
    for (std::string const& file : NamesIn(from)) {
        std::string const name = directory + "/" + file;
        listener_.progress(1, 1, name);
        Interruption::Check();
        MakeDirectory(out_ + "/" + directory);
        watch.Add(from + "/" + file);
        if (std::string const why = WhyDamaged(damaged, name); !why.empty()) {
            carried.LeaveOut({name, std::nullopt, why});
        } else if (CopyFile(from + "/" + file, out_ + "/" + name)) {
            ++carried.files;
        } else {
            carried.LeaveOut({name, std::nullopt, "no regular file"});
        }
    }
    return !watch.MayHaveChanged();
}

void RootRebuild::CarryStamp() {
    Interruption::Check();
    Carried carried;
    std::string const stamp = out_ + kStamp;
    if (source_.HasLayout() && CopyFile(source_.root() + kStamp, stamp)) {
        ++carried.files;
    } else if (purpose_ == Purpose::kRepair) {
        if (HFile::replace_file(HString(stamp), kLeastStamp, sizeof kLeastStamp - 1) != 0)
            throw Stop(ExitStatus::kIo, "cannot write " + stamp);
        carried.LeaveOut({kStamp + 1, std::nullopt, "no stamp of a cache layout: made anew"});
    }
    listener_.carried(carried);
}

}  // namespace torvane
