#pragma once

#include <array>
#include <vector>

#include "host/base/Export.h"
#include "host/base/HString.h"

// One sensitive file that a scan task found. A value.
struct TORVANE_API SensFile {
    HString task_id;
    int sn = 0;  // serial number within the task, from 1
    HString file_path;
    HString file_md5;
    std::array<long long, 4> file_attrs{};  // length in bytes, creation, modification, finding (seconds since 1970 UTC)
    std::vector<HString> tpl_ids;           // of the templates that matched
    // Filled when the file is read back, for the templates that the task's definitions know: MD5s, names, and the names
    // of the data classes that there are.
    std::vector<HString> tpl_md5s;
    std::vector<HString> tpl_names;
    std::vector<HString> data_classes;
    HString extra_1;  // the verdict
    HString extra_2;  // carried only

    void reset_to_default() noexcept;  // as newly made

    friend bool operator==(SensFile const&, SensFile const&) noexcept = default;
};
