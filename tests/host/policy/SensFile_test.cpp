#include "host/policy/SensFile.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>

namespace {

TEST(SensFile, AFreshOneIsEmpty) {
    SensFile const file;
    EXPECT_EQ(file.sn, 0);
    EXPECT_EQ(file.file_attrs, (std::array<long long, 4>{0, 0, 0, 0}));
    EXPECT_TRUE(file.task_id.empty());
}

TEST(SensFile, EveryFieldMakesADifferenceAndIsReset) {
    std::function<void(SensFile&)> const edits[] = {
        [](SensFile& file) { file.task_id = "x"; },        [](SensFile& file) { file.sn = 1; },
        [](SensFile& file) { file.file_path = "x"; },      [](SensFile& file) { file.file_md5 = "x"; },
        [](SensFile& file) { file.file_attrs[3] = 1; },    [](SensFile& file) { file.tpl_ids = {"x"}; },
        [](SensFile& file) { file.tpl_md5s = {"x"}; },     [](SensFile& file) { file.tpl_names = {"x"}; },
        [](SensFile& file) { file.data_classes = {"x"}; }, [](SensFile& file) { file.extra_1 = "x"; },
        [](SensFile& file) { file.extra_2 = "x"; },
    };
    for (auto const& edit : edits) {
        SensFile file;
        edit(file);
        EXPECT_FALSE(file == SensFile());
        file.reset_to_default();
        EXPECT_EQ(file, SensFile());
    }
}

}  // namespace
