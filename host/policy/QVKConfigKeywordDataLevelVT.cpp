#include "host/policy/QVKConfigKeywordDataLevelVT.h"

#include "host/policy/QVKTableFile.h"

template class QVKTable<QVKConfigKeywordDataLevelNode>;
