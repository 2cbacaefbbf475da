#include "tests/support/LogLines.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <regex>

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

LogLines::Line Parse(std::string const& raw) {
    static std::regex const form("\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}Z (\\d+) (\\S+):(-?\\d+) ([^]*)");
    std::smatch parts;
    if (!std::regex_match(raw, parts, form)) {
        ADD_FAILURE() << "not a line of the log: " << raw;
        return {};
    }
    return {std::stoi(parts[1]), parts[2], std::stoi(parts[3]), parts[4]};
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
