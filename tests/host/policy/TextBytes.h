#pragma once

#include <string>

#include "host/policy/QVKKeywordText.h"
#include "tests/support/TempRoot.h"

// A record with something in every field, and its bytes, put together by hand from the layout that the header gives.
namespace texts {

inline QVKKeywordText Full() {
    QVKKeywordText text;
    text.tpl_id = "T1";
    text.line_positions = {{7, {{1, 4}, {-1, 0x01020304}}}};
    text.text = "ab";
    text.second_text = "\x80";
    text.second_text_path = "/p";
    text.second_positions = {{5, 6}};
    return text;
}

inline std::string const kFullBytes = FromHex(
    "01"                                   // version
    "02000000 5400 3100"                   // "T1"
    "01000000"                             // one line:
    "07000000 02000000"                    // number 7, two positions
    "01000000 04000000 FFFFFFFF 04030201"  //
    "02000000 6100 6200"                   // "ab"
    "00000000"                             // no path
    "01000000 80DC"                        // a byte that is not UTF-8
    "02000000 2F00 7000"                   // "/p"
    "01000000 05000000 06000000");         // one position

}  // namespace texts
