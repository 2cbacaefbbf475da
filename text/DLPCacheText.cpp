#include "text/DLPCacheText.h"

#include <cerrno>
#include <climits>
#include <utility>

#include "host/base/HFile.h"
#include "host/base/NoThrow.h"
#include "host/base/ParentPath.h"
#include "host/policy/KwIdName.h"
#include "host/policy/KwLocateMgr.h"
#include "storage/DLPCacheLog.h"

using namespace DLPCache;

namespace {

constexpr SourceLog kLog{L"../DLPCacheText.cpp"};

bool IsKeepable(QVKKeywordText const& text) noexcept {
    if (text.text_path.not_empty()) return HFile::IsFileExistFile(text.text_path) && !text.line_positions.empty();
    if (text.text.not_empty()) return !text.line_positions.empty();
    bool const has_content = text.second_text_path.not_empty() ? HFile::IsFileExistFile(text.second_text_path)
                                                               : text.second_text.not_empty();
    return has_content && !text.second_positions.empty();
}

constexpr int kOwnLevels = 3;  // <task path>/<task id>/text

// Whether no file or symbolic link stands where the directory, its task's or that of all tasks belongs.
bool IsPlaceFree(HString const& directory) {
    HString path = directory;
    for (int level = 0; level < kOwnLevels; ++level) {
        // Of what cannot be looked at reading and writing tell.
        if (HFile::IsOtherThanDir(path)) return false;
        path = Varnok::ParentPath(path);
    }
    return directory.not_empty();
}

// The same without memory: then nothing is touched.
bool MayUse(HString const& directory) noexcept {
    return NoThrow(false, [&] { return IsPlaceFree(directory); });
}

// Of a name that is too long there is no file, although its existence cannot be looked up.
bool IsName(HString const& path) noexcept {
    return NoThrow(
        false, [&] { return path.get_short_name().get_str().size() <= NAME_MAX && path.get_str().size() < PATH_MAX; });
}

// In place of an older file. A path is empty without memory.
void Write(HString const& path, QVKKeywordText const& text) noexcept {
    if (path.empty()) return;
    if (HFile::IsFileExistFile(path) && IsName(path)) {
        kLog.Write(kLogWarning, 156, "conflict exist, cover !!!!!!!!!!");
        (void)HFile::delete_file2(path);
    }
    (void)text.to_file(path);
}

}  // namespace

DLPCacheText::DLPCacheText(HString const& taskId) noexcept
    : directory_(NoThrow(HString(), [&] {
          // A task without an id is one whose record could not be read: nothing is ever written for it.
          if (taskId.empty()) return HString();
          HString directory = KwLocateMgr::pins()->get_task_path(taskId, true);
          if (directory.empty()) return directory;  // never a path of its own: that would be relative
          directory << "text";
          return directory.dir_fit(true);
      })) {}

HString DLPCacheText::GetFileArcCache(HString const& name) const noexcept {
    return NoThrow(HString(), [&] {
        if (directory_.empty()) return HString();
        HString path = directory_;
        path << Varnok::IdToFileName(name) << ".arc";
        return path;
    });
}

int DLPCacheText::Add(HString const& name, QVKKeywordText const& text) const noexcept {
    bool const usable = MayUse(directory_) && (HFile::IsFileExistDir(directory_) || Varnok::MakeDir(directory_));
    if (!IsKeepable(text)) return kTextNotKeepable;
    if (usable) Write(GetFileArcCache(name), text);
    return kTextStored;
}

int DLPCacheText::WriteArcCache(HString const& name, QVKKeywordText const& text) const noexcept {
    if (MayUse(directory_) && HFile::IsFileExistDir(directory_)) Write(GetFileArcCache(name), text);
    return kTextStored;
}

int DLPCacheText::Find(HString const& name, QVKKeywordText& text) const noexcept {
    if (!MayUse(directory_) || !HFile::IsFileExistDir(directory_)) return kTextMissing;
    HString const path = GetFileArcCache(name);
    if (!HFile::IsFileExistFile(path)) return kTextMissing;
    QVKKeywordText read;
    if (read.from_file(path) == ENAMETOOLONG) return kTextMissing;
    text = std::move(read);
    return IsKeepable(text) ? kTextFound : kTextUnreadable;
}
