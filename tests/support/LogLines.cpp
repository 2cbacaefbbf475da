#include "tests/support/LogLines.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>

#include "host/base/Global.h"
#include "host/base/LocateMgr.h"
#include "storage/DLPCacheLog.h"
#include "tests/support/TempRoot.h"

namespace {

// The whole log so far.
std::string Content() {
    std::string const path = Varnok::LocateMgr::pins()->get_log_path(true).get_str() + "DLPCache.log";
    return Exists(path) ? ReadBytes(path) : std::string();
}

// Cuts what precedes `end` off the front of `rest`, `end` as well.
std::string CutField(std::string& rest, char end) {
    std::size_t const length = std::min(rest.find(end), rest.size());
    std::string field = rest.substr(0, length);
    rest.erase(0, length + 1);
    return field;
}

bool IsNumber(std::string const& text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

// Whether it has the form "2026-11-21T09:02:11.123Z".
bool IsTime(std::string text) {
    for (char& c : text)
        c = c >= '0' && c <= '9' ? '0' : c;
    return text == "0000-00-00T00:00:00.000Z";
}

LogLines::Line Parse(std::string const& raw) {
    std::string rest = raw;
    bool const has_time = IsTime(CutField(rest, ' '));
    std::string const level = CutField(rest, ' ');
    std::string const source = CutField(rest, ':');
    std::string const line = CutField(rest, ' ');
    if (!has_time || !IsNumber(level) || source.empty() || !IsNumber(line)) {
        ADD_FAILURE() << "not a line of the log: " << raw;
        return {};
    }
    return {std::stoi(level), source, std::stoi(line), rest};
}

}  // namespace

LogLines::LogLines() {
    EXPECT_NE(DLPCacheLog::pins(), nullptr);
    Varnok::Global::pins()->logging = 1;
    seen_ = Content().size();
}

LogLines::~LogLines() {
    Varnok::Global::pins()->logging = 0;
}

std::vector<LogLines::Line> LogLines::Take() {
    std::string const content = Content();
    std::vector<Line> lines;
    while (seen_ < content.size()) {
        std::size_t const end = std::min(content.find('\n', seen_), content.size());
        EXPECT_LT(end, content.size()) << "a line without its end";
        lines.push_back(Parse(content.substr(seen_, end - seen_)));
        seen_ = end + 1;
    }
    return lines;
}

std::vector<std::string> LogLines::TakeTexts() {
    std::vector<std::string> texts;
    for (Line& line : Take())
        texts.push_back(std::move(line.text));
    return texts;
}
