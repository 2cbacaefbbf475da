#include "task/DLPCacheTaskMgr.h"
