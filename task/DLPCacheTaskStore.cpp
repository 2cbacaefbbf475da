#include "task/DLPCacheTaskStore.h"
