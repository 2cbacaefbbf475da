#include "task/DLPCacheTextMerge.h"
