#include "task/DLPCacheTaskDefinitions.h"
