#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tools/torvane/ExitStatus.h"

namespace torvane {

enum class StoreKind { kTemplate, kTask, kCounter };
[[nodiscard]] char const* NameOf(StoreKind kind);  // "template", "task", "counter"

// Where one record store lies.
struct StorePlace {
    StoreKind kind{};
    std::string id;         // of the template, task or policy, as the directory's name tells it
    std::string version;    // MD5 of the template's definitions or time stamp of the policy; empty for a task
    std::string directory;  // without a separator at the end

    [[nodiscard]] std::string IndexPath() const { return directory + "/index"; }
    [[nodiscard]] std::string DataPath() const { return directory + "/cache"; }
    [[nodiscard]] std::string Name() const;  // for people: kind, id, version
};

// The directories of a cache, read and never changed. One object, one thread.
class CacheRoot {
  public:
    // Throws Stop: kNoCache when there is no directory "cache" below `root` (or no `root`), kIo when it cannot be read,
    // kUnknownFormat when its stamp names another layout. A stamp that is missing or names none is the library's to
    // judge.
    explicit CacheRoot(std::string const& root);

    [[nodiscard]] std::string const& root() const { return root_; }
    [[nodiscard]] std::string CachePath() const { return root_ + "/cache"; }
    [[nodiscard]] std::string ConfigPath() const { return root_ + "/config"; }
    [[nodiscard]] std::string LogPath() const { return root_ + "/log/DLPCache.log"; }
    // The entries of Version.ini's section.
    [[nodiscard]] std::map<std::string, std::string> const& stamp() const { return stamp_; }
    // Why the stamp could not be read, an errno (ENOENT: it is missing); 0: it could.
    [[nodiscard]] int stamp_error() const { return stamp_error_; }
    // Whether the stamp names the layout, as the library reads it. Without a name in a stamp that is missing or can be
    // read it wipes the cache at its next start; a stamp that it cannot read changes nothing.
    [[nodiscard]] bool HasLayout() const { return has_layout_; }
    [[nodiscard]] bool WillBeWiped() const;

    // In the order of kind, id, version. A directory counts although files are missing in it.
    [[nodiscard]] std::vector<StorePlace> Stores() const;
    struct Wanted {
        // Told what below the kind's own directory cannot be read; without it that is thrown, as is always a failure
        // of that directory.
        std::function<void(Stop const&)> unreadable;
        // Told what stands in the place of a directory and is none.
        std::function<void(std::string const& path)> foreign;
        std::string id;  // only those of this one, and others are not looked into; empty: all
    };
    [[nodiscard]] std::vector<StorePlace> Stores(StoreKind kind, Wanted const& wanted) const;
    [[nodiscard]] std::vector<StorePlace> Stores(StoreKind kind) const { return Stores(kind, Wanted()); }
    // The files of a task's texts: names without ".arc", sorted.
    [[nodiscard]] std::vector<std::string> TextsOf(StorePlace const& task) const;

  private:
    std::string root_;
    std::map<std::string, std::string> stamp_;
    int stamp_error_ = 0;
    bool has_layout_ = false;
};

// The names of markers in a directory of found-times, sorted: time stamps as the library writes them. Throws Stop(kIo).
[[nodiscard]] std::vector<std::string> MarkersIn(std::string const& directory);
// Those of them that may name the policy's version: of several the one that the agent's policies under `root` name;
// all when they name none of them. Throws Stop(kIo).
[[nodiscard]] std::vector<std::string> VersionsOfCounts(std::string const& root, StorePlace const& counts);
// The last of these; empty without one.
[[nodiscard]] std::string VersionOfCounts(std::string const& root, StorePlace const& counts);

// Whether nothing stands at the path: what was listed there has been removed since.
[[nodiscard]] bool IsGone(std::string const& path);

// Whether something that is no directory stands there. Throws Stop(kIo).
[[nodiscard]] bool IsForeign(std::string const& directory);

// Whether a file's name is that of an archive, and that name without ".arc".
[[nodiscard]] bool IsArchive(std::string const& file, std::string& name);

// Gives each name in a directory to `take`, in the directory's own order, until it returns false: constant memory,
// whatever the directory holds. Nothing when the directory is missing or no directory. Throws Stop(kIo).
void ForEachName(std::string const& directory, std::function<bool(std::string const&)> const& take);
// The names in a directory, sorted; none when it is missing. Throws Stop(kIo).
[[nodiscard]] std::vector<std::string> NamesIn(std::string const& directory);

}  // namespace torvane
