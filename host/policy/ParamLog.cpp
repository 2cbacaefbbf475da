#include "host/policy/ParamLog.h"
