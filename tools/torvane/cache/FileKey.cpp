#include "tools/torvane/cache/FileKey.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "front/DLPCacheTplLookup.h"
#include "host/base/Md5.h"
#include "host/policy/QVKKeywordFileNode.h"
#include "storage/DLPCacheIndexFormat.h"
#include "tools/torvane/ExitStatus.h"

namespace torvane {

namespace {

class Descriptor {
  public:
    explicit Descriptor(std::string const& path) : fd_(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)) {}
    ~Descriptor() {
        if (fd_ >= 0) ::close(fd_);
    }
    Descriptor(Descriptor const&) = delete;
    Descriptor& operator=(Descriptor const&) = delete;
    [[nodiscard]] int get() const { return fd_; }

  private:
    int fd_;
};

// What a store makes of a key.
std::string StoredKey(HString const& key) {
    return key.get_md5_std_format_lower(HString()).get_str();
}

std::string Upper(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

void AddOnce(std::vector<std::string>& keys, std::string const& key) {
    if (std::find(keys.begin(), keys.end(), key) == keys.end()) keys.push_back(key);
}

bool IsStoredKey(std::string const& text) {
    return text.size() == DLPCache::kTextKeyLength &&
           std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isxdigit(c) != 0; });
}

std::string AnswerKey(FileIdentity const& file, std::string const& md5, bool depends_on_name) {
    QVKKeywordFileNode node;
    node.file_path = HString(file.path);
    node.short_name = HString(file.short_name);
    node.file_md5 = HString(md5);
    DLPCacheTpl::Key const key = DLPCache::MakeFileKey(node);
    return StoredKey(depends_on_name ? key.to_hash() : key.md5);
}

}  // namespace

std::string Md5OfFile(std::string const& path, std::function<void(std::uint64_t, std::uint64_t)> const& at) {
    Descriptor const file(path);
    struct stat status {};
    if (file.get() < 0 || ::fstat(file.get(), &status) != 0) {
        throw Stop(ExitStatus::kIo, "cannot read " + path + ": " + std::strerror(errno));
    }
    if (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) {
        throw Stop(ExitStatus::kIo, "cannot read " + path + ": is no regular file");
    }
    std::uint64_t done = 0;
    Varnok::Md5 md5;
    std::array<char, std::size_t{1} << 18U> bytes;
    for (;;) {
        ssize_t const got = ::read(file.get(), bytes.data(), bytes.size());
        if (got == 0) break;
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) throw Stop(ExitStatus::kIo, "cannot read " + path + ": " + std::strerror(errno));
        md5.Update(bytes.data(), static_cast<std::size_t>(got));
        done += static_cast<std::uint64_t>(got);
        if (at) at(done, static_cast<std::uint64_t>(status.st_size));
    }
    char hex[DLPCache::kTextKeyLength];
    Varnok::Md5::ToHexLower(md5.Finish(), hex);
    return {hex, sizeof(hex)};
}

std::vector<std::string> AnswerKeys(FileIdentity const& file, bool depends_on_name) {
    std::vector<std::string> keys;
    for (std::string const& md5 : {file.md5, Lower(file.md5), Upper(file.md5)})
        AddOnce(keys, AnswerKey(file, md5, depends_on_name));
    return keys;
}

std::vector<std::string> CountKeys(std::string const& path) {
    std::vector<std::string> keys;
    std::error_code error;
    std::string const absolute = std::filesystem::absolute(path, error).lexically_normal().string();
    for (std::string const& text : {path, error ? path : absolute})
        AddOnce(keys, StoredKey(HString(text).get_md5_std_format(HString())));
    return keys;
}

std::vector<std::string> KeysOfText(std::string const& text) {
    std::vector<std::string> keys;
    if (IsStoredKey(text)) AddOnce(keys, Lower(text));
    AddOnce(keys, StoredKey(HString(text)));
    AddOnce(keys, StoredKey(HString(text).get_md5_std_format(HString())));
    if (IsStoredKey(text)) AddOnce(keys, StoredKey(HString(Lower(text))));
    if (IsStoredKey(text)) AddOnce(keys, StoredKey(HString(Upper(text))));
    return keys;
}

}  // namespace torvane
