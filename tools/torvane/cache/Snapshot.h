#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/policy/KwDefineMgr.h"

namespace torvane {

// Definitions as four archives in a directory hold them: a store's snapshot or the agent's own. One object, one thread.
class Snapshot {
  public:
    // Reads `directory`, again when one of its archives is replaced meanwhile; a missing or damaged archive is an empty
    // table. Throws Stop(kIo) for what may not be read.
    explicit Snapshot(std::string const& directory);

    [[nodiscard]] KwDefineMgr const& definitions() const { return *definitions_; }
    [[nodiscard]] bool damaged() const { return damaged_; }
    // Whether they were still being replaced at the last look: what was read may be of two states.
    [[nodiscard]] bool changed() const { return changed_; }
    // Whether there is a template file, or what stands in its place: without one a snapshot is incomplete, the agent's
    // definitions not there.
    [[nodiscard]] bool exists() const { return exists_; }
    // When the template file was written, seconds since 1970-01-01 UTC: for a snapshot, since when it has been there.
    [[nodiscard]] std::int64_t made() const { return made_; }

    // Null when the template is not among them.
    [[nodiscard]] QVKConfigKeywordTemplateNode const* Template(std::string const& id) const;
    // The MD5 of the template's definition; empty when it is not among them.
    [[nodiscard]] std::string Md5Of(std::string const& template_id) const;
    // Whether the file's name is part of the key under which the template's answers lie.
    [[nodiscard]] bool DependsOnName(std::string const& template_id) const;

  private:
    void Read(std::string const& directory);

    std::unique_ptr<KwDefineMgr> definitions_;
    bool changed_ = false;
    bool damaged_ = false;
    bool exists_ = false;
    std::int64_t made_ = 0;
};

// One thing that counts for a template's MD5 and is not the same in two sets of definitions.
struct Difference {
    std::string what;    // "template" or "rule"
    std::string id;      // of the rule
    std::string change;  // "added", "removed" or the field that changed
    std::string before;  // of a field that is an id or a number
    std::string after;
};
[[nodiscard]] std::vector<Difference> Differences(Snapshot const& before, Snapshot const& after,
                                                  std::string const& template_id);

}  // namespace torvane
