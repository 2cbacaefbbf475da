#include "front/DLPCacheMgr.h"
