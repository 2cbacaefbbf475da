#pragma once

#include "host/base/HString.h"

namespace DLPCache {

// What the process-wide definitions say about a template id and an MD5 at one moment. Any thread.
enum class TplState {
    kCurrent,  // the template has this MD5; also when they cannot be asked for want of memory
    kOther,    // the template has another MD5 now
    kGone,     // there is no such template
};

[[nodiscard]] TplState StateOfTpl(HString const& tpl_id, HString const& md5) noexcept;

}  // namespace DLPCache
