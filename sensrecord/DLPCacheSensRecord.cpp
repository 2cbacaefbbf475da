#include "sensrecord/DLPCacheSensRecord.h"

#include <utility>

#include "host/base/HFile.h"
#include "host/base/LocateMgr.h"
#include "host/base/NoThrow.h"
#include "host/base/ParentPath.h"
#include "host/policy/KwIdName.h"
#include "host/policy/KwLocateMgr.h"
#include "sensrecord/DLPCachePolicyHash.h"
#include "sensrecord/DLPCacheSensRecordLog.h"
#include "storage/DLPCacheIndex.h"
#include "storage/DLPCacheManager.h"
#include "storage/DLPCacheRecord.h"

namespace DLPCache {

namespace {

constexpr int kCapacity = 100000;                                      // buckets of a store's index
constexpr long long kLeastIndex = IndexHead::kSize + IndexKey::kSize;  // bytes of an index with a slot

}  // namespace

// Where a policy's counts lie, and what that was worked out from. All paths are empty without memory for the one above
// them.
struct SensRecordPlace {
    unsigned root = 0;  // generation of the root directory
    HString policy_id;
    long long time_stamp = 0;
    HString all;        // the directory of every way of counting
    HString top;        // in it that of all policies
    HString directory;  // the policy's own
    HString marker;     // the file in it that is named by the policy's version
    HString index;
    HString data;

    [[nodiscard]] bool IsOf(QVKPolicyCommon const& policy, unsigned root_now) const noexcept {
        return root == root_now && time_stamp == policy.time_stamp && policy_id == policy.id;
    }
};

namespace {

using Place = SensRecordPlace;

Place PlaceOf(QVKPolicySensitiveFileAuditNode const& node, unsigned root) {
    Place place;
    place.root = root;
    place.policy_id = node.header().id;
    place.time_stamp = node.header().time_stamp;
    place.top = KwLocateMgr::pins()->get_sens_record_path(HString(true), true);
    if (place.top.empty()) return place;  // never a path of its own: that would be relative
    place.all = Varnok::ParentPath(place.top);
    place.directory = place.top;
    place.directory << Varnok::IdToFileName(node.header().id);
    place.directory.dir_fit(true);
    place.marker = place.index = place.data = place.directory;
    place.marker << GetPolicyHash(node);
    place.index << "index";
    place.data << "cache";
    return place;
}

enum class Version {
    kThere,
    kMissing,  // or not in a directory of ours, or no file: a link, say, which goes with the directory
    kUnknown,  // cannot be looked at: no reason to delete anything
};

Version LookFor(Place const& place) noexcept {
    bool const ours =
        HFile::IsFileExistDir(place.all) && HFile::IsFileExistDir(place.top) && HFile::IsFileExistDir(place.directory);
    if (!ours) return Version::kMissing;
    if (HFile::GetFileLen(place.marker) >= 0) return Version::kThere;
    bool const is_known = !HFile::IsFileExistFile(place.marker) || HFile::IsOtherThanFile(place.marker);
    return is_known ? Version::kMissing : Version::kUnknown;
}

// True when there is no such directory any more.
bool RemoveCounts(Place const& place) noexcept {
    // Each on its own: nothing behind a symbolic link in their place is touched.
    if (!Varnok::MakeDir(place.all) || !Varnok::MakeDir(place.top)) {
        kSensRecordLog.Write(kLogError, 141, "make sens record dir failed, dir: ", place.top);
        return false;
    }
    // First of all: what an interrupted deletion leaves behind must be no index without its data file, which would tell
    // the counts of other files.
    if (HFile::IsFileExistDir(place.directory)) (void)HFile::delete_file2(place.index);
    int const failed = HFile::delete_dir_recur(place.directory);
    if (failed == 0) return true;
    kSensRecordLog.Write(kLogError, 149, "delete sens record dir failed, errno: ", failed, ", dir: ", place.directory);
    return false;
}

// Whether the index is there for certain afterwards.
bool MakeFiles(Place const& place) noexcept {
    if (!Varnok::MakeDir(place.directory) || HFile::touch(place.marker) != 0) return false;
    if (!HFile::IsFileExistFile(place.index)) (void)Index(place.index).Init(kCapacity);
    return HFile::GetFileLen(place.index) >= 0;
}

// Without memory a store has no index, though the file has slots.
bool HasIndex(Manager const& store, Place const& place) noexcept {
    return store.GetIndexNumber() != 0 || HFile::GetFileLen(place.index) < kLeastIndex;
}

}  // namespace

DLPCacheSensRecord::DLPCacheSensRecord() noexcept = default;
DLPCacheSensRecord::~DLPCacheSensRecord() = default;

void DLPCacheSensRecord::Update(QVKPolicySensitiveFileAuditNode const& node) noexcept {
    manager_ = nullptr;
    NoThrow(false, [&] { return PointAt(node), true; });
}

void DLPCacheSensRecord::PointAt(QVKPolicySensitiveFileAuditNode const& node) {
    unsigned const root = Varnok::LocateMgr::pins()->generation();
    if (!place_ || !place_->IsOf(node.header(), root)) {
        place_ = nullptr;
        auto found = std::make_unique<Place>(PlaceOf(node, root));
        if (found->top.empty()) return;
        place_ = std::move(found);
    }
    Place const& place = *place_;
    Version const version = LookFor(place);
    if (version == Version::kUnknown) return;
    if (version == Version::kMissing) {
        bool const removed = RemoveCounts(place);
        Forget(place.directory);
        if (!removed) return;
    }
    auto& store = stores_[place.directory];
    if (!store) {
        if (!MakeFiles(place)) {
            return kSensRecordLog.Write(kLogError, 160, "make sens record store failed, dir: ", place.directory);
        }
        store = std::make_unique<Manager>(kCapacity, place.index, place.data);
        // The next count tries again.
        if (!HasIndex(*store, place)) return Forget(place.directory);
    }
    manager_ = store.get();
}

void DLPCacheSensRecord::Forget(HString const& directory) noexcept {
    forgotten_.insert(stores_.extract(directory));
}

int DLPCacheSensRecord::Find(HString const& key, SensRecordNode& node) const noexcept {
    if (!manager_) return kSensRecordLog.Failed("Find", 203, kAssertNull, kSensRecordNoStore);
    SensRecordNode read;
    int const found = FindRecord(*manager_, key, read, {kSensRecordLog, 214, 215, kSensRecordNotDecoded});
    if (found == kSensRecordFound) node = read;
    return found;
}

int DLPCacheSensRecord::Add(HString const& key, SensRecordNode& node) const noexcept {
    if (!manager_) return kSensRecordLog.Failed("Add", 224, kAssertNull, kSensRecordNoStore);
    unsigned char* bytes = nullptr;
    int length = 0;
    if (node.Size() < 1) return kSensRecordLog.Failed("Add", 227, kAssertFalse, kSensRecordNotEncoded);
    if (!node.ToBuffer(bytes, length)) return kSensRecordLog.Failed("Add", 228, kAssertFalse, kSensRecordNotEncoded);
    std::unique_ptr<unsigned char[]> const owner(bytes);
    int const stored = manager_->Add(key, bytes, length);
    return stored < 0 ? stored : kSensRecordStored;
}

}  // namespace DLPCache
