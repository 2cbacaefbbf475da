#pragma once

#include <gmock/gmock.h>

#include <filesystem>
#include <string>

#include "tests/support/KeywordText.h"
#include "tests/support/LogLines.h"
#include "tests/support/TempRoot.h"
#include "text/DLPCacheText.h"

// A root of its own and the text cache of the task "T1".
class TextFixture : public testing::Test {
  protected:
    // What Find gives.
    struct Found {
        int code = 0;
        QVKKeywordText text;
        friend bool operator==(Found const&, Found const&) = default;
    };
    // Looks into a text that holds something before.
    Found Find(std::string const& name) const {
        Found found{0, MakeText("before")};
        found.code = cache_.Find(HString(name), found.text);
        return found;
    }
    std::string Dir() const { return root_ / "cache/task/T1/text/"; }
    std::string File(std::string const& name) const { return Dir() + name + ".arc"; }

    TempRoot root_;
    DLPCacheText cache_{"T1"};
};
