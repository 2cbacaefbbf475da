#include "host/base/HIniFileHelper.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstddef>
#include <string_view>
#include <utility>

#include "host/base/HFile.h"
#include "host/base/NoThrow.h"

namespace {

constexpr std::size_t kLargest = 1024 * 1024;
constexpr std::string_view kBlanks = " \t\r\n\v\f";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::string_view Trim(std::string_view text) noexcept {
    std::size_t const first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// What one line says.
struct Line {
    enum class Kind { kNothing, kSection, kEntry };
    Kind kind = Kind::kNothing;
    std::string_view name;   // of the section or the key
    std::string_view value;  // of the key
};

Line Parse(std::string_view raw) noexcept {
    std::string_view const text = Trim(raw);
    if (text.empty() || text[0] == ';' || text[0] == '#') return {};
    if (text[0] == '[') {
        if (text.back() != ']') return {};
        return {Line::Kind::kSection, Trim(text.substr(1, text.size() - 2)), {}};
    }
    std::size_t const equals = text.find('=');
    std::string_view const key = Trim(text.substr(0, equals));
    if (equals == std::string_view::npos || key.empty()) return {};
    return {Line::Kind::kEntry, key, Trim(text.substr(equals + 1))};
}

// Calls visit(index, line) for every entry of the section, in order, until it returns true.
template <class Visit>
void VisitSection(std::vector<std::string> const& lines, std::string_view section, Visit&& visit) {
    bool inside = section.empty();
    for (std::size_t i = 0; i < lines.size(); ++i) {
        std::string_view raw = lines[i];
        if (i == 0 && raw.starts_with(kByteOrderMark)) raw.remove_prefix(kByteOrderMark.size());
        Line const line = Parse(raw);
        if (line.kind == Line::Kind::kSection) inside = line.name == section;
        if (line.kind == Line::Kind::kEntry && inside && visit(i, line)) return;
    }
}

constexpr std::size_t kNone = static_cast<std::size_t>(-1);

// Index behind the last line of the section's first piece that is not blank; kNone when there is no such section.
std::size_t EndOfSection(std::vector<std::string> const& lines, std::string_view section) {
    std::size_t end = kNone;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        std::string_view raw = lines[i];
        if (i == 0 && raw.starts_with(kByteOrderMark)) raw.remove_prefix(kByteOrderMark.size());
        Line const line = Parse(raw);
        bool const heads = line.kind == Line::Kind::kSection;
        if (end != kNone && heads) break;
        bool const extends = end != kNone && !Trim(raw).empty();
        if (extends || (heads && line.name == section)) end = i + 1;
    }
    return end;
}

bool IsPlain(std::string_view name) noexcept {
    bool const has_control =
        std::any_of(name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; });
    return !name.empty() && !has_control && Trim(name) == name;
}

bool IsKey(std::string_view key) noexcept {
    return IsPlain(key) && key.find('=') == std::string_view::npos && key[0] != ';' && key[0] != '#' && key[0] != '[';
}

std::vector<std::string> Split(std::string_view content) {
    std::vector<std::string> lines;
    while (!content.empty()) {
        std::size_t const end = std::min(content.find('\n'), content.size());
        lines.emplace_back(content.substr(0, end));
        content.remove_prefix(std::min(end + 1, content.size()));
    }
    return lines;
}

// A changed copy, so that running out of memory changes nothing.
std::vector<std::string> WithEntry(std::vector<std::string> lines, std::string const& section, std::string const& key,
                                   std::string text) {
    bool const crlf = !lines.empty() && lines[0].ends_with('\r');
    if (crlf) text += '\r';
    std::size_t found = kNone;
    VisitSection(lines, section, [&](std::size_t index, Line const& line) {
        if (line.name == key) found = index;
        return found != kNone;
    });
    std::size_t const end = EndOfSection(lines, section);
    if (found != kNone) {
        lines[found] = std::move(text);
    } else if (end != kNone) {
        lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(end), std::move(text));
    } else {
        lines.push_back("[" + section + (crlf ? "]\r" : "]"));
        lines.push_back(std::move(text));
    }
    return lines;
}

}  // namespace

int HIniFileHelper::setFile(HString const& path) noexcept {
    lines_.clear();
    state_ = NoThrow(ENOMEM, [this, &path] {
        path_ = path;
        std::string content;
        if (int const error = HFile::read_file(path, content, kLargest); error != 0) return error;
        lines_ = Split(content);
        return 0;
    });
    return state_;
}

int HIniFileHelper::read_int(HString const& section, HString const& key, int& value) const noexcept {
    return NoThrow(-1, [&] {
        std::string const wanted = key.get_str();
        int result = -1;
        VisitSection(lines_, section.get_str(), [&](std::size_t, Line const& line) {
            if (line.name != wanted) return false;
            int number = 0;
            char const* const end = line.value.data() + line.value.size();
            auto const [stop, error] = std::from_chars(line.value.data(), end, number);
            if (error != std::errc() || stop != end) return true;
            value = number;
            result = 0;
            return true;
        });
        return result;
    });
}

int HIniFileHelper::write_int(HString const& section, HString const& key, int value) noexcept {
    return NoThrow(-1, [&] {
        std::string const section_name = section.get_str();
        std::string const key_name = key.get_str();
        if (!IsPlain(section_name) || !IsKey(key_name)) return -1;
        lines_ = WithEntry(lines_, section_name, key_name, key_name + "=" + std::to_string(value));
        return 0;
    });
}

int HIniFileHelper::write_all() noexcept {
    if (state_ != 0 && state_ != ENOENT) return state_ < 0 ? EINVAL : state_;
    return NoThrow(ENOMEM, [this] {
        std::string content;
        for (std::string const& line : lines_)
            content.append(line).push_back('\n');
        return HFile::replace_file(path_, content.data(), content.size());
    });
}

bool HIniFileHelper::read_section(HString const& section, Entries& entries) const noexcept {
    return NoThrow(false, [&] {
        VisitSection(lines_, section.get_str(), [&entries](std::size_t, Line const& line) {
            entries.emplace_back(line.name, line.value);
            return false;
        });
        return true;
    });
}
