#include "task/DLPCacheTaskStore.h"

#include <algorithm>
#include <cerrno>
#include <new>

#include "host/base/HFile.h"
#include "host/base/NoThrow.h"
#include "host/policy/KwDefineMgr.h"
#include "host/policy/KwLocateMgr.h"
#include "storage/DLPCacheIndex.h"
#include "storage/DLPCacheManager.h"
#include "storage/DLPCacheRecord.h"
#include "task/DLPCacheSensFileNode.h"
#include "task/DLPCacheTaskDirectory.h"
#include "task/DLPCacheTaskLog.h"
#include "template/DLPCacheTplSnapshot.h"

using DLPCache::kAssertFalse;
using DLPCache::kAssertNull;
using DLPCache::kTaskLog;

namespace {

constexpr int kNoBuckets = 0;  // integer keys: the index grows slot by slot
constexpr int kFirstNumber = 1;

// The slots in an index file of this length, cut to 32 bits as DLPCache::Manager::GetIndexNumber does. 0 of a file that
// has no head, or could not be looked at, where that number would be meaningless.
int NumberOf(long long index_length) noexcept {
    constexpr auto kHeadSize = static_cast<long long>(DLPCache::IndexHead::kSize);
    constexpr auto kSlotSize = static_cast<long long>(DLPCache::IndexKey::kSize);
    return index_length < kHeadSize ? 0 : static_cast<int>((index_length - kHeadSize) / kSlotSize);
}

// The task's templates as the process-wide definitions hold them, in id order, each once.
std::vector<QVKConfigKeywordTemplateNode const*> CurrentTemplates(ScanTask const& task) {
    KwDefineMgr const* const current = KwDefineMgr::pins();
    if (!current) throw std::bad_alloc();
    std::vector<QVKConfigKeywordTemplateNode const*> templates;
    for (HString const& id : task.audit_node().tpl_ids) {
        if (auto const* tpl = current->get_tpl_by_id(id)) templates.push_back(tpl);
    }
    std::sort(templates.begin(), templates.end(), [](auto const* a, auto const* b) { return *a < *b; });
    auto const same = [](auto const* a, auto const* b) { return *a == *b; };
    templates.erase(std::unique(templates.begin(), templates.end(), same), templates.end());
    return templates;
}

}  // namespace

DLPCacheTaskStore::DLPCacheTaskStore(ScanTask const& task) noexcept
    : task_(task), define_mgr_(new (std::nothrow) KwDefineMgr) {
    complete_ = define_mgr_ && NoThrow(false, [&] { return Open(); });
}

DLPCacheTaskStore::~DLPCacheTaskStore() = default;

bool DLPCacheTaskStore::Open() {
    // A task whose record could not be read: nothing is ever written for it.
    if (task_.id.empty()) return true;
    KwLocateMgr const& paths = *KwLocateMgr::pins();
    HString const path = paths.get_task_path(task_.id, false);
    HString const directory = paths.get_task_path(task_.id, true);
    if (path.empty() || directory.empty()) throw std::bad_alloc();
    // Something else stands there, a symbolic link for instance: it is not followed.
    bool const taken = DLPCache::IsTaskDirectoryTaken(task_.id);
    if (taken || !Varnok::MakeDir(path)) {
        kTaskLog.Write(DLPCache::kLogError, 214, "make task dir failed, dir: ", directory);
        return taken;
    }
    return TakeSnapshot(directory) && OpenManager(directory);
}

bool DLPCacheTaskStore::OpenManager(HString const& directory) {
    index_path_ = directory;
    index_path_ << "index";
    HString data_path = directory;
    data_path << "cache";
    // Looked at and made before there is a record store, since one that is given up leaves some memory behind.
    bool const missing = !HFile::IsFileExistFile(index_path_) && !HFile::IsFileExistDir(index_path_);
    if (missing && DLPCache::Index(index_path_).Init(kNoBuckets) != DLPCache::kDone) return false;
    long long const index_length = HFile::GetFileLen(index_path_);
    number_at_opening_ = NumberOf(index_length);
    // In the place of a directory there is no record store. What else is no index, or cannot be looked at, is tried
    // again: numbers that begin at 1 anew would replace findings.
    if (index_length < 0) return HFile::IsFileExistDir(index_path_) && !HFile::IsFileExistFile(index_path_);
    manager_ = std::make_unique<DLPCache::Manager>(kNoBuckets, index_path_, data_path);
    // Without memory for its index a record store answers everything with this code.
    unsigned char* bytes = nullptr;
    int length = 0;
    int const probed = manager_->Find(kFirstNumber, bytes, length);
    delete[] bytes;
    if (probed == DLPCache::kNoIndex) throw std::bad_alloc();
    return true;
}

bool DLPCacheTaskStore::TakeSnapshot(HString const& directory) {
    if (int const failed = DLPCache::WriteTplSnapshot(CurrentTemplates(task_), directory)) {
        kTaskLog.Write(DLPCache::kLogError, 240, "write task snapshot failed, errno: ", failed, ", dir: ", directory);
        return false;
    }
    define_mgr_->set_config_path(directory);
    int const failed = define_mgr_->load();
    if (failed == 0) return true;
    kTaskLog.Write(DLPCache::kLogError, 246, "load task snapshot failed, errno: ", failed, ", dir: ", directory);
    return failed == EBADMSG;
}

int DLPCacheTaskStore::Check(SensFile const& file) noexcept {
    using namespace DLPCache;
    if (file.tpl_ids.empty() || file.file_path.empty() || file.file_md5.empty()) return kTaskFileRefused;
    return SensFileNode::IsEncodable(file) ? 0 : kTaskFileNotEncoded;
}

int DLPCacheTaskStore::Add(SensFile const& file) const noexcept {
    using namespace DLPCache;
    if (!manager_) return kTaskLog.Failed("Add", 252, kAssertNull, int{kTaskNoStore});
    if (int const refused = Check(file)) return kTaskLog.Failed("Add", 253, kAssertFalse, refused);
    return NoThrow<int>(kTaskFileNotEncoded, [&]() -> int {
        SensFileNode node(file);
        unsigned char* bytes = nullptr;
        int length = 0;
        if (!node.ToBuffer(bytes, length)) {
            return kTaskLog.Failed("Add", 259, kAssertFalse, int{kTaskFileNotEncoded});
        }
        std::unique_ptr<unsigned char[]> const owner(bytes);
        int const stored = manager_->Add(file.sn, bytes, length);
        return stored < 0 ? stored : kTaskFileStored;
    });
}

int DLPCacheTaskStore::Find(int sn, SensFile& file) const noexcept {
    using namespace DLPCache;
    file.reset_to_default();
    if (!manager_) return kTaskLog.Failed("Find", 270, kAssertNull, int{kTaskNoStore});
    SensFileNode node;
    int const found = FindRecord(*manager_, sn, node, {kTaskLog, 280, 282, kTaskFileNotDecoded});
    if (found != kTaskFileFound) return found;
    return NoThrow<int>(kTaskFileNotDecoded, [&]() -> int {
        node.GiveTo(file);
        file.task_id = task_.id;
        Fill(file);
        if (file.tpl_names.size() != file.tpl_ids.size()) {
            return kTaskLog.Failed("Find", 287, kAssertFalse, int{kTaskTplGone});
        }
        file.sn = sn;
        return kTaskFileFound;
    });
}

bool DLPCacheTaskStore::FillTplInfo(SensFile& file) const noexcept {
    return NoThrow(false, [&] { return Fill(file), file.tpl_names.size() == file.tpl_ids.size(); });
}

void DLPCacheTaskStore::Fill(SensFile& file) const {
    file.tpl_names.clear();
    if (!define_mgr_) return;
    for (HString const& id : file.tpl_ids) {
        auto const* const tpl = define_mgr_->get_tpl_by_id(id);
        if (!tpl) continue;
        file.tpl_md5s.push_back(tpl->get_data_md5());
        file.tpl_names.push_back(tpl->common->name);
        auto const* const data_class = define_mgr_->get_data_class_by_id(tpl->data_class_id);
        if (data_class) file.data_classes.push_back(data_class->common->name);
    }
}

int DLPCacheTaskStore::GetIndexNumber() const noexcept {
    return manager_ ? NumberOf(HFile::GetFileLen(index_path_)) : 0;
}
