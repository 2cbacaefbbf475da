#pragma once

#include <map>

#include "host/base/Export.h"
#include "host/base/HMutex.h"
#include "host/base/HString.h"
#include "host/policy/QVKConfigKeywordTemplateNode.h"
#include "template/DLPCacheTpl.h"

// The owner of all template caches: finds those on disk at start, hands out the cache of a template and MD5 (making it
// on demand), deletes a cache with its directory. Cache objects are never destroyed, so that a pointer handed out stays
// valid. Any thread may call; nothing throws. Every call holds the manager's lock for its whole run.
class TORVANE_API DLPCacheTplMgr {
  public:
    // The instance, made on first call and never destroyed. Null only without memory.
    [[nodiscard]] static DLPCacheTplMgr* pins() noexcept;

    // Checks the module's version stamp (front/DLPCacheVersion.h), then Init. Public for tools and tests; there must
    // not be two managers over one root at once.
    DLPCacheTplMgr() noexcept;
    ~DLPCacheTplMgr();
    DLPCacheTplMgr(DLPCacheTplMgr const&) = delete;
    DLPCacheTplMgr& operator=(DLPCacheTplMgr const&) = delete;

    // The start-up scan, made by the constructor without the lock and only before the manager is shared: removes empty
    // directories and directories that hold no valid snapshot, opens the others. What cannot be read stays.
    void Init() noexcept;
    void InitTpl(HString const& tpl_id) noexcept;
    void InitTplMD5(HString const& dir) noexcept;

    // The cache under `md5`, made when there is none (it may have no store, see DLPCacheTpl; each call tries again to
    // give it one). Null only without memory.
    [[nodiscard]] DLPCacheTpl* GetCache(QVKConfigKeywordTemplateNode const& tpl, HString const& md5) noexcept;
    // Deletes the cache's directory and forgets the cache: who still holds it gets a code of the store from then on,
    // and GetCache makes a new one. False when there is none under `md5`, or when its directory does not lie below the
    // template path (logged, kept).
    bool DeleteCache(HString const& md5) noexcept;
    // Deletes every cache that neither the process-wide definitions nor a remembered scan task uses any more: its
    // template has another MD5 now or is gone, and no task of the history used it under the cache's MD5. A cache whose
    // own definitions do not hold exactly one template stays. To be called after the definitions have changed. Asks the
    // task registry under the manager's lock, which is taken first.
    void UpdataCache() noexcept;

    // The manager's lock, for DLPCacheTaskMgr::DelTask: it deletes caches under the registry's lock, before which this
    // one comes.
    [[nodiscard]] HMutex& mutex() noexcept { return mutex_; }

  private:
    void OpenFound(HString const& directory);  // InitTplMD5, but throws without memory

    HMutex mutex_;  // guards what follows; re-entrant. Taken under it: the task registry's lock and what comes after it
                    // (docs/threads.md), a store's locks, those of the definitions, of the root's path and of the log
    std::map<HString, DLPCacheTpl*> caches_;          // by template MD5
    std::multimap<HString, DLPCacheTpl*> forgotten_;  // deleted, but callers may still hold them
};
