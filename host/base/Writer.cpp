#include "host/base/Writer.h"

Varnok::Writer::~Writer() = default;
