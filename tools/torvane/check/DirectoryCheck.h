#pragma once

#include <sys/stat.h>

#include <string>
#include <unordered_set>
#include <vector>

#include "tools/torvane/check/ChangeWatch.h"
#include "tools/torvane/check/Finding.h"

namespace torvane {

// The entries of one directory against those that belong there. One object, one thread.
class DirectoryCheck {
  public:
    // `name`: of the directory, below `root`. Watched from now on. Throws Stop(kIo).
    DirectoryCheck(std::string const& root, std::string name, FindingList& list, ChangeWatch& watch);

    [[nodiscard]] std::vector<std::string> const& names() const { return names_; }
    [[nodiscard]] bool Has(std::string const& name) const;
    [[nodiscard]] bool IsDirectory(std::string const& name) const;
    [[nodiscard]] bool IsEmpty() const { return names_.empty(); }
    [[nodiscard]] std::string const& name() const { return name_; }

    // The entry belongs here: damage when it is no regular file, or no directory. True when it is what it should be.
    bool ExpectFile(std::string const& name);
    bool ExpectDirectory(std::string const& name);
    // The entry is told elsewhere, whatever it is.
    void Ignore(std::string const& name) { expected_.insert(name); }

    // To be called last: temporary files are waste, all else that was not expected is stray.
    void TellRest();

  private:
    [[nodiscard]] std::string Below(std::string const& name) const { return name_ + "/" + name; }
    bool Expect(std::string const& name, bool is_directory);

    std::string root_;
    std::string name_;
    FindingList& list_;
    ChangeWatch& watch_;
    std::vector<std::string> names_;
    std::unordered_set<std::string> expected_;
};

// Looks at an entry; `name`: below `root`. False when there is none, and when it cannot be looked at, which is told.
[[nodiscard]] bool LookAtEntry(std::string const& root, std::string const& name, struct stat& status,
                               FindingList& list);

// One entry that does not belong where it is; `name`: below `root`.
void TellUnexpectedEntry(std::string const& root, std::string const& name, FindingList& list);

// Whether the library gives temporary files such names: "index.tmp", "<file>.<process>-<number>.tmp".
[[nodiscard]] bool IsTemporaryName(std::string const& name);

}  // namespace torvane
