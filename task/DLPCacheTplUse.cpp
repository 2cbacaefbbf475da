#include "template/DLPCacheTplUse.h"
