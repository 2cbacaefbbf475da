#include "host/policy/QVKConfigKeywordTemplateVT.h"

#include "host/policy/QVKTableFile.h"

template class QVKTable<QVKConfigKeywordTemplateNode>;
