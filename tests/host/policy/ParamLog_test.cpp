#include "host/policy/ParamLog.h"

#include <gtest/gtest.h>

namespace {

TEST(ParamLog, AnEmptyParamHasNoFile) {
    EXPECT_EQ(ParamLog(QVKKeywordCheckParam()).get_str(), "task id: , kind: 0, files: 0");
}

TEST(ParamLog, ItemsWithoutFilesHaveNoneToName) {
    QVKKeywordCheckParam param;
    param.task_id = "t1";
    param.file_items.resize(2);
    EXPECT_EQ(ParamLog(param).get_str(), "task id: t1, kind: 0, files: 0");
}

TEST(ParamLog, TheFirstFileStandsForAll) {
    QVKKeywordCheckParam param;
    param.task_id = "t1";
    param.task_kind = 4294967295U;
    param.file_items.resize(3);
    param.file_items[1].file_nodes = {{"/a", "m1", ""}, {"/b", "m2", ""}};
    param.file_items[2].file_nodes = {{"/c", "m3", ""}};
    EXPECT_EQ(ParamLog(param).get_str(), "task id: t1, kind: 4294967295, files: 3, path: /a, md5: m1");
}

}  // namespace
