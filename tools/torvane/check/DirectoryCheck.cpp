#include "tools/torvane/check/DirectoryCheck.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <utility>

#include "tools/torvane/cache/CacheRoot.h"

namespace torvane {

namespace {

constexpr char kTemporaryEnding[] = ".tmp";

std::vector<std::string> Listed(std::string const& path, ChangeWatch& watch) {
    watch.Add(path);
    return NamesIn(path);
}

}  // namespace

bool IsTemporaryName(std::string const& name) {
    if (name == "index.tmp") return true;
    if (!name.ends_with(kTemporaryEnding)) return false;
    std::size_t const end = name.size() - sizeof kTemporaryEnding + 1;
    std::size_t at = end;
    auto const skip_digits = [&] {
        std::size_t const before = at;
        while (at > 0 && std::isdigit(static_cast<unsigned char>(name[at - 1])) != 0)
            --at;
        return at < before;
    };
    if (!skip_digits() || at == 0 || name[--at] != '-') return false;
    return skip_digits() && at > 1 && name[at - 1] == '.';
}

DirectoryCheck::DirectoryCheck(std::string const& root, std::string name, FindingList& list, ChangeWatch& watch)
    : root_(root), name_(std::move(name)), list_(list), watch_(watch), names_(Listed(root + "/" + name_, watch)) {}

bool DirectoryCheck::Has(std::string const& name) const {
    return std::binary_search(names_.begin(), names_.end(), name);
}

bool DirectoryCheck::IsDirectory(std::string const& name) const {
    struct stat status {};
    return ::lstat((root_ + "/" + Below(name)).c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool DirectoryCheck::ExpectFile(std::string const& name) {
    return Expect(name, false);
}

bool DirectoryCheck::ExpectDirectory(std::string const& name) {
    return Expect(name, true);
}

bool DirectoryCheck::Expect(std::string const& name, bool is_directory) {
    if (!Has(name)) return false;
    expected_.insert(name);
    struct stat status {};
    if (!LookAtEntry(root_, Below(name), status, list_)) return false;
    if (is_directory ? S_ISDIR(status.st_mode) : S_ISREG(status.st_mode)) return true;
    watch_.Add(root_ + "/" + Below(name));
    Reporter(list_, Below(name))
        .Damage("foreign", {},
                is_directory ? "something that is no directory stands here"
                             : "something that is no regular file stands here",
                "what belongs here");
    return false;
}

void DirectoryCheck::TellRest() {
    for (std::string const& name : names_) {
        if (!expected_.contains(name)) TellUnexpectedEntry(root_, Below(name), list_);
    }
}

bool LookAtEntry(std::string const& root, std::string const& name, struct stat& status, FindingList& list) {
    if (::lstat((root + "/" + name).c_str(), &status) == 0) return true;
    int const error = errno;
    if (error != ENOENT && error != ENOTDIR) Reporter(list, name).Unreadable(std::strerror(error));
    return false;
}

void TellUnexpectedEntry(std::string const& root, std::string const& name, FindingList& list) {
    struct stat status {};
    if (!LookAtEntry(root, name, status, list)) return;
    Reporter const report(list, name);
    if (S_ISREG(status.st_mode) && IsTemporaryName(name.substr(name.rfind('/') + 1))) {
        report.Waste("temporary", {}, "a temporary file was left behind", static_cast<std::uint64_t>(status.st_size));
    } else {
        report.Damage("stray", {}, "the library has put nothing of this name here", "nothing");
    }
}

}  // namespace torvane
