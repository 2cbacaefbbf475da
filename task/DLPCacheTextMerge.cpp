#include "task/DLPCacheTextMerge.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <utility>

namespace DLPCache {

namespace {

using Lines = std::vector<QVKKeywordLinePos>;

// Two numbers as one: these order as (`upper`, `lower`) do, and sorting them is several times as fast as sorting pairs.
using Key = std::uint64_t;

constexpr std::uint32_t kSignBit = 0x80000000;

Key MakeKey(int upper, std::uint32_t lower) noexcept {
    return (static_cast<Key>(static_cast<std::uint32_t>(upper) ^ kSignBit) << 32) | lower;
}

Key MakeKey(QVKKeywordPos const& pos) noexcept {
    return MakeKey(pos.start, static_cast<std::uint32_t>(pos.end) ^ kSignBit);
}

int Upper(Key key) noexcept {
    return static_cast<int>(static_cast<std::uint32_t>(key >> 32) ^ kSignBit);
}

QVKKeywordPos PosOf(Key key) noexcept {
    return {Upper(key), static_cast<int>(static_cast<std::uint32_t>(key) ^ kSignBit)};
}

// Takes `pos` into the spans before it. In sorted order one that begins where the last span begins ends no sooner, so
// that it is the one to stay; one that begins within the last span, or right at its end, hands its own end over, be it
// the smaller.
void TakePos(QVKKeywordPos const& pos, std::vector<QVKKeywordPos>& spans) {
    bool const apart = spans.empty() || (pos.start != spans.back().start && pos.start > spans.back().end);
    if (apart) {
        spans.push_back(pos);
    } else {
        spans.back().end = pos.end;
    }
}

// The mentions of lines in all texts, and which of them come first.
class Mentions {
  public:
    explicit Mentions(std::vector<QVKKeywordText> const& texts) {
        std::size_t count = 0;
        for (QVKKeywordText const& text : texts)
            count += text.line_positions.size();
        lines_.reserve(count);
        order_.reserve(count);
        for (QVKKeywordText const& text : texts) {
            for (QVKKeywordLinePos const& line : text.line_positions) {
                order_.push_back(MakeKey(line.line, static_cast<std::uint32_t>(lines_.size())));
                lines_.push_back(&line);
            }
        }
        std::sort(order_.begin(), order_.end());
    }

    // Every line once, in ascending order, with its spans.
    [[nodiscard]] Lines Merge() const {
        Lines merged;
        std::vector<Key> keys;
        for (std::size_t first = 0; first < order_.size();) {
            std::size_t last = first;
            while (last < order_.size() && Upper(order_[last]) == Upper(order_[first]))
                ++last;
            merged.push_back(MergeLine(std::span(order_).subspan(first, last - first), keys));
            first = last;
        }
        return merged;
    }

  private:
    // One line from all that mention it; `keys` is room to work in.
    [[nodiscard]] QVKKeywordLinePos MergeLine(std::span<Key const> mentions, std::vector<Key>& keys) const {
        keys.clear();
        for (Key const mention : mentions) {
            for (QVKKeywordPos const& pos : lines_[static_cast<std::uint32_t>(mention)]->positions)
                keys.push_back(MakeKey(pos));
        }
        std::sort(keys.begin(), keys.end());
        QVKKeywordLinePos line{Upper(mentions.front()), {}};
        for (Key const key : keys)
            TakePos(PosOf(key), line.positions);
        return line;
    }

    std::vector<QVKKeywordLinePos const*> lines_;
    std::vector<Key> order_;  // line number and place in `lines_`
};

}  // namespace

void MergeTexts(std::vector<QVKKeywordText> const& texts, QVKKeywordText& merged) {
    Lines lines = Mentions(texts).Merge();
    if (!texts.empty() && &merged != &texts.front()) {
        QVKKeywordText first = texts.front();
        first.line_positions = std::move(lines);
        merged = std::move(first);
    } else {
        merged.line_positions = std::move(lines);
    }
}

}  // namespace DLPCache
