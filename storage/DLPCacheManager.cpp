#include "storage/DLPCacheManager.h"

#include <memory>
#include <new>
#include <string_view>

#include "host/base/HAutoMutex.h"
#include "host/base/HFile.h"
#include "host/base/HFileReadWriter.h"
#include "host/base/HFileReader.h"
#include "host/base/HFileWriter.h"
#include "host/base/Md5.h"
#include "host/base/NoThrow.h"
#include "host/base/Retained.h"
#include "host/base/Utf8Units.h"
#include "storage/DLPCacheIndex.h"
#include "storage/DLPCacheLog.h"

namespace DLPCache {

namespace {

constexpr SourceLog kLog{L"../DLPCacheIndex.cpp"};

constexpr int kLargestUnchecked = 64 * 1024;  // bytes taken on the index's word alone
constexpr long long kNoOffset = -1;           // of a key without data

bool IsWithoutData(long long offset, int length) noexcept {
    return length == 0 || offset == kNoOffset;
}

bool FitsInPlace(long long offset, int stored_length, int len) noexcept {
    return !IsWithoutData(offset, stored_length) && len <= stored_length;
}

}  // namespace

Manager::Manager(int bucketCount, HString const& indexPath, HString const& dataPath) noexcept
    : mutex_(new (std::nothrow) HMutex) {
    (void)Init(bucketCount, indexPath, dataPath);
}

Manager::~Manager() {
    Varnok::Retain(index_);
    Varnok::Retain(mutex_);
}

int Manager::Init(int bucketCount, HString const& indexPath, HString const& dataPath) noexcept {
    if (mutex_ == nullptr) return kNoIndex;
    return NoThrow<int>(kNoIndex, [&]() -> int {
        data_path_ = dataPath;
        auto* const index = new Index(indexPath);
        Varnok::Retain(index_);
        index_ = index;
        return HFile::IsFileExistFile(indexPath) ? 1 : index_->Init(bucketCount);
    });
}

int Manager::GetIndexNumber() const noexcept {
    if (index_ == nullptr) return 0;
    HAutoMutex lock(*mutex_);
    return static_cast<int>(index_->GetNumber());
}

std::string Manager::FormatIndexValue(HString const& key) const noexcept {
    // What get_md5_std_format_lower gives, without the detour over a wide text: look-ups spend a tenth of their time
    // here.
    Varnok::Md5 md5;
    Varnok::ForEachNarrowPiece(key.view(), [&](std::string_view piece) { md5.Update(piece.data(), piece.size()); });
    char hex[32];
    Varnok::Md5::ToHexLower(md5.Finish(), hex);
    return NoThrow(std::string(), [&] { return std::string(hex, sizeof hex); });
}

int Manager::Add(int key, unsigned char* buf, int len) const noexcept {
    if (index_ == nullptr) return kLog.Failed("Add", 562, kAssertNull, kNoIndex);
    if (key < 1) return kLog.Failed("Add", 563, kAssertFalse, kStoreKeyRefused);
    if (buf == nullptr || len == 0) return index_->Add(key, kNoOffset, 0);
    long long offset = 0;
    int length = 0;
    int const found = index_->Find(key, offset, length);
    if (found < 0) return found;
    if (found == kDone) return AddCache(key, kNoOffset, buf, len);
    kLog.Write(kLogWarning, 598, "this log should not appear.");
    return AddCache(key, FitsInPlace(offset, length, len) ? offset : kNoOffset, buf, len);
}

int Manager::Add(HString const& key, unsigned char* buf, int len) const noexcept {
    if (index_ == nullptr) return kLog.Failed("Add", 498, kAssertNull, kNoIndex);
    std::string const md5 = FormatIndexValue(key);
    if (md5.empty()) return kDataNotWritten;
    if (md5.length() != kTextKeyLength) return kLog.Failed("Add", 501, kAssertFalse, kStoreKeyRefused);
    if (buf == nullptr || len == 0) return index_->Add(md5, kNoOffset, 0);
    long long offset = 0;
    int length = 0;
    int const found = index_->Find(md5, offset, length);
    if (found < 0) return found;
    if (found == kDone) return AddCache(md5, kNoOffset, buf, len);
    kLog.Write(kLogWarning, 536, "this log should not appear. i_ret: ", found);
    return AddCache(md5, FitsInPlace(offset, length, len) ? offset : kNoOffset, buf, len);
}

int Manager::Find(int key, unsigned char*& buf, int& len) const noexcept {
    if (index_ == nullptr) return kLog.Failed("Find", 459, kAssertNull, kNoIndex);
    delete[] buf;
    buf = nullptr;
    long long offset = 0;
    int length = 0;
    int const found = index_->Find(key, offset, length);
    if (found != kFound) return found;
    if (IsWithoutData(offset, length)) return kFound;
    buf = ReadCacheBuffer(offset, length);
    len = length;
    return buf != nullptr ? kFoundWithData : kLog.Failed("Find", 489, kAssertNull, kDataUnreadable);
}

int Manager::Find(HString const& key, unsigned char*& buf, int& len) const noexcept {
    if (index_ == nullptr) return kLog.Failed("Find", 420, kAssertNull, kNoIndex);
    delete[] buf;
    buf = nullptr;
    std::string const md5 = FormatIndexValue(key);
    if (md5.empty()) return kDataUnreadable;
    long long offset = 0;
    int length = 0;
    int const found = index_->Find(md5, offset, length);
    if (found != kFound) return found;
    if (IsWithoutData(offset, length)) return kFound;
    buf = ReadCacheBuffer(offset, length);
    len = length;
    return buf != nullptr ? kFoundWithData : kLog.Failed("Find", 451, kAssertNull, kDataUnreadable);
}

int Manager::Update(int key, unsigned char* buf, int len) const noexcept {
    if (index_ == nullptr) return kLog.Failed("Update", 625, kAssertNull, kNoIndex);
    if (buf == nullptr) return kLog.Failed("Update", 626, kAssertNull, kDataUnreadable);
    long long offset = 0;
    int length = 0;
    int const found = index_->Find(key, offset, length);
    if (found != kFound) return found;
    if (IsWithoutData(offset, length)) return kFound;
    if (len != length || len < 0 || offset < 0) return kDataUnreadable;
    return WriteCacheBuffer(offset, buf, len);
}

int Manager::AddCache(int key, long long offset, unsigned char* buf, int len) const noexcept {
    if (index_ == nullptr) return kLog.Failed("AddCache", 715, kAssertNull, kNoIndex);
    return WriteAndIndex(key, offset, buf, len);
}

int Manager::AddCache(std::string const& key, long long offset, unsigned char* buf, int len) const noexcept {
    if (index_ == nullptr) return kLog.Failed("AddCache", 699, kAssertNull, kNoIndex);
    return WriteAndIndex(key, offset, buf, len);
}

template <class Key>
int Manager::WriteAndIndex(Key const& key, long long offset, unsigned char* buf, int len) const noexcept {
    bool const append = offset < 0;
    if (int const code = WriteCacheBuffer(offset, buf, len); code != kDone) return code;
    int const added = index_->Add(key, offset, len);
    if (added >= 0) return 1;
    // After a failed write the index might point at the record after all.
    if (append && added != kSlotNotWritten) TakeBack(offset, len);
    return added;
}

void Manager::TakeBack(long long offset, int len) const noexcept {
    HAutoMutex lock(*mutex_);
    HFileReadWriter file;
    if (retired_ || file.open(data_path_) != 0) return;
    if (file.get_now_size() == offset + len) (void)file.cut_off(offset);
}

void Manager::Retire() noexcept {
    if (index_ != nullptr) index_->Retire();
    if (mutex_ == nullptr) return;
    HAutoMutex lock(*mutex_);
    retired_ = true;
}

int Manager::WriteCacheBuffer(long long& offset, unsigned char* buf, int len) const noexcept {
    if (mutex_ == nullptr) return kDataNotWritten;
    HAutoMutex lock(*mutex_);
    HFileWriter file;
    if (retired_ || file.create(data_path_, true) != 0)
        return kLog.Failed("WriteCacheBuffer", 735, kAssertFalse, kDataNotOpened);
    if (len < 0 || (buf == nullptr && len > 0)) return kDataNotWritten;
    bool const append = offset < 0;
    long long const position = append ? file.get_current_pointer() : offset;
    if (position < 0 || file.set_pointer(position) != 0) return kDataNotWritten;
    if (file.write(buf, len) != 0) {
        if (append) (void)file.cut_off(position);
        return kDataNotWritten;
    }
    (void)file.flush();
    (void)file.closex();
    offset = position;
    return kDone;
}

unsigned char* Manager::ReadCacheBuffer(long long offset, int len) const noexcept {
    if (mutex_ == nullptr) return nullptr;
    auto const failed = [](int line, char const* word) {
        return kLog.Failed("ReadCacheBuffer", line, word, static_cast<unsigned char*>(nullptr));
    };
    HAutoMutex lock(*mutex_);
    HFileReader file;
    if (retired_ || file.open(data_path_) != 0) return failed(763, kAssertFalse);
    // The file is asked for its size only when that decides something: for what the index cannot be trusted with, and
    // to tell why a read was short.
    bool const small = len >= 0 && len <= kLargestUnchecked;
    long long const size = small ? -1 : file.get_now_size();
    if (!small && (len < 0 || size < len)) return failed(764, kAssertFalse);
    if (!small && offset > size - len) return failed(767, kAssertFalse);
    if (file.set_pointer(offset) != 0) return failed(file.get_now_size() < len ? 764 : 767, kAssertFalse);
    std::unique_ptr<unsigned char[]> buf(new (std::nothrow) unsigned char[static_cast<std::size_t>(len)]);
    if (buf == nullptr) return failed(766, kAssertNull);
    if (file.read(buf.get(), len) == len) return buf.release();
    return failed(file.get_now_size() < len ? 764 : 767, kAssertFalse);
}

}  // namespace DLPCache
