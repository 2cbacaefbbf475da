#include <sys/stat.h>

#include <cerrno>
#include <cstddef>
#include <string_view>

#include "host/base/Descriptor.h"
#include "host/base/HFile.h"
#include "host/base/NarrowPath.h"

namespace {

bool IsDirectory(char const* path) noexcept {
    struct stat status {};
    return ::lstat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

// Index of the separators before the component that ends at `end`; 0 when no parent is left to make.
std::size_t ParentEnd(char const* path, std::size_t end) noexcept {
    while (end > 0 && path[end - 1] != '/')
        --end;
    while (end > 0 && path[end - 1] == '/')
        --end;
    return end;
}

// Makes the directory that the first `end` bytes of `path` name.
int MakePrefix(char* path, std::size_t end) noexcept {
    char const cut = path[end];
    path[end] = '\0';
    int const error = Varnok::MakeOneDir(path);
    path[end] = cut;
    return error;
}

}  // namespace

bool Varnok::MakeDir(HString const& path) noexcept {
    NarrowPath narrow(path);
    if (narrow.Error() != 0 || narrow.Length() == 0) return false;
    narrow.CutSeparatorsAtEnd();
    char* const text = narrow.Text();
    // Up to the first parent that is there or can be made, then down again.
    std::size_t end = narrow.Length();
    int error = MakePrefix(text, end);
    while (error == ENOENT && ParentEnd(text, end) != 0) {
        end = ParentEnd(text, end);
        error = MakePrefix(text, end);
    }
    while ((error == 0 || error == EEXIST) && end < narrow.Length()) {
        while (text[end] == '/')
            ++end;
        while (end < narrow.Length() && text[end] != '/')
            ++end;
        error = MakePrefix(text, end);
    }
    return error == 0 || IsDirectory(text);
}
