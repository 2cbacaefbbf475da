#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "bench/RawCalls.h"

namespace bench {

// What a run of the scanner in which every file is answered cannot do without: reading each file and taking its MD5,
// and the seven raw calls of a look-up for each file and template, on the scanner's own files. The files are listed and
// the places of the records found out beforehand.
class ScanFloor {
  public:
    // `tree`: the directory scanned; `root`: the scanner's root after a run.
    ScanFloor(std::string const& tree, std::string const& root);

    // All of it once, on so many threads.
    void Run(unsigned jobs) const;
    [[nodiscard]] std::size_t files() const { return files_.size(); }
    [[nodiscard]] std::size_t templates() const { return caches_.size(); }

  private:
    struct File {
        std::string path;
        std::size_t size = 0;
    };
    struct Cache {
        std::string index_path, data_path;
        std::vector<Place> places;  // of all answers; file i stands for the i-th of them, modulo their number
    };

    void ListFiles(std::string const& tree);
    void ListCaches(std::string const& root);
    void ReadPlaces(Cache& cache) const;
    void LookUp(std::size_t file, char* bytes) const;

    std::vector<File> files_;
    std::vector<Cache> caches_;
};

}  // namespace bench
