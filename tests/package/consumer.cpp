// The least that a stranger's program can do with the library.
#include "front/DLPCacheVersion.h"

int main() {
    PrintMoudleVersion();
}
