#include "storage/DLPCacheIndex.h"

#include <cerrno>
#include <charconv>
#include <cstring>

#include "host/base/HAutoMutex.h"
#include "host/base/HFile.h"
#include "host/base/HFileReadWriter.h"
#include "host/base/HFileReader.h"
#include "host/base/HFileWriter.h"
#include "host/base/LittleEndian.h"
#include "host/base/Murmur3.h"
#include "host/base/NoThrow.h"
#include "storage/ChainWalker.h"
#include "storage/DLPCacheLog.h"

namespace DLPCache {

namespace {

constexpr SourceLog kLog{L"../DLPCacheIndex.cpp"};
using Step = ChainWalker::Step;

constexpr long long kHeadSize = IndexHead::kSize;
constexpr long long kSlotSize = IndexKey::kSize;

// The checks that every operation on a key begins with: the line that each writes, and the length that the file must
// have.
struct Entry {
    char const* operation;
    int missing;
    int key_refused;
    int not_opened;
    int too_short;
    int head_unread;
    int head_invalid;
    long long least_length;
};
constexpr Entry kFindText{"Find", 58, 59, 65, 66, 71, 72, kHeadSize + 1};
constexpr Entry kFindNumber{"Find", 111, 112, 119, 120, 125, 126, kHeadSize};
constexpr Entry kAddText{"Add", 164, 165, 171, 172, 177, 178, kHeadSize + 1};
constexpr Entry kAddNumber{"Add", 235, 236, 242, 243, 248, 249, kHeadSize};

int Missing(Entry const& entry, HString const& path) noexcept {
    return kLog.Failed(entry.operation, entry.missing, kNoExistFile, path, kIndexMissing);
}

// A missing file is told before a refused key and before a failed opening.
int KeyRefused(Entry const& entry, HString const& path) noexcept {
    if (!HFile::IsFileExistFile(path)) return Missing(entry, path);
    return kLog.Failed(entry.operation, entry.key_refused, kAssertFalse, kKeyRefused);
}

int NotOpened(Entry const& entry, HString const& path) noexcept {
    if (!HFile::IsFileExistFile(path)) return Missing(entry, path);
    return kLog.Failed(entry.operation, entry.not_opened, kAssertFalse, kIndexNotOpened);
}

// Why fewer bytes than `least_length` came from the start of the file. kDone: they make a head all the same.
int HeadUnread(Entry const& entry, HString const& path, HFileBase const& file, long long bytes_read) noexcept {
    if (!HFile::IsFileExistFile(path)) return Missing(entry, path);
    if (long long const size = file.get_now_size(); size >= 0 && size < entry.least_length) {
        return kLog.Failed(entry.operation, entry.too_short, kAssertFalse, kPositionUnreachable);
    }
    if (bytes_read >= kHeadSize) return kDone;
    return kLog.Failed(entry.operation, entry.head_unread, kAssertFalse, kPositionUnreachable);
}

// Reads the head of a file that was opened with the result `open_error`. One read: whether the file exists and is long
// enough is told by what the calls return, and the file system is asked again only when something is wrong.
int ReadHead(Entry const& entry, HString const& path, HFileBase& file, int open_error, IndexHead& head) noexcept {
    if (open_error != 0) return NotOpened(entry, path);
    std::uint8_t bytes[IndexHead::kSize + 1] = {};
    long long const bytes_read = file.read(bytes, entry.least_length);
    if (bytes_read < entry.least_length) {
        if (int const code = HeadUnread(entry, path, file, bytes_read); code != kDone) return code;
    }
    head = DecodeIndexHead(bytes);
    return kDone;
}

long long SlotOffset(long long bucket) noexcept {
    return kHeadSize + (bucket - 1) * kSlotSize;
}

bool IsUnused(ChainWalker::Bytes slot) noexcept {
    return slot[0] == 0;
}

long long Next(ChainWalker::Bytes slot) noexcept {
    return Varnok::LoadLittleEndian<long long>(slot.data() + IndexKey::kNextOffset);
}

// Compares as zero-terminated texts. The key has 32 characters, so no more than 33 bytes of the slot are looked at.
bool HoldsKey(ChainWalker::Bytes slot, std::string const& key) noexcept {
    auto const* const held = reinterpret_cast<char const*>(slot.data());
    return held[0] == key[0] && std::strncmp(held, key.c_str(), kTextKeyLength + 1) == 0;
}

void GivePlace(std::uint8_t const* slot, long long& offset, int& length) noexcept {
    offset = Varnok::LoadLittleEndian<long long>(slot + IndexKey::kOffsetOffset);
    length = Varnok::LoadLittleEndian<int>(slot + IndexKey::kLengthOffset);
}

IndexKey MakeSlot(std::string const& key, long long offset, int length) noexcept {
    IndexKey slot;
    std::memcpy(slot.str_key, key.c_str(), kTextKeyLength + 1);
    slot.offset = offset;
    slot.length = length;
    return slot;
}

// Writes `bytes` over `old` at `position`. What could not be written whole is put back as it was.
bool Rewrite(HFileBase& file, long long position, std::span<std::uint8_t const> bytes,
             std::span<std::uint8_t const> old) noexcept {
    if (file.set_pointer(position) == 0 && file.write(bytes.data(), static_cast<long long>(bytes.size())) == 0)
        return true;
    if (file.set_pointer(position) == 0) (void)file.write(old.data(), static_cast<long long>(old.size()));
    return false;
}

// Writes `slot` over the unused slot at `position`.
int FillSlot(HFileBase& file, long long position, ChainWalker::Bytes unused, IndexKey const& slot) noexcept {
    std::uint8_t bytes[IndexKey::kSize];
    EncodeIndexKey(slot, bytes);
    if (Rewrite(file, position, bytes, unused)) return kDone;
    return kLog.Failed("Add", 214, kAssertFalse, kSlotNotWritten);
}

// Writes `slot` at the file's end and then links it to the chain's last slot, in this order: whoever reads the file
// after the process was killed in between finds the chain as it was. On failure the file keeps its length.
int AppendSlot(HFileBase& file, long long last_position, ChainWalker::Bytes last, IndexKey const& slot) noexcept {
    long long const end = file.get_now_size();
    if (end < 0 || file.set_pointer(end) != 0) return kLog.Failed("Add", 225, kAssertFalse, kPositionUnreachable);
    std::uint8_t bytes[IndexKey::kSize];
    EncodeIndexKey(slot, bytes);
    if (file.write(bytes, kSlotSize) != 0) {
        (void)file.cut_off(end);
        return kLog.Failed("Add", 228, kAssertFalse, kSlotNotWritten);
    }
    std::uint8_t link[sizeof(long long)];
    Varnok::StoreLittleEndian(end, link);
    auto const old_link = last.subspan<IndexKey::kNextOffset, sizeof(link)>();
    if (Rewrite(file, last_position + static_cast<long long>(IndexKey::kNextOffset), link, old_link)) return kDone;
    (void)file.cut_off(end);
    return kLog.Failed("Add", 222, kAssertFalse, kSlotNotWritten);
}

// The zeros go first and from the file's start, so that their pieces begin with a page each.
bool WriteEmptyTable(HFileBase& file, int bucketCount) noexcept {
    IndexHead head;
    std::memcpy(head.tag, IndexHead::kTag, IndexHead::kTagWidth);
    head.format_1 = IndexHead::kFormat1;
    head.format_2 = IndexHead::kFormat2;
    head.bucket_count = bucketCount;
    std::uint8_t bytes[IndexHead::kSize];
    EncodeIndexHead(head, bytes);
    if (bucketCount > 0 && file.write_zeros(kHeadSize + bucketCount * kSlotSize) != 0) return false;
    if (file.set_pointer(0) != 0 || file.write(bytes, kHeadSize) != 0) return false;
    return file.flush() == 0 && file.closex() == 0;
}

}  // namespace

template <class File>
int Index::Open(File& file) const noexcept {
    return retired_ ? ENOENT : file.open(path_);
}

void Index::Retire() noexcept {
    HAutoMutex lock(mutex_);
    retired_ = true;
}

int Index::Init(int bucketCount) const noexcept {
    return NoThrow<int>(kInitFailed, [&]() -> int {
        if (HFile::IsFileExistFile(path_)) (void)HFile::delete_file(path_);
        if (bucketCount >= IndexHead::kBucketCountLimit) return kLog.Failed("Init", 281, kAssertFalse, kInitFailed);
        if (path_.empty()) return kLog.Failed("Init", 293, kAssertFalse, kInitFailed);
        HString temporary = path_;
        temporary << ".tmp";
        (void)HFile::delete_file(temporary);  // left behind by a process that died
        HFileWriter file;
        if (file.create(temporary, false) != 0) return kLog.Failed("Init", 293, kAssertFalse, kInitFailed);
        if (WriteEmptyTable(file, bucketCount) && HFile::rename_file(temporary, path_) == 0) return kDone;
        (void)file.closex();
        (void)HFile::delete_file(temporary);
        return kInitFailed;
    });
}

int Index::Find(std::string const& key, long long& offset, int& length) const noexcept {
    if (key.length() != kTextKeyLength) return KeyRefused(kFindText, path_);
    HAutoMutex lock(mutex_);
    HFileReader file;
    IndexHead head;
    if (int const code = ReadHead(kFindText, path_, file, Open(file), head); code != kDone) return code;
    if (!CheckIndexHead(head)) return kLog.Failed("Find", kFindText.head_invalid, kAssertFalse, kHeadInvalid);

    ChainWalker chain(file);
    long long position = GetFirstKeyOffset(key, head);
    do {
        Step const step = chain.MoveTo(position);
        if (step == Step::kUnreachable) return kLog.Failed("Find", 81, kAssertFalse, kPositionUnreachable);
        if (step == Step::kShort) return kLog.Failed("Find", 84, kAssertFalse, kSlotUnreadable);
        if (HoldsKey(chain.Slot(), key)) return GivePlace(chain.Slot().data(), offset, length), kFound;
        if (IsUnused(chain.Slot())) return kDone;
        position = Next(chain.Slot());
    } while (position != 0);
    return kDone;
}

int Index::Add(std::string const& key, long long offset, int length) const noexcept {
    if (key.length() != kTextKeyLength) return KeyRefused(kAddText, path_);
    HAutoMutex lock(mutex_);
    HFileReadWriter file;
    IndexHead head;
    if (int const code = ReadHead(kAddText, path_, file, Open(file), head); code != kDone) return code;
    if (!CheckIndexHead(head)) return kLog.Failed("Add", kAddText.head_invalid, kAssertFalse, kHeadInvalid);

    // The walk does not compare keys: a key that is present gets a further slot.
    ChainWalker chain(file);
    long long position = 0;
    long long next = GetFirstKeyOffset(key, head);
    do {
        position = next;
        Step const step = chain.MoveTo(position);
        if (step == Step::kUnreachable) return kLog.Failed("Add", 187, kAssertFalse, kPositionUnreachable);
        if (step == Step::kShort) return kLog.Failed("Add", 190, kAssertFalse, kPositionUnreachable);
        next = Next(chain.Slot());
    } while (!IsUnused(chain.Slot()) && next != 0);

    IndexKey const slot = MakeSlot(key, offset, length);
    return IsUnused(chain.Slot()) ? FillSlot(file, position, chain.Slot(), slot)
                                  : AppendSlot(file, position, chain.Slot(), slot);
}

int Index::Find(int key, long long& offset, int& length) const noexcept {
    if (key < 1) return KeyRefused(kFindNumber, path_);
    HAutoMutex lock(mutex_);
    HFileReader file;
    IndexHead head;
    if (int const code = ReadHead(kFindNumber, path_, file, Open(file), head); code != kDone) return code;
    if (!CheckIndexHead(head)) return kLog.Failed("Find", kFindNumber.head_invalid, kAssertFalse, kHeadInvalid);

    long long const position = GetFirstKeyOffset(key, head);
    if (file.set_pointer(position) != 0) return kLog.Failed("Find", 138, kAssertFalse, kPositionUnreachable);
    std::uint8_t bytes[IndexKey::kSize];
    if (file.read(bytes, kSlotSize) != kSlotSize) {
        if (long long const size = file.get_now_size(); size >= 0 && position >= size) return kDone;
        return kLog.Failed("Find", 141, kAssertFalse, kDone);
    }
    IndexKey const slot = DecodeIndexKey(bytes);
    if (IsMatchIndexKey(slot, key)) return GivePlace(bytes, offset, length), kFound;
    if (slot.str_key[0] == 0) {
        kLog.Write(kLogInformation, 152, "key.str_key=", slot.str_key, ",g_str_key_empty=", g_str_key_empty);
        return kDone;
    }
    if (slot.next == 0) return kPositionUnreachable;
    return kLog.Failed("Find", 156, kAssertFalse, kSlotUnreadable);
}

int Index::Add(int key, long long offset, int length) const noexcept {
    if (key < 1) return KeyRefused(kAddNumber, path_);
    HAutoMutex lock(mutex_);
    HFileReadWriter file;
    IndexHead head;
    if (int const code = ReadHead(kAddNumber, path_, file, Open(file), head); code != kDone) return code;
    if (!CheckIndexHead(head)) return kLog.Failed("Add", kAddNumber.head_invalid, kAssertFalse, kHeadInvalid);

    long long const position = GetFirstKeyOffset(key, head);
    long long const size = file.get_now_size();
    if (position > size) return kLog.Failed("Add", 253, kAssertFalse, kPositionUnreachable);
    IndexKey slot;
    FormatIndexKey(slot, key);
    if (slot.str_key[0] == 0) return kLog.Failed("Add", 261, kAssertFalse, kPositionUnreachable);
    slot.offset = offset;
    slot.length = length;
    std::uint8_t bytes[IndexKey::kSize];
    EncodeIndexKey(slot, bytes);
    if (file.set_pointer(position) != 0) return kLog.Failed("Add", 264, kAssertFalse, kPositionUnreachable);
    if (position + kSlotSize > size) {
        if (file.write(bytes, kSlotSize) == 0) return kDone;
        (void)file.cut_off(size);
    } else {
        std::uint8_t old[IndexKey::kSize];
        if (file.read(old, kSlotSize) == kSlotSize && Rewrite(file, position, bytes, old)) return kDone;
    }
    return kLog.Failed("Add", 267, kAssertFalse, kSlotNotWritten);
}

unsigned long long Index::GetNumber() const noexcept {
    HAutoMutex lock(mutex_);
    auto const length = static_cast<unsigned long long>(retired_ ? -1 : HFile::GetFileLen(path_));
    return (length - IndexHead::kSize) / IndexKey::kSize;
}

bool Index::CheckIndexHead(IndexHead const& head) const noexcept {
    return std::memcmp(head.tag, IndexHead::kTag, IndexHead::kTagWidth) == 0 && head.format_1 == IndexHead::kFormat1 &&
           head.format_2 == IndexHead::kFormat2 && head.bucket_count < IndexHead::kBucketCountLimit;
}

long long Index::GetFirstKeyOffset(int key, IndexHead const&) const noexcept {
    return SlotOffset(key);
}

long long Index::GetFirstKeyOffset(std::string const& key, IndexHead const& head) const noexcept {
    auto const buckets = static_cast<std::uint32_t>(head.bucket_count);
    if (buckets == 0) return SlotOffset(0);
    return SlotOffset(Varnok::Murmur3_32(key.data(), static_cast<int>(key.length())) % buckets);
}

void Index::FormatIndexKey(IndexKey& slot, int key) const noexcept {
    std::memset(slot.str_key, 0, sizeof(slot.str_key));
    std::to_chars(slot.str_key, slot.str_key + sizeof(slot.str_key) - 1, key);
}

bool Index::IsMatchIndexKey(IndexKey const& slot, int key) const noexcept {
    IndexKey expected;
    FormatIndexKey(expected, key);
    return std::strncmp(slot.str_key, expected.str_key, IndexKey::kKeyWidth) == 0;
}

}  // namespace DLPCache
