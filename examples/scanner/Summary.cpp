#include "examples/scanner/Summary.h"

#include <algorithm>
#include <map>
#include <set>
#include <string_view>

#include "examples/scanner/Digest.h"

namespace scanner {
namespace {

constexpr std::size_t kTopVerdicts = 5;

std::set<std::string_view> Lines(std::string_view verdict) {
    std::set<std::string_view> lines;
    while (!verdict.empty()) {
        std::size_t const end = std::min(verdict.find('\n'), verdict.size());
        if (end > 0) lines.insert(verdict.substr(0, end));
        verdict.remove_prefix(std::min(end + 1, verdict.size()));
    }
    return lines;
}

void CountLines(std::vector<FileOutcome> const& outcomes, Summary& summary) {
    std::map<std::string_view, std::uint64_t> counts;
    for (FileOutcome const& outcome : outcomes) {
        for (std::string_view const line : Lines(outcome.verdict))
            ++counts[line];
    }
    summary.top_verdicts.assign(counts.begin(), counts.end());
    std::stable_sort(summary.top_verdicts.begin(), summary.top_verdicts.end(),
                     [](auto const& a, auto const& b) { return a.second > b.second; });
    if (summary.top_verdicts.size() > kTopVerdicts) summary.top_verdicts.resize(kTopVerdicts);
}

}  // namespace

void Summarize(std::vector<std::string> const& files, std::vector<FileOutcome> const& outcomes, Summary& summary) {
    Digest digest(Digest::Kind::kSha256);
    digest.Begin();
    std::string_view const zero("\0", 1);
    for (std::size_t i = 0; i < files.size(); ++i) {
        FileOutcome const& outcome = outcomes[i];
        if (!outcome.read) continue;
        for (std::string_view const piece :
             {std::string_view(files[i]), zero, std::string_view(outcome.verdict), zero}) {
            digest.Add(piece);
        }
        if (outcome.sensitive) summary.sensitive.push_back({files[i], outcome.verdict, outcome.found_times});
    }
    summary.digest = digest.End();
    CountLines(outcomes, summary);
}

std::string Printable(std::string const& text) {
    static constexpr char kDigits[] = "0123456789abcdef";
    auto const byte_at = [&](std::size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0; };
    std::string printable;
    std::size_t second = 0;  // behind a control character of two bytes
    for (std::size_t i = 0; i < text.size(); ++i) {
        int const byte = byte_at(i);
        if (byte == 0xC2 && byte_at(i + 1) >= 0x80 && byte_at(i + 1) < 0xA0) second = i + 2;
        if (byte >= 0x20 && byte != 0x7F && i >= second)
            printable += text[i];
        else
            printable += {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 15]};
    }
    return printable;
}

std::size_t WidthOf(std::string const& text) {
    auto const begins_one = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; };
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), begins_one));
}

}  // namespace scanner
