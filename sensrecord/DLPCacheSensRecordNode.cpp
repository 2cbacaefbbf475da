#include "sensrecord/DLPCacheSensRecordNode.h"
