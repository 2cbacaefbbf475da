#pragma once

#include "host/base/Export.h"
#include "host/base/HString.h"

// Where the agent keeps its table of rules.
class TORVANE_API QVKConfigKeywordFormatItemVTMgr {
  public:
    [[nodiscard]] static QVKConfigKeywordFormatItemVTMgr* pins() noexcept;  // made on first use, never destroyed
    // The table's record file in the agent's configuration directory, <root>/config/KeywordFormatItem.arc; any thread.
    [[nodiscard]] HString get_arc_file() const noexcept;

  private:
    QVKConfigKeywordFormatItemVTMgr() noexcept = default;
};
