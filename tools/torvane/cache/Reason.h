#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/torvane/cache/CacheRoot.h"
#include "tools/torvane/cache/FileKey.h"
#include "tools/torvane/cache/KeyLookup.h"
#include "tools/torvane/cache/Snapshot.h"

namespace torvane {

// Why a file is answered from the cache for a template, or is not.
enum class Reason {
    kMatched,            // a hit: answered with a match
    kNotMatched,         // a hit: answered as not matched
    kNeverStored,        // a miss: nobody stored an answer for this content
    kDefinitionChanged,  // a miss: it was answered under another definition of the template
    kTemplateUnknown,    // the agent's definitions do not have the template
    kKeyUnstorable,      // a miss, for ever: the key falls into bucket 0
    kDamaged,            // a miss: what was stored cannot be read
    kBusy,               // it kept changing
};
[[nodiscard]] char const* NameOf(Reason reason);  // "matched", "not-matched", "never-stored", ...
[[nodiscard]] bool IsHit(Reason reason);

// One state of the template's definition that the cache has answers under.
struct KnownVersion {
    StorePlace place;
    bool current = false;
    std::int64_t since = 0;  // when its cache was made, seconds since 1970-01-01 UTC
    bool has_answer = false;
    std::string damage;                   // why it cannot be told whether it has one
    std::vector<Difference> differences;  // from it to the current definition
};

struct Explanation {
    Reason reason = Reason::kNeverStored;
    std::string damage;        // of kDamaged, of an answer's text or of the definitions
    std::string current_md5;   // empty: the template is unknown
    bool from_config = false;  // else the newest snapshot stands for the agent's definitions, which it has not kept
    // With the MD5 written in one of the two cases the key falls into bucket 0; nothing was found for the other.
    bool may_be_unstorable = false;
    bool fingerprint_rules = false;  // it has rules whose matches are never stored
    std::vector<KnownVersion> versions;
    std::string key;                  // in the index; empty when it is not known
    std::optional<StorePlace> place;  // the current definition's store
    IndexView::Search search;         // where the answer lies, with IsHit or kDamaged
};

// Throws Stop(kIo).
[[nodiscard]] Explanation Explain(CacheRoot const& root, FileIdentity const& file, std::string const& template_id);

}  // namespace torvane
