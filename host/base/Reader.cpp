#include "host/base/Reader.h"

Varnok::Reader::~Reader() = default;
