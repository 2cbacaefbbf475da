#include "sensrecord/DLPCacheSensRecordMgr.h"
