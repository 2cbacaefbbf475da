// The files of one record each: whatever bytes they hold, they are refused, and the record is then as a fresh one, or
// they are read as exactly what they say.

#include <cerrno>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "host/policy/ArchiveFile.h"
#include "host/policy/QVKKeywordText.h"
#include "host/policy/ScanTask.h"
#include "tests/fuzz/FuzzCheck.h"
#include "tests/fuzz/FuzzDirectory.h"

namespace {

FuzzDirectory const& Directory() {
    static FuzzDirectory const directory;
    return directory;
}

std::string ContentOf(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// What a record becomes in a file.
template <class Record>
std::string Written(Record const& record) {
    std::string const path = Directory().File("written.arc", "");
    FUZZ_CHECK(record.to_file(HString(path)) == 0);
    return ContentOf(path);
}

// Reads a file's content; `used` is a record that had another content before. Returns whether it was taken.
template <class Record>
bool ReadContent(std::string_view content, Record used) {
    static std::string const fresh = Written(Record());
    int const error = used.from_file(HString(Directory().File("read.arc", content)));
    FUZZ_CHECK(error == 0 || error == EBADMSG);
    FUZZ_CHECK(Written(used) == (error == 0 ? content : std::string_view(fresh)));
    return error == 0;
}

ScanTask UsedTask() {
    ScanTask task;
    task.id = "t";
    task.note = "n";
    task.policy->audit_node->tpl_ids = {"T1", "T2"};
    return task;
}

QVKKeywordText UsedText() {
    QVKKeywordText text;
    text.text = "t";
    text.line_positions = {{1, {{2, 3}}}};
    return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string_view const input(reinterpret_cast<char const*>(data), size);
    // As a whole file, and as a record whose head and checksum are right.
    bool const is_task = ReadContent(input, UsedTask());
    bool const is_text = ReadContent(input, UsedText());
    FUZZ_CHECK(!(is_task && is_text));
    (void)ReadContent(Varnok::PackArchive("STSK", 1, input), UsedTask());
    (void)ReadContent(Varnok::PackArchive("KTXT", 1, input), UsedText());
    return 0;
}
