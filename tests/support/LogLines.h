#pragma once

#include <string>
#include <vector>

// The library's log as a test sees it: turns logging on (through DLPCacheLog::pins) and reads <root>/log/DLPCache.log.
class LogLines {
  public:
    struct Line {
        int level = 0;
        std::string source;  // "../DLPCacheIndex.cpp"
        int line = 0;
        std::string text;  // what follows the prefix
    };

    LogLines();   // logging on
    ~LogLines();  // logging off
    LogLines(LogLines const&) = delete;
    LogLines& operator=(LogLines const&) = delete;

    // The lines written since construction or the last call.
    std::vector<Line> Take();
    // The texts alone.
    std::vector<std::string> TakeTexts();

  private:
    std::size_t seen_ = 0;  // bytes of the log already taken
};
