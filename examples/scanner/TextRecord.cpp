#include "examples/scanner/TextRecord.h"

#include <algorithm>
#include <string>

namespace scanner {
namespace {

int Units(std::string_view bytes) {
    return HString(bytes).length();
}

// The beginning of a line, not cut within a character.
std::string_view Beginning(std::string_view line) {
    if (line.size() <= kMostLineBytes) return line;
    std::size_t end = kMostLineBytes;
    while (end > kMostLineBytes - 4 && (static_cast<unsigned char>(line[end]) & 0xC0) == 0x80)
        --end;
    return line.substr(0, end);
}

// Takes the matches in order and keeps the line that the last one lies in.
class LineCollector {
  public:
    explicit LineCollector(std::string_view text) : text_(text) {}

    // False when the record is full.
    bool Take(Match const& match, QVKKeywordText& record) {
        if (record.line_positions.empty() || match.begin >= end_) {
            if (record.line_positions.size() == kMostLines) return false;
            Open(match.begin, record);
        }
        auto& positions = record.line_positions.back().positions;
        if (positions.size() == kMostPositions) return true;
        units_ += Units(text_.substr(counted_, match.begin - counted_));
        counted_ = match.begin;
        int const start = units_;
        int const length = Units(text_.substr(match.begin, std::min(match.end, end_) - match.begin));
        positions.push_back({start, start + length});
        return true;
    }

    [[nodiscard]] std::string const& lines() const { return lines_; }

  private:
    void Open(std::size_t at, QVKKeywordText& record) {
        number_ += static_cast<int>(std::count(text_.begin() + Offset(begin_), text_.begin() + Offset(at), '\n'));
        std::size_t const before = at == 0 ? std::string_view::npos : text_.rfind('\n', at - 1);
        begin_ = before == std::string_view::npos ? 0 : before + 1;
        end_ = std::max(at + 1, std::min(text_.find('\n', at), text_.size()));
        if (!lines_.empty()) lines_ += '\n';
        lines_ += Beginning(text_.substr(begin_, end_ - begin_));
        record.line_positions.emplace_back().line = number_;
        counted_ = begin_;
        units_ = 0;
    }

    static std::ptrdiff_t Offset(std::size_t position) { return static_cast<std::ptrdiff_t>(position); }

    std::string_view text_;
    std::string lines_;
    std::size_t begin_ = 0;  // of the last line opened
    std::size_t end_ = 0;
    int number_ = 1;
    std::size_t counted_ = 0;  // where the last match of the line begins, and the units before it
    int units_ = 0;
};

}  // namespace

QVKKeywordText MakeTextRecord(HString const& tpl_id, std::string_view text, std::vector<Match> matches) {
    std::sort(matches.begin(), matches.end(),
              [](Match const& a, Match const& b) { return a.begin != b.begin ? a.begin < b.begin : a.end < b.end; });
    QVKKeywordText record;
    record.tpl_id = tpl_id;
    LineCollector collector(text);
    for (Match const& match : matches) {
        if (!collector.Take(match, record)) break;
    }
    record.text = HString(collector.lines());
    return record;
}

}  // namespace scanner
