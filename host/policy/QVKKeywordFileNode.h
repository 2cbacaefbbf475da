#pragma once

#include "host/base/HString.h"

// One file as scanned. A value.
struct QVKKeywordFileNode {
    HString file_path;
    HString file_md5;    // MD5 of the content; the key of the cached answers
    HString short_name;  // when empty, the short name of the path stands for it
};
