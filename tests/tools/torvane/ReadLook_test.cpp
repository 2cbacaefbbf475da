#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>

#include "tests/tools/torvane/ReadRoot.h"
#include "tools/torvane/cache/StoreView.h"

namespace {

using torvane::Look;
using torvane::LookAtFile;
using torvane::Slot;
using torvane::Soundness;
using torvane::StoreView;

void SetOld(std::string const& path) {
    struct timespec const times[2] = {{1700000000, 0}, {1700000000, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
}

// A little ahead, so that it stays "just now" for a while.
void SetJustNow(std::string const& path) {
    using namespace std::chrono;
    auto const time = duration_cast<nanoseconds>(system_clock::now().time_since_epoch() + milliseconds(450)).count();
    struct timespec const now{time / 1000000000, time % 1000000000};
    struct timespec const times[2] = {now, now};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
}

class LookAt : public testing::Test {
  protected:
    // Looks that say what `wrong` says of the look of this number, from 1.
    template <class Wrong>
    Soundness File(Wrong wrong) {
        return LookAtFile(file_, [&] { return wrong(++looks_) ? "damaged" : ""; }).soundness;
    }
    static bool Always(int) { return true; }

    TempRoot root_;
    std::string directory_ = root_ / "directory";
    std::string file_ = directory_ + "/file";
    int looks_ = 0;

    LookAt() {
        std::filesystem::create_directory(directory_);
        WriteBytes(file_, "x");
    }
};

TEST_F(LookAt, WhatIsSoundIsLookedAtOnce) {
    EXPECT_EQ(File([](int) { return false; }), Soundness::kSound);
    EXPECT_EQ(looks_, 1);
}

TEST_F(LookAt, DamageOfAFileThatNobodyWritesIsToldAtOnce) {
    SetOld(file_);
    EXPECT_EQ(File(Always), Soundness::kDamaged);
    EXPECT_EQ(looks_, 1);
}

TEST_F(LookAt, DamageOfAFileThatWasJustWrittenIsLookedAtAgain) {
    SetJustNow(file_);
    EXPECT_EQ(File([](int look) { return look == 1; }), Soundness::kSound);
    EXPECT_EQ(looks_, 2);
}

TEST_F(LookAt, DamageThatStaysIsDamage) {
    SetJustNow(file_);
    EXPECT_EQ(File(Always), Soundness::kDamaged);
    EXPECT_GT(looks_, 1);
}

TEST_F(LookAt, WhatKeepsChangingIsBusy) {
    auto const write = [&](int look) {
        WriteBytes(file_, std::string(static_cast<std::size_t>(look) + 1, 'x'));
        return true;
    };
    EXPECT_EQ(File(write), Soundness::kBusy);
    EXPECT_EQ(looks_, 3);
}

TEST_F(LookAt, AFileThatIsMissingIsLookedAtAgainWhereTheDirectoryHasJustChanged) {
    std::filesystem::remove(file_);
    SetJustNow(directory_);
    EXPECT_EQ(File([](int look) { return look == 1; }), Soundness::kSound);
    SetOld(directory_);
    looks_ = 0;
    EXPECT_EQ(File(Always), Soundness::kDamaged);
    EXPECT_EQ(looks_, 1);
}

class LookAtRecord : public ReadRoot {
  protected:
    // The first used slot of the only template store, decoded by `decode`.
    Look First(StoreView::Decoder const& decode) {
        torvane::StorePlace place;
        place.directory = TemplateStore("T1");
        StoreView store(place);
        Slot slot;
        auto number = store.index().NextUsed(1, slot);
        while (number && !torvane::HasRecord(slot))
            number = store.index().NextUsed(*number + 1, slot);
        EXPECT_TRUE(number.has_value());
        return store.LookAt(number.value_or(1), slot, decode);
    }
};

TEST_F(LookAtRecord, WhatIsGoneWhenItIsLookedAtAgainIsBusy) {
    NotSound();
    MakeSmallRoot();
    Look const look = First([&](torvane::RecordBytes) {
        std::filesystem::remove(TemplateStore("T1") + "/index");
        return "damaged";
    });
    EXPECT_EQ(look.soundness, Soundness::kBusy);
}

TEST_F(LookAtRecord, WhatIsSoundAtTheSecondLookIsSound) {
    MakeSmallRoot();
    int looks = 0;
    Look const look = First([&](torvane::RecordBytes) {
        std::string const data = TemplateStore("T1") + "/cache";
        if (++looks == 1) WriteBytes(data, ReadBytes(data) + "more");
        return looks == 1 ? "damaged" : "";
    });
    EXPECT_EQ(look.soundness, Soundness::kSound);
    EXPECT_EQ(looks, 2);
}

TEST_F(LookAtRecord, WhatIsDamagedInAStoreThatNobodyWritesIsLookedAtOnce) {
    MakeSmallRoot();
    for (char const* const name : {"/index", "/cache"})
        SetOld(TemplateStore("T1") + name);
    int looks = 0;
    Look const look = First([&](torvane::RecordBytes) { return ++looks, "damaged"; });
    EXPECT_EQ(look.soundness, Soundness::kDamaged);
    EXPECT_EQ(looks, 1);
}

}  // namespace
