#pragma once

#include <memory>
#include <string>

#include "task/DLPCacheTaskMgr.h"
#include "tests/task/StoreFixture.h"

// A registry with "task-1" in it. A test ends with every queue empty.
class OpenedTaskFixture : public StoreFixture {
  protected:
    // Milliseconds: longer than a test may run, so that a lost wake-up is not slept through.
    static constexpr int kLong = 3600000;

    OpenedTaskFixture() { registry_->AddTask(&task_); }
    void TearDown() override { EXPECT_TRUE(registry_->WaitAllWritten(kLong)); }

    // A new registry over what is on disk, as after a restart of the process.
    void Restart() {
        EXPECT_TRUE(registry_->WaitAllWritten(kLong));
        registry_ = std::make_unique<DLPCacheTaskMgr>();
    }
    // Records a file of task-1, and waits until it is written.
    void Record(SensFile const& file) {
        DLPCacheTask* const writer = registry_->GetCache("task-1");
        ASSERT_NE(writer, nullptr);
        ASSERT_EQ(writer->AddNumbered(file), 1);
        ASSERT_TRUE(writer->WaitWritten(kLong));
    }

    std::unique_ptr<DLPCacheTaskMgr> registry_ = std::make_unique<DLPCacheTaskMgr>();
};
