#pragma once

#include "host/policy/QVKConfigKeywordFormatItemNode.h"
#include "host/policy/QVKTable.h"

// The table of rules.
using QVKConfigKeywordFormatItemVT = QVKTable<QVKConfigKeywordFormatItemNode>;

extern template class QVKTable<QVKConfigKeywordFormatItemNode>;
