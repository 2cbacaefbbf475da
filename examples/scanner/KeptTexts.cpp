#include "examples/scanner/KeptTexts.h"

#include "examples/scanner/Registry.h"
#include "host/base/HDirSnap.h"
#include "host/policy/KwLocateMgr.h"

namespace scanner {
namespace {

constexpr std::string_view kSuffix = ".arc";

// The MD5s that name the files of a task's texts. MD5s are their own file names.
std::set<std::string> ListNames(HString const& task_id) {
    HString directory = KwLocateMgr::pins()->get_task_path(task_id, true);
    directory << "text";
    HDirSnap files;
    files.set_file(directory);
    std::set<std::string> names;
    if (!files.snap()) return names;
    for (HDirSnap::Entry const& entry : files.entries()) {
        std::string name = entry.path.get_short_name().get_str();
        if (!name.ends_with(kSuffix)) continue;
        name.resize(name.size() - kSuffix.size());
        names.insert(std::move(name));
    }
    return names;
}

// The places of all matches by line, as the library joins them.
QVKKeywordText MergePlaces(std::vector<QVKKeywordText> const& matched) {
    QVKKeywordText merged;
    TaskRegistry().MergeMatchFileText(matched, merged);
    merged.tpl_id.clear();
    return merged;
}

}  // namespace

KeptTexts::KeptTexts(HString const& task_id) : cache_(task_id), names_(ListNames(task_id)) {}

bool KeptTexts::IsKnown(std::string const& md5) const {
    std::lock_guard const lock(mutex_);
    return names_.contains(md5);
}

std::optional<std::string> KeptTexts::Find(std::string const& md5) {
    if (!IsKnown(md5)) return std::nullopt;
    QVKKeywordText kept;
    if (cache_.Find(HString(md5), kept) == DLPCache::kTextFound) return kept.text.get_str();
    std::lock_guard const lock(mutex_);
    names_.erase(md5);
    return std::nullopt;
}

void KeptTexts::Keep(std::string const& md5, std::string_view text, std::vector<QVKKeywordText> const& matched) {
    if (text.size() > kMostText || IsKnown(md5)) return;
    QVKKeywordText kept = MergePlaces(matched);
    if (kept.line_positions.empty()) return;
    kept.text = HString(text);
    if (kept.text.get_str() != text) return;
    if (cache_.Add(HString(md5), kept) != DLPCache::kTextStored) return;
    std::lock_guard const lock(mutex_);
    names_.insert(md5);
}

}  // namespace scanner
