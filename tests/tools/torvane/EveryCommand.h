#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "tests/tools/torvane/ReadRoot.h"

// One way to call the program: "@FILE" stands for a file whose answer is stored, "@OUT" for a directory that is
// missing.
struct Call {
    std::string name;  // of the test
    std::vector<std::string> words;
    bool needs_cache = true;
    // Goes on when nobody reads what it says, since its status counts.
    bool outlives_reader = false;
};
[[nodiscard]] inline std::vector<Call> const& EveryCall() {
    static std::vector<Call> const calls = {
        {"stat", {"stat"}, true, true},
        {"stat_watch", {"stat", "--watch", "0.1", "--rounds", "2"}, true, true},
        {"ls_templates", {"ls", "templates"}},
        {"ls_answers", {"ls", "answers"}},
        {"ls_tasks", {"ls", "tasks"}},
        {"ls_findings", {"ls", "findings"}},
        {"ls_counters", {"ls", "counters"}},
        {"ls_texts", {"ls", "texts"}},
        {"show_file", {"show", "--file", "@FILE"}, true, true},
        {"show_key", {"show", "/a"}, true, true},
        {"show_finding", {"show", "--task", "t1", "--sn", "1"}, true, true},
        {"why", {"why", "@FILE", "--template", "T1"}, true, true},
        {"verify", {"verify"}, true, true},
        {"verify_quick", {"verify", "--quick"}, true, true},
        {"repair", {"repair", "--out", "@OUT"}, true, true},
        {"compact", {"compact", "--out", "@OUT"}, true, true},
        {"export", {"export"}},
        {"tail", {"tail", "--no-follow"}},
        {"config", {"config"}, false},
        {"completion", {"completion", "bash"}, false},
    };
    return calls;
}

// A root with one of everything and a log, and one call.
class EveryCommand : public ReadRoot, public testing::WithParamInterface<Call> {
  protected:
    void MakeRoot() {
        MakeSmallRoot();
        std::filesystem::create_directories(Root() + "/log");
        WriteBytes(Root() + "/log/DLPCache.log", "2026-01-31T12:00:00.000Z 1 ../a.cpp:1 text\n");
    }
    [[nodiscard]] std::string Out() const { return root_ / "out"; }
    [[nodiscard]] std::vector<std::string> Words(std::string const& root) const {
        std::vector<std::string> words{"--root", root};
        for (std::string const& word : GetParam().words)
            words.push_back(word == "@FILE" ? File("a.txt", "a") : word == "@OUT" ? Out() : word);
        return words;
    }
    [[nodiscard]] std::vector<std::string> Words() const { return Words(Root()); }
    [[nodiscard]] bool Is(std::string const& command) const { return GetParam().words[0] == command; }
    [[nodiscard]] std::vector<std::string> Stores() const {
        return {TemplateStore("T1") + "/index", Root() + "/cache/task/t1/index",
                Root() + "/cache/sensrecord/1/p1/index"};
    }
    void DamageStores() const {
        for (std::string const& index : Stores())
            WriteBytes(index, "no index");
    }
    // Whether it can say nothing but that it is busy when every store keeps changing.
    [[nodiscard]] bool NeedsAStore() const {
        auto const& words = GetParam().words;
        bool const lists_texts = Is("ls") && words[1] == "texts";
        return GetParam().needs_cache && !Is("tail") && !Is("stat") && !Is("export") && !lists_texts;
    }
    // Several documents are no JSON, and what is for a shell has one form.
    [[nodiscard]] bool TakesForm(std::string const& form) const {
        bool const is_stream = Is("export") || GetParam().name == std::string("stat_watch");
        return !Is("completion") && (form == "jsonl" || !is_stream);
    }
    // The status of what needs a cache where it has none, or none that it may read.
    [[nodiscard]] int Without(int status) const { return GetParam().needs_cache ? status : 0; }
};

[[nodiscard]] inline std::string NameOfCall(testing::TestParamInfo<Call> const& call) {
    return call.param.name;
}
