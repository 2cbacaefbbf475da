#include "host/base/HTimeValueEx.h"
