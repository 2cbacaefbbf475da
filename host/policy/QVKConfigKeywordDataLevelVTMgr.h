#pragma once

#include "host/base/Export.h"
#include "host/base/HString.h"

// Where the agent keeps its table of data levels.
class TORVANE_API QVKConfigKeywordDataLevelVTMgr {
  public:
    [[nodiscard]] static QVKConfigKeywordDataLevelVTMgr* pins() noexcept;  // made on first use, never destroyed
    // The table's record file in the agent's configuration directory, <root>/config/KeywordDataLevel.arc; any thread.
    [[nodiscard]] HString get_arc_file() const noexcept;

  private:
    QVKConfigKeywordDataLevelVTMgr() noexcept = default;
};
