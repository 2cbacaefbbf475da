#include "host/base/HEnvironment.h"
