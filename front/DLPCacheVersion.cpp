#include "front/DLPCacheVersion.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <type_traits>
#include <vector>

#include "host/base/HAutoMutex.h"
#include "host/base/HFile.h"
#include "host/base/HIniFileHelper.h"
#include "host/base/HMutex.h"
#include "host/base/HString.h"
#include "host/base/NoThrow.h"
#include "host/policy/KwLocateMgr.h"
#include "storage/DLPCacheLog.h"

namespace {

constexpr DLPCache::SourceLog kLog(L"../DLPCacheMgr.cpp");
constexpr char kOperation[] = "CheckModuleVersion";

constexpr char kStampFile[] = "Version.ini";
constexpr char kStampSection[] = "DLP";

// The stamp's integers in the order of the file. The last one, the version of the cache layout, alone decides whether
// what the root holds can be used.
constexpr std::array kStampKeys = {"major", "branch", "minor", "revise", "module", "cache"};
using Stamp = std::array<int, kStampKeys.size()>;
constexpr Stamp kCurrent = {3, 2306, 4, 13, 1, 4};

// Line numbers of the log.
enum Line : int { kNoRoot = 52, kUnreadable = 66, kWipedBefore = 80, kWiping = 83, kNotWiped = 85, kNotStamped = 97 };

// Held for a whole check. Taken under it: the locks of the root's path and of the log. In static storage, so that a
// check without memory still excludes others.
HMutex& CheckMutex() {
    static_assert(std::is_trivially_destructible_v<HMutex>, "usable until the process ends");
    static HMutex mutex;
    return mutex;
}

// A missing key reads as 0.
Stamp ReadStamp(HIniFileHelper const& ini) {
    Stamp stamp = {};
    for (std::size_t i = 0; i < stamp.size(); ++i) {
        if (ini.read_int(kStampSection, kStampKeys[i], stamp[i]) != 0) stamp[i] = 0;
    }
    return stamp;
}

// Notes that the root is about to be wiped; false when this process has wiped it before. Callers hold the check's
// mutex.
bool NoteWipe(HString const& root) {
    static auto* const wiped = new std::vector<HString>;
    if (std::find(wiped->begin(), wiped->end(), root) != wiped->end()) return false;
    wiped->push_back(root);
    return true;
}

// The caches that this process has open lie in a root that it has wiped, so they are not wiped under its feet.
void Wipe(HString const& root, int found_layout) {
    if (!NoteWipe(root)) {
        kLog.Write(DLPCache::kLogWarning, kWipedBefore, kOperation, ", wiped before, not again: ", root);
        return;
    }
    kLog.Write(DLPCache::kLogWarning, kWiping, kOperation, ", wipe cache layout ", found_layout, ": ", root);
    if (int const failed = HFile::delete_dir_recur(root)) {
        kLog.Write(DLPCache::kLogError, kNotWiped, kOperation, ", not wiped whole: ", root, ", errno: ", failed);
    }
}

int WriteStamp(HString const& path) {
    HIniFileHelper ini;
    if (int const failed = ini.setFile(path); failed != 0 && failed != ENOENT) return failed;
    for (std::size_t i = 0; i < kCurrent.size(); ++i) {
        if (ini.write_int(kStampSection, kStampKeys[i], kCurrent[i]) != 0) return ENOMEM;
    }
    return ini.write_all();
}

void Check() {
    HString const root = KwLocateMgr::pins()->get_cache_path(true);
    if (root.empty()) return kLog.Write(DLPCache::kLogError, kNoRoot, kOperation, ", no cache root");
    HString path = root;
    path << kStampFile;

    HIniFileHelper ini;
    int const unread = ini.setFile(path);
    if (unread != 0 && unread != ENOENT) {
        return kLog.Write(DLPCache::kLogError, kUnreadable, kOperation, ", not read: ", path, ", errno: ", unread);
    }
    Stamp const found = ReadStamp(ini);
    if (found == kCurrent) return;
    if (found.back() != kCurrent.back()) Wipe(root, found.back());

    if (!HFile::IsFileExistDir(KwLocateMgr::pins()->get_cache_path(true))) return;
    if (int const failed = WriteStamp(path)) {
        kLog.Write(DLPCache::kLogError, kNotStamped, kOperation, ", not written: ", path, ", errno: ", failed);
    }
}

}  // namespace

void CheckModuleVersion() noexcept {
    NoThrow(0, [] {
        HAutoMutex const lock(CheckMutex());
        Check();
        return 0;
    });
}

int PrintMoudleVersion() noexcept {
    // The same numbers as in the stamp; the build time is that of the layout's release.
    return std::fprintf(stderr, "%-25.24s%d.%d.%d.%d.%-6d%04d-%02d-%02d %02d:%02d:%02d\n", "libtorvane", kCurrent[0],
                        kCurrent[1], kCurrent[2], kCurrent[3], kCurrent[4], 2024, 7, 10, 15, 5, 3);
}
