#pragma once

#include "host/policy/QVKConfigKeywordTemplateNode.h"
#include "host/policy/QVKTable.h"

// The table of templates.
using QVKConfigKeywordTemplateVT = QVKTable<QVKConfigKeywordTemplateNode>;

extern template class QVKTable<QVKConfigKeywordTemplateNode>;
