#include "template/DLPCacheTplMgr.h"
