#include "bench/ScanFloor.h"

#include <fcntl.h>
#include <openssl/evp.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <thread>

#include "bench/Require.h"
#include "storage/DLPCacheIndexFormat.h"

namespace bench {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kUsualRecord = 300;  // bytes read in place of the record of an answer that has none

// The MD5 as the scanner takes it: one digest and one context for all files of a thread.
class Md5Taker {
  public:
    Md5Taker() : kind_(::EVP_MD_fetch(nullptr, "MD5", nullptr)), context_(::EVP_MD_CTX_new()) {}
    ~Md5Taker() {
        ::EVP_MD_CTX_free(context_);
        ::EVP_MD_free(kind_);
    }
    Md5Taker(Md5Taker const&) = delete;
    Md5Taker& operator=(Md5Taker const&) = delete;

    void Take(char const* bytes, std::size_t length) {
        unsigned char digest[EVP_MAX_MD_SIZE];
        unsigned digest_length = 0;
        Require(::EVP_DigestInit_ex2(context_, kind_, nullptr) == 1 &&
                    ::EVP_DigestUpdate(context_, bytes, length) == 1 &&
                    ::EVP_DigestFinal_ex(context_, digest, &digest_length) == 1,
                "raw calls: no MD5");
    }

  private:
    EVP_MD* kind_;
    EVP_MD_CTX* context_;
};

void ReadWhole(std::string const& path, char* bytes, std::size_t size) {
    int const fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    Require(fd >= 0 && ::read(fd, bytes, size + 1) == static_cast<ssize_t>(size), "raw calls: a file has changed");
    ::close(fd);
}

}  // namespace

ScanFloor::ScanFloor(std::string const& tree, std::string const& root) {
    ListFiles(tree);
    ListCaches(root);
}

void ScanFloor::ListFiles(std::string const& tree) {
    for (fs::directory_entry const& entry : fs::recursive_directory_iterator(tree)) {
        if (entry.is_symlink() || !entry.is_regular_file()) continue;
        files_.push_back({entry.path().string(), static_cast<std::size_t>(entry.file_size())});
    }
    std::sort(files_.begin(), files_.end(), [](File const& a, File const& b) { return a.path < b.path; });
}

void ScanFloor::ListCaches(std::string const& root) {
    for (fs::directory_entry const& entry : fs::recursive_directory_iterator(root + "/cache/template")) {
        if (entry.path().filename() != "index") continue;
        Cache cache{entry.path().string(), entry.path().parent_path() / "cache", {}};
        ReadPlaces(cache);
        if (!fs::exists(cache.data_path)) cache.data_path = cache.index_path;  // no answer had a record
        if (!cache.places.empty()) caches_.push_back(std::move(cache));
    }
}

void ScanFloor::ReadPlaces(Cache& cache) const {
    using DLPCache::IndexHead;
    using DLPCache::IndexKey;
    std::ifstream stream(cache.index_path, std::ios::binary);
    std::vector<char> const bytes{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    for (std::size_t at = IndexHead::kSize; at + IndexKey::kSize <= bytes.size(); at += IndexKey::kSize) {
        if (bytes[at] == 0) continue;
        IndexKey const slot = DLPCache::DecodeIndexKey(reinterpret_cast<std::uint8_t const*>(&bytes[at]));
        Place place{static_cast<long long>(at), 0, kUsualRecord};
        if (slot.length > 0) place = {place.slot, slot.offset, static_cast<std::size_t>(slot.length)};
        cache.places.push_back(place);
    }
}

void ScanFloor::LookUp(std::size_t file, char* bytes) const {
    for (Cache const& cache : caches_)
        RawFind(cache.index_path, cache.data_path, cache.places[file % cache.places.size()], bytes);
}

void ScanFloor::Run(unsigned jobs) const {
    std::size_t largest = kUsualRecord;
    for (File const& file : files_)
        largest = std::max(largest, file.size);
    for (Cache const& cache : caches_) {
        for (Place const& place : cache.places)
            largest = std::max(largest, place.length);
    }
    std::atomic<std::size_t> next = 0;
    auto const work = [&] {
        auto const bytes = std::make_unique_for_overwrite<char[]>(largest + 1);
        Md5Taker md5;
        for (std::size_t file; (file = next++) < files_.size();) {
            ReadWhole(files_[file].path, bytes.get(), files_[file].size);
            md5.Take(bytes.get(), files_[file].size);
            LookUp(file, bytes.get());
        }
    };
    std::vector<std::thread> threads;
    for (unsigned job = 0; job < jobs; ++job)
        threads.emplace_back(work);
    for (std::thread& thread : threads)
        thread.join();
}

}  // namespace bench
