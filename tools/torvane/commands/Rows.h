#pragma once

#include <cstdint>
#include <string>

#include "tools/torvane/cache/FileKey.h"
#include "tools/torvane/cache/Snapshot.h"
#include "tools/torvane/cache/StoreView.h"
#include "tools/torvane/output/Output.h"

// One thing of a cache as an object: what `ls` and `export` write as a row and `show` as a whole. Each ends in "state"
// ("sound", "damaged", "busy") and "damage" (a text, or null). What could not be read is null. No state; throws
// Stop(kIo).
namespace torvane {

struct Row {
    Json json;
    Soundness soundness = Soundness::kSound;
    // It was removed before it could be read, or is not finished or half removed: no row of a list.
    bool gone = false;
};

// Md5OfFile, which shows how far it is when that is wanted.
[[nodiscard]] std::string Md5WithProgress(std::string const& path, bool progress);

// Seconds since 1970-01-01 UTC as RFC 3339 text; null for 0, which stands for "none", and outside the years 0 to 9999.
[[nodiscard]] Json TimeOf(std::int64_t seconds);

// How much of a record is shown.
struct Detail {
    bool whole = false;      // with rules, positions and where it lies
    bool show_text = false;  // match texts and extracted texts, else only their lengths (in UTF-16 units)
    // Names of the rules; may be null.
    Snapshot const* definitions = nullptr;
    // Of the store of counts: see LookAtMarker.
    Look marker{};
};

// `current`: the agent's own definitions; null when they cannot be read.
[[nodiscard]] Row TemplateRow(StorePlace const& place, Snapshot const* current);
[[nodiscard]] Row TaskRow(StorePlace const& place);
// `name`: the text's file without ".arc".
[[nodiscard]] Row TextRow(StorePlace const& task, std::string const& name, Detail const& detail);

}  // namespace torvane
