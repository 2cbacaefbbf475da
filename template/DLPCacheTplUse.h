#pragma once

#include <set>
#include <utility>

#include "host/base/HString.h"

class KwDefineMgr;

namespace DLPCache {

// The one question that decides whether an outdated template cache may go: does a remembered scan task still use it?
// An object serves one run of pruning or removal: it loads the task history, and what each task of it uses, when first
// asked. Defined by the task folder, which knows the tasks. The caller holds the template manager's lock; asking takes
// the task registry's. One object, one thread.
class TplUse {
  public:
    TplUse() noexcept = default;
    // Leaves out one task, the one that is being removed.
    explicit TplUse(HString const& without_task) noexcept : without_task_(&without_task) {}

    // Whether some task of the history used the template under `md5`. Also true when that cannot be found out, for want
    // of memory or because a task's files cannot be read for now: then nothing may go.
    [[nodiscard]] bool IsUsed(HString const& tpl_id, HString const& md5) noexcept;

  private:
    using Use = std::pair<HString, HString>;  // template id and MD5

    [[nodiscard]] bool Load();
    [[nodiscard]] bool Note(KwDefineMgr const& definitions);

    HString const* without_task_ = nullptr;
    bool loaded_ = false;
    bool known_ = false;  // used_ is complete
    std::set<Use> used_;
};

}  // namespace DLPCache
