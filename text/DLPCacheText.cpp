#include "text/DLPCacheText.h"
