#include "bench/rows/Rows.h"

namespace bench {

void AddScannerRows() {}

}  // namespace bench
