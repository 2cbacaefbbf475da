#include "host/base/HIEThread.h"
