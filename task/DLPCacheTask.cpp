#include "task/DLPCacheTask.h"
