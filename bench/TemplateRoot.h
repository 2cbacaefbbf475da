#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "bench/RawCalls.h"
#include "bench/TempDir.h"
#include "host/base/HString.h"
#include "host/policy/QVKKeywordCheckParam.h"
#include "template/DLPCacheTpl.h"

namespace bench {

// The process's root directory with some templates of three rules each and, for some files, the answer of every
// template: all matched, with three items and a short text. Made once; `templates` and `files` of the first call count.
// Logging is off.
class TemplateRoot {
  public:
    static constexpr std::size_t kTemplates = 20;
    static constexpr std::size_t kFiles = 100;
    static constexpr std::size_t kRules = 3;

    [[nodiscard]] static TemplateRoot& Instance(std::size_t templates = kTemplates, std::size_t files = kFiles);

    // The check of file `i` (any number) against template `first` and the `count - 1` templates after it.
    [[nodiscard]] QVKKeywordCheckParam Check(std::size_t i, std::size_t first, std::size_t count) const;
    // Asks the front; ends the program when anything but the full answer comes back.
    void Query(QVKKeywordCheckParam const& check) const;
    // Asks the template's cache for the answer of file `i`.
    void Find(std::size_t tpl, std::size_t i) const;
    // The seven raw calls that Find cannot do without.
    void RawCalls(std::size_t tpl, std::size_t i) const;

  private:
    // A template's cache and the files in it.
    struct Cache {
        HString tpl_id;
        DLPCacheTpl* cache = nullptr;
        std::string index_path, data_path;
        std::vector<Place> places;  // by file
    };

    TemplateRoot(std::size_t templates, std::size_t files);
    void PickFiles(std::size_t files);
    void Store(std::size_t file);
    void OpenCache(HString const& tpl_id);
    [[nodiscard]] DLPCacheTpl::Key const& KeyOfFile(std::size_t i) const { return files_[i % files_.size()]; }

    TempDir directory_;
    std::vector<HString> tpl_ids_;
    std::vector<DLPCacheTpl::Key> files_;
    std::vector<Cache> caches_;
};

}  // namespace bench
