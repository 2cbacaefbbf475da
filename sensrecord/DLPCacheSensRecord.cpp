#include "sensrecord/DLPCacheSensRecord.h"
