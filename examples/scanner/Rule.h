#pragma once

#include <re2/re2.h>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "examples/scanner/Finders.h"
#include "host/policy/QVKConfigKeywordFormatItemNode.h"

namespace scanner {

// A file as rules see it. Views of the scanning thread's buffers.
struct FileView {
    std::string_view short_name;
    std::string_view content;  // as it lies on disk
    std::string_view text;     // extracted; empty when there is none
};

// What one rule found in one file.
struct Finding {
    long long number = 0;  // matches, or the size in kB
    std::string value;     // what is shown beside the rule's text: the file type
    Matches matches;       // content rules only
};

// A rule made ready to run. Movable; any thread may apply it.
class Rule {
  public:
    // Compiles a definition. Throws std::runtime_error with the rule's id and what is wrong with it.
    explicit Rule(QVKConfigKeywordFormatItemNode const& definition);

    // Whether the rule looks into the text.
    [[nodiscard]] bool NeedsText() const { return definition_.rule_type == kContentType; }
    // Whether the rule matched; `finding` is filled when it did. The answer depends on the content and, for file name
    // and file type rules, on the short name without regard to the case of A to Z, as the cache's keys do.
    [[nodiscard]] bool Apply(FileView const& file, Finding& finding) const;

    [[nodiscard]] QVKConfigKeywordFormatItemNode const& definition() const { return definition_; }

  private:
    static constexpr int kContentType = 1;

    void CompileExpression(std::string const& pattern, bool case_sensitive);
    void ParseSizes(std::string const& range);
    void FindText(std::string_view text, Matches& matches) const;
    [[nodiscard]] bool MatchesName(std::string_view short_name) const;
    [[nodiscard]] bool MatchesType(FileView const& file, Finding& finding) const;
    [[nodiscard]] bool MatchesSize(FileView const& file, Finding& finding) const;

    QVKConfigKeywordFormatItemNode definition_;
    std::unique_ptr<re2::RE2> expression_;   // keyword and regex
    std::vector<std::string> alternatives_;  // file name patterns, file types
    unsigned long long least_kb_ = 0;        // file size, both included
    unsigned long long most_kb_ = 0;
};

}  // namespace scanner
