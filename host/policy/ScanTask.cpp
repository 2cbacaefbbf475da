#include "host/policy/ScanTask.h"
