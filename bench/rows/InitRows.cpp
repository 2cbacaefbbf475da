#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <string>

#include "bench/AnswerStore.h"
#include "bench/Duel.h"
#include "bench/RawCalls.h"
#include "bench/Require.h"
#include "bench/TempDir.h"
#include "bench/rows/Rows.h"
#include "storage/DLPCacheIndex.h"

namespace bench {
namespace {

using DLPCache::IndexHead;
using DLPCache::IndexKey;

constexpr long long kFileBytes = static_cast<long long>(IndexHead::kSize + kBuckets * IndexKey::kSize);
constexpr std::size_t kSlotWrites = 5000;

void MakeByLibrary(std::string const& path) {
    Require(DLPCache::Index(HString(path)).Init(kBuckets) == DLPCache::kDone, "Index::Init failed");
}

void MakeByRawCalls(std::string const& path) {
    RawWriteZeros(path, kFileBytes);
}

void Remove(std::string const& path) {
    struct stat status {};
    Require(::stat(path.c_str(), &status) == 0 && status.st_size == kFileBytes, "the index has a wrong size");
    Require(::unlink(path.c_str()) == 0, "the index could not be removed");
}

// Writes slots all over the file; nanoseconds per write.
double WriteSlots(std::string const& path) {
    char const slot[IndexKey::kSize] = "slot";
    int const fd = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
    double const start = Now();
    for (std::size_t i = 0; i < kSlotWrites; ++i) {
        auto const at = static_cast<off_t>(IndexHead::kSize + (i * 7919 % kBuckets) * IndexKey::kSize);
        Require(::pwrite(fd, slot, sizeof slot, at) == sizeof slot, "slot write failed");
    }
    double const each = (Now() - start) / static_cast<double>(kSlotWrites);
    ::close(fd);
    return each;
}

// Makes an index file at a path.
using Make = void (*)(std::string const&);

Side TimeMaking(Make make) {
    return [make, directory = std::make_shared<TempDir>()] {
        std::string const path = directory->File("index");
        double const start = Now();
        make(path);
        double const taken = Now() - start;
        Remove(path);
        return taken;
    };
}

Side TimeSlotWrites(Make make) {
    return [make, directory = std::make_shared<TempDir>()] {
        std::string const path = directory->File("index");
        make(path);
        double const each = WriteSlots(path);
        Remove(path);
        return each;
    };
}

}  // namespace

void AddInitRows() {
    AddRow({"init/make", "Index::Init, 500,000 buckets", "28.5 MB of zeros in 64 KiB pieces", Target::kAtMost, 1.3}, 15,
           [] { return Duel(TimeMaking(MakeByLibrary), TimeMaking(MakeByRawCalls)); });
    AddRow({"init/slot", "a slot written into the file that Init made", "one in a file so made", Target::kAtMost, 1.2},
           11, [] { return Duel(TimeSlotWrites(MakeByLibrary), TimeSlotWrites(MakeByRawCalls)); });
}

}  // namespace bench
