#pragma once

#include <string>
#include <vector>

#include "template/DLPCacheTplMgr.h"
#include "tests/task/RegistryFixture.h"

// The process's own registry and template caches, with tasks that use the templates "T1" and "T2".
class RemovalFixture : public RegistryFixture {
  protected:
    RemovalFixture();

    static DLPCacheTaskMgr& Registry() { return *DLPCacheTaskMgr::pins(); }
    static DLPCacheTplMgr& Caches() { return *DLPCacheTplMgr::pins(); }

    // Puts another rule into the template, so that it has another MD5.
    void Edit(std::string const& tpl_id);
    void RemoveTpl(std::string const& tpl_id);
    // The cache of a template as it is defined now, with an answer in it. Gives its MD5.
    static std::string MakeCache(std::string const& tpl_id = "T1");
    [[nodiscard]] bool HasCache(std::string const& md5, std::string const& tpl_id = "T1") const;

    // A registered task that uses these templates as they are defined now.
    static ScanTask& MakeUser(std::string const& id, std::vector<HString> const& tpl_ids = {"T1"});
    enum class Writer { kOpen, kNever };
    static ScanTask& AddUser(std::string const& id, std::vector<HString> const& tpl_ids = {"T1"},
                             Writer writer = Writer::kOpen);
    // A running task that the history closes, so that whether it was asked can be seen.
    static ScanTask& AddHistoryProbe();
};
