#include "task/DLPCacheSensFileNode.h"
