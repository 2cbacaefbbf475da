#pragma once

#include "host/base/Export.h"
#include "host/base/HString.h"
#include "host/policy/QVKKeywordText.h"
#include "text/DLPCacheTextCodes.h"

// The extracted texts of one scan task, one file per name in the directory "text" of the task. A text is worth keeping
// when it names its content and has matched positions:
//
//   text_path set:               that file exists, and line_positions is not empty;
//   else text set:               line_positions is not empty;
//   else:                        second_text_path names an existing file, or without such a path second_text is set,
//                                and second_positions is not empty.
//
// Nothing is made, read or deleted for an empty task id, nor behind a symbolic link in the place of the directory, of
// the task's or of that of all tasks. To be used for tasks that are registered: what is added for a task that was
// removed leaves a directory without a record behind.
//
// A value without a lock: any thread, but one thread at a time per name. Nothing throws; codes are TextCode.
class TORVANE_API DLPCacheText {
  public:
    explicit DLPCacheText(HString const& taskId) noexcept;  // touches nothing; any id, registered or not

    // The file of a name, which is mapped as ids are (Varnok::IdToFileName). Empty without a task id and without
    // memory.
    [[nodiscard]] HString GetFileArcCache(HString const& name) const noexcept;
    // kTextStored (also when writing failed, see WriteArcCache) or kTextNotKeepable. Makes the directory in any case.
    int Add(HString const& name, QVKKeywordText const& text) const noexcept;
    // kTextFound; kTextMissing (`text` as it was); kTextUnreadable (`text` as it was read, or reset). The text of a
    // name that is longer than the file system allows (with the ending ".arc" 255 bytes as a rule) is missing, also
    // after Add.
    [[nodiscard]] int Find(HString const& name, QVKKeywordText& text) const noexcept;
    // Writes the file, in place of an older one (which is logged). kTextStored always: a text that could not be written
    // shows when it is looked for.
    int WriteArcCache(HString const& name, QVKKeywordText const& text) const noexcept;

  private:
    HString directory_;  // ends in a separator; empty without a task id and without memory
};
