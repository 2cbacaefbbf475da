#include "host/policy/SensFile.h"

void SensFile::reset_to_default() noexcept {
    *this = SensFile();
}
