#pragma once

#include "host/base/HString.h"
#include "host/policy/QVKConfigKeywordTemplateNode.h"
#include "host/policy/QVKKeywordFileNode.h"
#include "template/DLPCacheTpl.h"

namespace DLPCache {

// A template of the process-wide definitions and its cache. Both pointers stay valid as long as the process.
struct TplLookup {
    QVKConfigKeywordTemplateNode const* tpl = nullptr;
    DLPCacheTpl* cache = nullptr;  // null: the template is not defined or has no cache (no memory)
};

// The cache of the template's present definition, made when there is none. Any thread.
[[nodiscard]] TplLookup LookUpTpl(HString const& tpl_id) noexcept;

// The key under which the file's answers lie. Throws std::bad_alloc.
[[nodiscard]] DLPCacheTpl::Key MakeFileKey(QVKKeywordFileNode const& file_node);

}  // namespace DLPCache
