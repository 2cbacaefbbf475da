// Memory that runs out.
#include <optional>

#include "tests/support/fault/EveryAllocation.h"
#include "tests/text/TextFixture.h"

namespace {

using fault::WithEveryFailure;
using testing::AnyOf;

class TextMemoryTest : public TextFixture {
  protected:
    HString const name_ = "a name";
    QVKKeywordText const older_ = MakeText("older");
    QVKKeywordText const newer_ = MakeText("newer");
};

TEST_F(TextMemoryTest, TextIsStoredOrTheOlderStaysOrNone) {
    int code = 0;
    WithEveryFailure(
        [this] { cache_.Add(name_, older_); }, [&] { code = cache_.Add(name_, newer_); },
        [&] {
            EXPECT_EQ(code, 1);
            EXPECT_THAT(Find("a name"), AnyOf(Found{2, older_}, Found{2, newer_}, Found{-4, MakeText("before")}));
        });
}

TEST_F(TextMemoryTest, TextIsFoundOrNot) {
    cache_.Add(name_, older_);
    Found found;
    WithEveryFailure(
        [&] {
            found = {0, newer_};
        },
        [&] { found.code = cache_.Find(name_, found.text); },
        [&] {
            EXPECT_THAT(found, AnyOf(Found{2, older_}, Found{-13, QVKKeywordText()}, Found{-4, newer_}));
        });
}

TEST_F(TextMemoryTest, CacheWithoutADirectoryKeepsNothing) {
    // A path of its own would be relative.
    std::filesystem::create_directories(root_ / "current");
    std::filesystem::current_path(root_ / "current");
    HString const task = "T1";
    std::optional<DLPCacheText> cache;
    Found found;
    WithEveryFailure([&] { cache.emplace(task); },
                     [&] {
                         bool const whole = cache->GetFileArcCache(name_).not_empty();
                         EXPECT_EQ(cache->Add(name_, newer_), 1);
                         found = {0, older_};
                         found.code = cache->Find(name_, found.text);
                         EXPECT_EQ(found, whole ? (Found{2, newer_}) : (Found{-4, older_}));
                     });
    EXPECT_TRUE(std::filesystem::is_empty(root_ / "current"));
    std::filesystem::current_path("/");
}

TEST_F(TextMemoryTest, PathIsWholeOrEmpty) {
    HString path;
    bool empty = false;
    WithEveryFailure([&] { path = cache_.GetFileArcCache(name_); },
                     [&] {
                         EXPECT_THAT(path.get_str(), AnyOf(File("a name"), ""));
                         empty = empty || path.empty();
                     });
    EXPECT_TRUE(empty);
}

}  // namespace
