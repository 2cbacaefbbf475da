#include "tools/torvane/cli/ConfigFile.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>

#include "tools/torvane/ExitStatus.h"

namespace torvane {
namespace {

constexpr std::size_t kMostBytes = std::size_t{1} << 20;
constexpr std::string_view kBlanks = " \t\r";

[[noreturn]] void FailIo(std::string const& path, char const* why) {
    throw Stop(ExitStatus::kIo, path + ": " + why);
}

std::string_view Trimmed(std::string_view text) {
    std::size_t const first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string_view Unquoted(std::string_view value) {
    bool const quoted = value.size() >= 2 && value.front() == '"' && value.back() == '"';
    return quoted ? value.substr(1, value.size() - 2) : value;
}

std::string WholeFile(std::string const& path, bool must_exist) {
    struct Closer {
        void operator()(std::FILE* file) const { (void)std::fclose(file); }
    };
    // What the user names may be a pipe; what is only looked for has to be a file.
    struct stat found {};
    if (!must_exist && ::stat(path.c_str(), &found) == 0 && !S_ISREG(found.st_mode)) FailIo(path, "is no regular file");
    std::unique_ptr<std::FILE, Closer> const file(std::fopen(path.c_str(), "re"));
    if (!file) {
        if (!must_exist && (errno == ENOENT || errno == ENOTDIR || errno == EACCES)) return {};
        FailIo(path, std::strerror(errno));
    }
    std::string text(kMostBytes + 1, '\0');
    text.resize(std::fread(text.data(), 1, text.size(), file.get()));
    if (std::ferror(file.get()) != 0) FailIo(path, std::strerror(errno));
    if (text.size() > kMostBytes) FailIo(path, "larger than 1 MiB");
    return text;
}

}  // namespace

std::vector<ConfigEntry> ReadConfigFile(std::string const& path, bool must_exist) {
    std::string const text = WholeFile(path, must_exist);
    std::vector<ConfigEntry> entries;
    std::string_view rest = text;
    for (int line = 1; !rest.empty(); ++line) {
        std::size_t const end = rest.find('\n');
        std::string_view const content = Trimmed(rest.substr(0, end));
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
        if (content.empty() || content[0] == '#' || content[0] == ';') continue;
        std::size_t const equals = content.find('=');
        if (equals == std::string_view::npos || equals == 0)
            throw Stop(ExitStatus::kUsage, path + ":" + std::to_string(line) + ": is no \"name = value\"");
        entries.push_back({std::string(Trimmed(content.substr(0, equals))),
                           std::string(Unquoted(Trimmed(content.substr(equals + 1)))), line});
    }
    return entries;
}

}  // namespace torvane
