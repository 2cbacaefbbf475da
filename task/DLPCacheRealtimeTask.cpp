#include "task/DLPCacheRealtimeTask.h"
