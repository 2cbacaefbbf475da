// How a template cache is opened or made: DLPCacheTpl::Init and its steps.
#include <algorithm>
#include <cerrno>
#include <iterator>
#include <new>

#include "host/base/HFile.h"
#include "host/base/HIniFileHelper.h"
#include "host/base/LocateMgr.h"
#include "host/base/NoThrow.h"
#include "host/base/Retained.h"
#include "host/policy/KwDefineMgr.h"
#include "storage/DLPCacheManager.h"
#include "template/DLPCacheTpl.h"
#include "template/DLPCacheTplDirectory.h"
#include "template/DLPCacheTplLog.h"
#include "template/DLPCacheTplSnapshot.h"

using DLPCache::kTplLog;

namespace {

constexpr int kDefaultBucketCount = 500000;
constexpr int kFileAttrSubTypes[] = {2001, 2002};

HString IdOf(QVKConfigKeywordTemplateNode const& tpl) noexcept {
    return tpl.common ? tpl.common->id : HString();
}

// Whether `md5` is what the process-wide definitions have for the template.
bool IsCurrent(QVKConfigKeywordTemplateNode const& tpl, HString const& md5) {
    KwDefineMgr const* current = KwDefineMgr::pins();
    return current && md5.not_empty() && current->get_md5_by_tpl(tpl) == md5;
}

bool EmptyTplDirectory(HString const& tpl_id, HString const& md5) {
    return DLPCache::DeleteTplDirectory(DLPCache::TplDirectory(tpl_id, md5)) == 0 &&
           DLPCache::MakeTplDirectory(tpl_id, md5);
}

// The bucket count of new index files. Not range-checked: with a count that the index refuses there is no index file.
int ReadBucketCount(HString const& tpl_id) {
    HString path = Varnok::LocateMgr::pins()->get_ini_path(true);
    if (path.empty()) throw std::bad_alloc();
    path << "DLPService.ini";
    int count = kDefaultBucketCount;
    HIniFileHelper ini;
    (void)ini.setFile(path);  // a file that cannot be read has no such key
    if (ini.read_int("DLPCache", "iIndexBucketSize", count) == 0) {
        kTplLog.Write(DLPCache::kLogInformation, 702,
                      "init dlp template cache, read bucket size success. use define INDEX_BUCKET_DEFAULT_SIZE=", count,
                      ", id: ", tpl_id);
        return count;
    }
    kTplLog.Write(DLPCache::kLogWarning, 707,
                  "init dlp template cache, read bucket size failed. use default INDEX_BUCKET_DEFAULT_SIZE=",
                  kDefaultBucketCount, ", id: ", tpl_id);
    return kDefaultBucketCount;
}

}  // namespace

void DLPCacheTpl::Init(QVKConfigKeywordTemplateNode const& tpl, HString const& md5) noexcept {
    Retire();
    Varnok::Retain(manager_.exchange(nullptr));
    tpl_ = nullptr;
    depends_on_file_attr_ = false;
    snapshot_ = Snapshot::kUnknown;
    NoThrow(false, [&] { return Open(tpl, md5), true; });
}

void DLPCacheTpl::OpenAgain(QVKConfigKeywordTemplateNode const& tpl, HString const& md5) noexcept {
    NoThrow(false, [&] {
        HString const tpl_file = DLPCache::TplSnapshotFile(DLPCache::TplDirectory(IdOf(tpl), md5));
        if (!IsCurrent(tpl, md5) && !HFile::IsFileExistFile(tpl_file)) return false;
        return Open(tpl, md5), true;
    });
}

void DLPCacheTpl::Open(QVKConfigKeywordTemplateNode const& tpl, HString const& md5) {
    HString const id = IdOf(tpl);
    HString const directory = DLPCache::TplDirectory(id, md5);
    if (!define_mgr_) return;
    if (directory != define_mgr_->get_config_path()) snapshot_ = Snapshot::kUnknown;
    define_mgr_->set_config_path(directory);
    bool const made = DLPCache::MakeTplDirectory(id, md5);
    int const bucket_count = ReadBucketCount(id);
    if (!made) return kTplLog.Write(DLPCache::kLogError, 694, "make template cache dir failed, dir: ", directory);

    if (HFile::IsFileExistFile(DLPCache::TplSnapshotFile(directory))) {
        // Read once: each set that is read stays.
        if (snapshot_ == Snapshot::kUnknown) snapshot_ = LoadSnapshot(tpl, md5);
        if (snapshot_ == Snapshot::kMatches) return OpenStore(directory, bucket_count);
        // Answers are thrown away only for what was read.
        if (snapshot_ == Snapshot::kUnknown) return;
        kTplLog.Write(DLPCache::kLogWarning, 722, "template cache is out of date, made anew, dir: ", directory);
        if (!EmptyTplDirectory(id, md5)) return;
        snapshot_ = Snapshot::kUnknown;
    }
    if (!IsCurrent(tpl, md5)) return;
    // What an interrupted deletion left behind: an index without its data file would tell answers of other files.
    if (!EmptyTplDirectory(id, md5)) return;
    snapshot_ = Snapshot::kUnknown;
    if (!MakeSnapshot(tpl, md5, directory)) return;
    snapshot_ = Snapshot::kMatches;
    OpenStore(directory, bucket_count);
}

DLPCacheTpl::Snapshot DLPCacheTpl::LoadSnapshot(QVKConfigKeywordTemplateNode const& tpl, HString const& md5) {
    int const failed = define_mgr_->load();
    // What is damaged counts by what it does to the MD5.
    if (failed != 0 && failed != EBADMSG) {
        kTplLog.Write(DLPCache::kLogError, 736, "load template snapshot failed, errno: ", failed, ", id: ", IdOf(tpl));
        return Snapshot::kUnknown;
    }
    HString const found = define_mgr_->get_md5_by_tpl(tpl);
    if (found.empty()) return Snapshot::kUnknown;  // without memory
    auto const* const own = found == md5 ? define_mgr_->get_tpl_by_id(IdOf(tpl)) : nullptr;
    tpl_.store(own, std::memory_order_release);
    return own ? Snapshot::kMatches : Snapshot::kDiffers;
}

bool DLPCacheTpl::MakeSnapshot(QVKConfigKeywordTemplateNode const& tpl, HString const& md5, HString const& directory) {
    QVKConfigKeywordTemplateNode const* const templates[] = {&tpl};
    if (int const failed = DLPCache::WriteTplSnapshot(templates, directory)) {
        kTplLog.Write(DLPCache::kLogError, 748, "write template snapshot failed, errno: ", failed,
                      ", dir: ", directory);
        return false;
    }
    Snapshot const made = LoadSnapshot(tpl, md5);
    // The caller's own copy, and the definitions were replaced meanwhile: this is the snapshot of another state.
    if (made == Snapshot::kDiffers) (void)DLPCache::DeleteTplDirectory(directory);
    return made == Snapshot::kMatches;
}

void DLPCacheTpl::OpenStore(HString const& directory, int bucket_count) {
    HString index_path = directory;
    index_path << "index";
    HString data_path = directory;
    data_path << "cache";
    auto const& tpl = *tpl_.load(std::memory_order_relaxed);
    depends_on_file_attr_ = std::any_of(std::begin(kFileAttrSubTypes), std::end(kFileAttrSubTypes),
                                        [&](int type) { return define_mgr_->is_exist_rule_sub_type(tpl, type); });
    manager_.store(new DLPCache::Manager(bucket_count, index_path, data_path), std::memory_order_release);
}
