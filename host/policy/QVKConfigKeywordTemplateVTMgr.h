#pragma once

#include "host/base/Export.h"
#include "host/base/HString.h"

// Where the agent keeps its table of templates.
class TORVANE_API QVKConfigKeywordTemplateVTMgr {
  public:
    [[nodiscard]] static QVKConfigKeywordTemplateVTMgr* pins() noexcept;  // made on first use, never destroyed
    // The table's record file in the agent's configuration directory, <root>/config/KeywordTemplate.arc; any thread.
    [[nodiscard]] HString get_arc_file() const noexcept;

  private:
    QVKConfigKeywordTemplateVTMgr() noexcept = default;
};
