#include "host/base/ParentPath.h"

#include <string>

namespace {

TEST(ParentPathTest, IsTheDirectoryThatTheLastNameLiesIn) {
    struct {
        char const* path;
        char const* parent;
    } const samples[] = {
        {"/a/b", "/a/"}, {"/a/b/", "/a/"}, {"/a/b//", "/a/"}, {"/a", "/"},
        {"a/b", "a/"},   {"a", ""},        {"", ""},          {"/", "/"},
    };
    for (auto const& sample : samples)
        EXPECT_EQ(Varnok::ParentPath(HString(sample.path)).get_str(), sample.parent) << sample.path;
}

}  // namespace
