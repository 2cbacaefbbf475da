#include "tools/torvane/cache/CacheRoot.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <memory>
#include <tuple>

#include "host/base/HIniFileHelper.h"
#include "host/base/HString.h"
#include "host/policy/KwArchivePath.h"
#include "host/policy/KwIdName.h"
#include "host/policy/QVKPolicySensitiveFileAuditVT.h"
#include "tools/torvane/ExitStatus.h"

namespace torvane {

namespace {

constexpr int kLayout = 4;
constexpr char kArchiveEnding[] = ".arc";

[[noreturn]] void CannotRead(std::string const& path, int error) {
    throw Stop(ExitStatus::kIo, "cannot read " + path + ": " + std::strerror(error));
}

bool IsDirectory(std::string const& path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) == 0) return S_ISDIR(status.st_mode);
    if (errno == ENOENT || errno == ENOTDIR) return false;
    CannotRead(path, errno);
}

// The id of a directory's name, or the name itself where it is none of the library's.
bool IdOf(std::string const& name, std::string& id) {
    HString text;
    bool const known = Varnok::FileNameToId(HString(name), text);
    id = known ? text.get_str() : name;
    return known;
}

bool IsTimeStamp(std::string const& name) {
    std::int64_t time = 0;
    auto const [stop, error] = std::from_chars(name.data(), name.data() + name.size(), time);
    return error == std::errc() && std::to_string(time) == name;
}

using Wanted = CacheRoot::Wanted;

// Whether it is one. Something else that stands there is told.
bool Enter(std::string const& directory, Wanted const& wanted) {
    if (IsDirectory(directory)) return true;
    if (wanted.foreign && IsForeign(directory)) wanted.foreign(directory);
    return false;
}

std::vector<StorePlace> PlacesIn(StoreKind kind, std::string const& directory, Wanted const& wanted) {
    if (!Enter(directory, wanted)) return {};
    std::vector<StorePlace> places;
    for (std::string const& name : NamesIn(directory)) {
        StorePlace place{kind, {}, {}, directory + "/" + name};
        bool const is_id = IdOf(name, place.id);
        if (!wanted.id.empty() && place.id != wanted.id) continue;
        if (Enter(place.directory, wanted) && is_id) places.push_back(std::move(place));
    }
    return places;
}

// Tells of a failing `look`, if there is anybody to tell.
void Try(Wanted const& wanted, std::function<void()> const& look) {
    try {
        look();
    } catch (Stop const& stop) {
        if (!wanted.unreadable) throw;
        wanted.unreadable(stop);
    }
}

std::vector<StorePlace> TemplatePlaces(std::string const& directory, Wanted const& wanted) {
    std::vector<StorePlace> places;
    Wanted versions = wanted;
    versions.id.clear();
    for (StorePlace const& of_id : PlacesIn(StoreKind::kTemplate, directory, wanted)) {
        Try(wanted, [&] {
            for (StorePlace& place : PlacesIn(StoreKind::kTemplate, of_id.directory, versions)) {
                place.version = place.id;
                place.id = of_id.id;
                places.push_back(std::move(place));
            }
        });
    }
    return places;
}

std::vector<StorePlace> CounterPlaces(std::string const& root, Wanted const& wanted) {
    std::string const directory = root + "/cache/sensrecord";
    if (!Enter(directory, wanted)) return {};
    std::vector<StorePlace> places;
    for (StorePlace& place : PlacesIn(StoreKind::kCounter, directory + "/1", wanted)) {
        Try(wanted, [&] {
            place.version = VersionOfCounts(root, place);
            places.push_back(std::move(place));
        });
    }
    return places;
}

}  // namespace

char const* NameOf(StoreKind kind) {
    switch (kind) {
        case StoreKind::kTemplate:
            return "template";
        case StoreKind::kTask:
            return "task";
        case StoreKind::kCounter:
            break;
    }
    return "counter";
}

std::string StorePlace::Name() const {
    std::string name = std::string(NameOf(kind)) + " " + id;
    if (!version.empty()) name += " " + version;
    return name;
}

CacheRoot::CacheRoot(std::string const& root) : root_(root) {
    while (root_.size() > 1 && root_.back() == '/')
        root_.pop_back();
    struct stat status {};
    if (::stat(CachePath().c_str(), &status) != 0) {
        if (errno == ENOENT || errno == ENOTDIR) throw Stop(ExitStatus::kNoCache, "no cache at " + root_);
        CannotRead(CachePath(), errno);
    }
    if (!S_ISDIR(status.st_mode)) throw Stop(ExitStatus::kNoCache, CachePath() + " is no directory");

    HIniFileHelper ini;
    std::string const path = CachePath() + "/Version.ini";
    stamp_error_ = ini.setFile(HString(path));
    if (stamp_error_ == EACCES || stamp_error_ == EPERM || stamp_error_ == EIO) CannotRead(path, stamp_error_);
    HIniFileHelper::Entries entries;
    (void)ini.read_section("DLP", entries);
    stamp_.insert(entries.begin(), entries.end());  // of a key given twice the first counts
    int layout = 0;
    has_layout_ = ini.read_int("DLP", "cache", layout) == 0;
    if (!has_layout_ || layout == kLayout) return;
    throw Stop(ExitStatus::kUnknownFormat, path + ": cache layout " + std::to_string(layout) + ", known is " +
                                               std::to_string(kLayout) +
                                               "; the library of this version wipes this cache at its next start");
}

bool CacheRoot::WillBeWiped() const {
    return !has_layout_ && (stamp_error_ == 0 || stamp_error_ == ENOENT);
}

std::vector<StorePlace> CacheRoot::Stores(StoreKind kind, Wanted const& wanted) const {
    std::vector<StorePlace> places;
    switch (kind) {
        case StoreKind::kTemplate:
            places = TemplatePlaces(CachePath() + "/template", wanted);
            break;
        case StoreKind::kTask:
            places = PlacesIn(kind, CachePath() + "/task", wanted);
            break;
        case StoreKind::kCounter:
            places = CounterPlaces(root_, wanted);
            break;
    }
    std::sort(places.begin(), places.end(), [](StorePlace const& a, StorePlace const& b) {
        return std::tie(a.id, a.version) < std::tie(b.id, b.version);
    });
    return places;
}

std::vector<StorePlace> CacheRoot::Stores() const {
    std::vector<StorePlace> places;
    for (StoreKind const kind : {StoreKind::kTemplate, StoreKind::kTask, StoreKind::kCounter}) {
        std::vector<StorePlace> const more = Stores(kind);
        places.insert(places.end(), more.begin(), more.end());
    }
    return places;
}

std::vector<std::string> CacheRoot::TextsOf(StorePlace const& task) const {
    std::vector<std::string> names;
    for (std::string const& name : NamesIn(task.directory + "/text")) {
        std::string text;
        if (IsArchive(name, text)) names.push_back(std::move(text));
    }
    return names;
}

std::vector<std::string> MarkersIn(std::string const& directory) {
    std::vector<std::string> names = NamesIn(directory);
    std::erase_if(names, [](std::string const& name) { return !IsTimeStamp(name); });
    return names;
}

std::vector<std::string> VersionsOfCounts(std::string const& root, StorePlace const& counts) {
    std::vector<std::string> markers = MarkersIn(counts.directory);
    if (markers.size() < 2) return markers;
    QVKPolicySensitiveFileAuditVT policies;
    (void)policies.from_file(HString(root + "/config/" + Varnok::kAuditPolicyArchive));
    for (auto const& policy : policies.nodes) {
        std::string const version = std::to_string(policy.header().time_stamp);
        if (policy.header().id.get_str() == counts.id && std::binary_search(markers.begin(), markers.end(), version))
            return {version};
    }
    return markers;
}

std::string VersionOfCounts(std::string const& root, StorePlace const& counts) {
    std::vector<std::string> const versions = VersionsOfCounts(root, counts);
    return versions.empty() ? std::string() : versions.back();
}

bool IsGone(std::string const& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

bool IsForeign(std::string const& directory) {
    return !IsDirectory(directory) && !IsGone(directory);
}

bool IsArchive(std::string const& file, std::string& name) {
    if (!file.ends_with(kArchiveEnding)) return false;
    name = file.substr(0, file.size() - std::strlen(kArchiveEnding));
    return true;
}

void ForEachName(std::string const& directory, std::function<bool(std::string const&)> const& take) {
    constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    int fd = ::open(directory.c_str(), kFlags | O_NOATIME);
    if (fd < 0 && errno == EPERM) fd = ::open(directory.c_str(), kFlags);
    if (fd < 0) {
        if (errno == ENOENT || errno == ENOTDIR || errno == ELOOP) return;
        CannotRead(directory, errno);
    }
    std::unique_ptr<DIR, int (*)(DIR*)> const stream(::fdopendir(fd), ::closedir);
    if (stream == nullptr) {
        int const error = errno;
        ::close(fd);
        CannotRead(directory, error);
    }
    for (;;) {
        errno = 0;
        dirent const* const entry = ::readdir(stream.get());
        if (entry == nullptr) break;
        std::string const name = entry->d_name;
        if (name != "." && name != ".." && !take(name)) return;
    }
    if (errno != 0) CannotRead(directory, errno);
}

std::vector<std::string> NamesIn(std::string const& directory) {
    std::vector<std::string> names;
    ForEachName(directory, [&](std::string const& name) {
        names.push_back(name);
        return true;
    });
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace torvane
