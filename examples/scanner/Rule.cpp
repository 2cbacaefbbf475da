#include "examples/scanner/Rule.h"

#include <fnmatch.h>

#include <algorithm>
#include <charconv>
#include <limits>
#include <stdexcept>

#include "examples/scanner/FileType.h"
#include "examples/scanner/TemplateFile.h"

namespace scanner {
namespace {

[[noreturn]] void Fail(QVKConfigKeywordFormatItemNode const& rule, std::string const& what) {
    throw std::runtime_error("rule \"" + rule.common->id.get_str() + "\": " + what);
}

// The parts between semicolons, without the empty ones.
std::vector<std::string> Alternatives(std::string const& list) {
    std::vector<std::string> parts;
    for (std::size_t begin = 0; begin <= list.size();) {
        std::size_t const end = std::min(list.find(';', begin), list.size());
        if (end > begin) parts.push_back(list.substr(begin, end - begin));
        begin = end + 1;
    }
    return parts;
}

// The number that `digits` is, or `absent` when it is empty; false for anything else.
bool ParseNumber(std::string_view digits, unsigned long long absent, unsigned long long& number) {
    number = absent;
    auto const [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return digits.empty() || (error == std::errc() && end == digits.data() + digits.size());
}

}  // namespace

Rule::Rule(QVKConfigKeywordFormatItemNode const& definition) : definition_(definition) {
    std::string const text = definition.rule_text.get_str();
    switch (definition.sub_type) {
        case kKeyword:
            CompileExpression(re2::RE2::QuoteMeta(text), false);
            break;
        case kRegex:
            CompileExpression(text, true);
            break;
        case kFileSize:
            ParseSizes(text);
            break;
        case kFileName:
        case kFileType:
            alternatives_ = Alternatives(text);
            if (alternatives_.empty()) Fail(definition, "\"" + text + "\" names nothing");
            break;
        case kEmail:
        case kBankCard:
            break;
        default:
            Fail(definition, "unknown sub-type " + std::to_string(definition.sub_type));
    }
}

void Rule::CompileExpression(std::string const& pattern, bool case_sensitive) {
    re2::RE2::Options options;
    options.set_log_errors(false);
    options.set_case_sensitive(case_sensitive);
    expression_ = std::make_unique<re2::RE2>(pattern, options);
    if (!expression_->ok()) Fail(definition_, "bad expression: " + expression_->error());
    if (re2::RE2::FullMatch("", *expression_)) Fail(definition_, "the expression matches the empty text");
}

void Rule::ParseSizes(std::string const& range) {
    std::size_t const hyphen = range.find('-');
    if (hyphen != std::string::npos && range.size() > 1) {
        std::string_view const view = range;
        bool const least = ParseNumber(view.substr(0, hyphen), 0, least_kb_);
        bool const most =
            ParseNumber(view.substr(hyphen + 1), std::numeric_limits<unsigned long long>::max(), most_kb_);
        if (least && most && least_kb_ <= most_kb_) return;
    }
    Fail(definition_, "\"" + range + "\" is no size range in kB such as \"100-200\", \"1024-\" or \"-4\"");
}

bool Rule::Apply(FileView const& file, Finding& finding) const {
    switch (definition_.sub_type) {
        case kFileName:
            return MatchesName(file.short_name);
        case kFileType:
            return MatchesType(file, finding);
        case kFileSize:
            return MatchesSize(file, finding);
        default:
            break;
    }
    FindText(file.text, finding.matches);
    finding.number = finding.matches.count();
    return finding.number >= std::max(1, definition_.min_count);
}

void Rule::FindText(std::string_view text, Matches& matches) const {
    switch (definition_.sub_type) {
        case kEmail:
            return FindEmails(text, matches);
        case kBankCard:
            return FindBankCards(text, matches);
        default:
            return FindExpression(*expression_, text, matches);
    }
}

bool Rule::MatchesName(std::string_view short_name) const {
    std::string const name(short_name);
    return std::any_of(alternatives_.begin(), alternatives_.end(), [&name](std::string const& pattern) {
        return ::fnmatch(pattern.c_str(), name.c_str(), FNM_CASEFOLD) == 0;
    });
}

bool Rule::MatchesType(FileView const& file, Finding& finding) const {
    finding.value = FileType(file.short_name, file.content);
    return std::find(alternatives_.begin(), alternatives_.end(), finding.value) != alternatives_.end();
}

bool Rule::MatchesSize(FileView const& file, Finding& finding) const {
    unsigned long long const kilobytes = (file.content.size() + 1023) / 1024;
    finding.number = static_cast<long long>(kilobytes);
    return least_kb_ <= kilobytes && kilobytes <= most_kb_;
}

}  // namespace scanner
