#include "host/policy/QVKConfigKeywordDataClassVT.h"

#include "host/policy/QVKTableFile.h"

template class QVKTable<QVKConfigKeywordDataClassNode>;
