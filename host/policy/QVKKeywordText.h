#pragma once

#include <vector>

#include "host/base/Export.h"
#include "host/base/HString.h"
#include "host/policy/QVKKeywordLinePos.h"
#include "host/policy/QVKKeywordPos.h"

// The extracted text of a match and where in it the matches lie. A value.
//
// As a buffer: a version byte (1), then tpl_id, line_positions, text, text_path, second_text, second_text_path,
// second_positions, and nothing after it. A text is a 32-bit count of 16-bit units and the units; a list is a 32-bit
// count and its elements; a line's are its number and its list of positions, a position's its start and end (32 bits
// each). Everything is little-endian. Each record has exactly one such form.
struct TORVANE_API QVKKeywordText {
    HString tpl_id;  // the template that the text belongs to
    std::vector<QVKKeywordLinePos> line_positions;
    HString text;       // the text itself, or
    HString text_path;  // the path of a file that holds it
    HString second_text;
    HString second_text_path;
    std::vector<QVKKeywordPos> second_positions;

    void reset_to_default() noexcept;  // as newly made
    // Encodes the record into a new array that the caller frees with array delete (what `buf` held before is not
    // freed); never empty. False, with `buf` null and `len` 0, without memory.
    bool to_buffer(char*& buf, long long& len) const noexcept;
    // Decodes what to_buffer made; the array stays the caller's. False, with the record reset, when it is damaged or
    // there is no memory.
    bool from_buffer(char const* buf, long long len) noexcept;
    // The same for those who must tell the two apart: throws std::bad_alloc without memory, the record is then in any
    // state.
    bool decode(char const* buf, long long len);

    // The record as a file of its own: an archive with the tag "KTXT" and one record, the buffer's bytes. Replaced in
    // one step. 0, else errno.
    int to_file(HString const& path) const noexcept;
    // 0; ENOENT: missing; EBADMSG: damaged or foreign; any other errno: could not be read. On failure the record is
    // reset.
    int from_file(HString const& path) noexcept;

    friend bool operator==(QVKKeywordText const&, QVKKeywordText const&) noexcept = default;
};
