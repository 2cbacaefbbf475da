#include "host/policy/QVKConfigKeywordFormatItemVT.h"

#include "host/policy/QVKTableFile.h"

template class QVKTable<QVKConfigKeywordFormatItemNode>;
