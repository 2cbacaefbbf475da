#include "sensrecord/DLPCachePolicyHash.h"
