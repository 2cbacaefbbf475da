#include "host/policy/SensFile.h"
