// What shows a verdict on a terminal has a colour there.
#include <gmock/gmock.h>

#include "tests/tools/torvane/ReadRoot.h"

namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class Colours : public ReadRoot {
  protected:
    Colours() {
        MakeSmallRoot();
        tool_.environment["TERM"] = "xterm";
    }
    std::string OnTerminal(std::vector<std::string> words) const {
        words.insert(words.begin(), {"--root", Root()});
        return tool_.RunOnTerminal(words).out;
    }
};

TEST_F(Colours, OfVerifyTellSoundFromDamaged) {
    EXPECT_THAT(OnTerminal({"verify"}), HasSubstr("\x1b[32mno damage found\x1b[0m"));
    WriteBytes(TemplateStore("T1") + "/index", "no index");
    EXPECT_THAT(OnTerminal({"verify"}), HasSubstr("\x1b[31m1 place damaged\x1b[0m"));
}

TEST_F(Colours, OfWhyTellAHitFromAMiss) {
    EXPECT_THAT(OnTerminal({"why", File("a.txt", "a"), "--template", "T1"}), StartsWith("\x1b[32mhit: "));
    EXPECT_THAT(OnTerminal({"why", File("c.txt", "c"), "--template", "T1"}), StartsWith("\x1b[31mmiss: "));
}

TEST_F(Colours, OfStatAreThoseOfItsTitles) {
    EXPECT_THAT(OnTerminal({"stat"}), HasSubstr("\x1b[1m"));
}

TEST_F(Colours, AreNotInAFile) {
    for (char const* const command : {"stat", "verify"})
        EXPECT_THAT(Run({command}).out, Not(HasSubstr("\x1b"))) << command;
}

}  // namespace
