#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace torvane {

// MD5 of a file's content, 32 lower-case hexadecimal digits. Follows links; never waits for a FIFO. Throws Stop(kIo).
// Tells `at` after every block how many bytes of how many are done.
[[nodiscard]] std::string Md5OfFile(std::string const& path,
                                    std::function<void(std::uint64_t, std::uint64_t)> const& at = {});

// Who asks for a file: what the agent passes as its name and its MD5.
struct FileIdentity {
    std::string path;
    std::string short_name;  // empty: that of the path
    std::string md5;         // in lower case
};

// The keys under which the file's answers may lie in an index (32 digits). More than one, as the MD5 is hashed as the
// agent wrote it, in lower or in upper case. `depends_on_name`: see Snapshot::DependsOnName.
[[nodiscard]] std::vector<std::string> AnswerKeys(FileIdentity const& file, bool depends_on_name);
// The same of the file's counts, for the path as it stands and as an absolute one.
[[nodiscard]] std::vector<std::string> CountKeys(std::string const& path);
// The keys that a text may stand for: itself, when it is one, and the one that a store makes of it.
[[nodiscard]] std::vector<std::string> KeysOfText(std::string const& text);

}  // namespace torvane
