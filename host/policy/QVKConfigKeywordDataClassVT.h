#pragma once

#include "host/policy/QVKConfigKeywordDataClassNode.h"
#include "host/policy/QVKTable.h"

// The table of data classes.
using QVKConfigKeywordDataClassVT = QVKTable<QVKConfigKeywordDataClassNode>;

extern template class QVKTable<QVKConfigKeywordDataClassNode>;
