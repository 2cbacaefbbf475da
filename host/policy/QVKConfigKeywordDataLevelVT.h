#pragma once

#include "host/policy/QVKConfigKeywordDataLevelNode.h"
#include "host/policy/QVKTable.h"

// The table of data levels.
using QVKConfigKeywordDataLevelVT = QVKTable<QVKConfigKeywordDataLevelNode>;

extern template class QVKTable<QVKConfigKeywordDataLevelNode>;
