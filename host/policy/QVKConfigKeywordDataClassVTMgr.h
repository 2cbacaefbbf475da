#pragma once

#include "host/base/Export.h"
#include "host/base/HString.h"

// Where the agent keeps its table of data classes.
class TORVANE_API QVKConfigKeywordDataClassVTMgr {
  public:
    [[nodiscard]] static QVKConfigKeywordDataClassVTMgr* pins() noexcept;  // made on first use, never destroyed
    // The table's record file in the agent's configuration directory, <root>/config/KeywordDataClass.arc; any thread.
    [[nodiscard]] HString get_arc_file() const noexcept;

  private:
    QVKConfigKeywordDataClassVTMgr() noexcept = default;
};
