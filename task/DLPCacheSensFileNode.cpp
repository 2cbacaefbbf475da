#include "task/DLPCacheSensFileNode.h"

#include <algorithm>
#include <climits>
#include <utility>

#include "host/base/Reader.h"
#include "host/base/Writer.h"
#include "task/DLPCacheTaskLog.h"

namespace DLPCache {

namespace {

constexpr int kNoLimit = -1;
constexpr int kLongestText = 32767;  // the count on the wire is signed and has 16 bits
constexpr long long kLengthWidth = 4;
constexpr long long kAttrWidth = 8;
constexpr long long kListHeadWidth = 8;

long long TextWidth(HString const& text) noexcept {
    return 2LL * (text.length() + 1LL);
}

// The length of the record of a SensFile or SensFileNode.
template <class Source>
long long LengthOf(Source const& file) noexcept {
    long long length = kLengthWidth + kAttrWidth * static_cast<long long>(file.file_attrs.size()) + kListHeadWidth;
    for (HString const* text : {&file.file_path, &file.file_md5, &file.extra_1, &file.extra_2})
        length += TextWidth(*text);
    for (HString const& id : file.tpl_ids)
        length += TextWidth(id);
    return length;
}

// A text comes back from a record up to its first zero, and a record of another length is refused.
bool ComesBack(HString const& text) noexcept {
    return text.length() <= kLongestText && text.find(u'\0') < 0;
}

}  // namespace

SensFileNode::SensFileNode(SensFile const& file)
    : file_path(file.file_path),
      file_md5(file.file_md5),
      file_attrs(file.file_attrs),
      extra_1(file.extra_1),
      tpl_ids(file.tpl_ids),
      extra_2(file.extra_2) {}

bool SensFileNode::IsEncodable(SensFile const& file) noexcept {
    return ComesBack(file.file_path) && ComesBack(file.file_md5) && ComesBack(file.extra_1) &&
           ComesBack(file.extra_2) && std::all_of(file.tpl_ids.begin(), file.tpl_ids.end(), ComesBack) &&
           LengthOf(file) < INT_MAX;
}

int SensFileNode::Size() const {
    return static_cast<int>(std::min<long long>(LengthOf(*this), INT_MAX));
}

bool SensFileNode::Write(Varnok::Writer* w) {
    if (!w) return kTaskLog.Failed("Write", 61, kAssertNull, false);
    if (int const n = w->write_int32(Size()); n != 4) return kTaskLog.Failed("Write", 62, kAssertWriteInt32, n, false);
    if (!WriteHString(w, file_path, kNoLimit)) return kTaskLog.Failed("Write", 63, kAssertFalse, false);
    if (!WriteHString(w, file_md5, kNoLimit)) return kTaskLog.Failed("Write", 64, kAssertFalse, false);
    for (long long const attr : file_attrs) {
        if (int const n = w->write_int64(attr); n != 8) {
            return kTaskLog.Failed("Write", 66, kAssertWriteInt64, n, false);
        }
    }
    if (!WriteHString(w, extra_1, kNoLimit)) return kTaskLog.Failed("Write", 68, kAssertFalse, false);
    if (!WriteVTHString(w, tpl_ids, kNoLimit)) return kTaskLog.Failed("Write", 69, kAssertFalse, false);
    if (!WriteHString(w, extra_2, kNoLimit)) return kTaskLog.Failed("Write", 70, kAssertFalse, false);
    return true;
}

bool SensFileNode::Read(Varnok::Reader* r, int size) {
    if (!r) return kTaskLog.Failed("Read", 76, kAssertNull, false);
    int length = 0;
    if (int const n = r->read_int32(length); n != 4) return kTaskLog.Failed("Read", 78, kAssertReadInt32, n, false);
    if (length != size) return kTaskLog.Failed("Read", 79, kAssertFalse, false);
    if (!ReadHString(r, file_path, kNoLimit)) return kTaskLog.Failed("Read", 80, kAssertFalse, false);
    if (!ReadHString(r, file_md5, kNoLimit)) return kTaskLog.Failed("Read", 81, kAssertFalse, false);
    for (long long& attr : file_attrs) {
        if (int const n = r->read_int64(attr); n != 8) return kTaskLog.Failed("Read", 83, kAssertReadInt64, n, false);
    }
    if (!ReadHString(r, extra_1, kNoLimit)) return kTaskLog.Failed("Read", 85, kAssertFalse, false);
    tpl_ids.clear();
    if (!ReadVTHString(r, tpl_ids, kNoLimit)) return kTaskLog.Failed("Read", 87, kAssertFalse, false);
    if (!ReadHString(r, extra_2, kNoLimit)) return kTaskLog.Failed("Read", 88, kAssertFalse, false);
    return true;
}

void SensFileNode::GiveTo(SensFile& file) noexcept {
    file.file_path = std::move(file_path);
    file.file_md5 = std::move(file_md5);
    file.file_attrs = file_attrs;
    file.extra_1 = std::move(extra_1);
    file.tpl_ids = std::move(tpl_ids);
    file.extra_2 = std::move(extra_2);
}

}  // namespace DLPCache
