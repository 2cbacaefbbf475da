#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <optional>

#include "tools/torvane/cli/Command.h"
#include "tools/torvane/cli/Nearest.h"
#include "tools/torvane/cli/Pause.h"
#include "tools/torvane/cli/Values.h"
#include "tools/torvane/log/LogFollower.h"
#include "tools/torvane/log/LogLine.h"
#include "tools/torvane/output/Warn.h"

namespace torvane {
namespace {

constexpr auto kPause = std::chrono::milliseconds(200);

struct Options {
    std::uint64_t lines = 10;
    bool follow = true;
    std::string level = "information";
};

LogLevel LevelOf(std::string const& name) {
    std::vector<std::string> names;
    for (auto const level : {LogLevel::kError, LogLevel::kWarning, LogLevel::kInformation}) {
        if (name == NameOf(level)) return level;
        names.emplace_back(NameOf(level));
    }
    throw Stop(ExitStatus::kUsage, "--level: '" + name + "' is none of " + ListOf(names) + "; did you mean '" +
                                       NearestTo(name, names) + "'?");
}

bool IsDirectory(std::string const& path) {
    struct stat found {};
    if (::stat(path.c_str(), &found) == 0) return S_ISDIR(found.st_mode);
    if (errno == ENOENT || errno == ENOTDIR) return false;
    throw Stop(ExitStatus::kIo, path + ": " + std::strerror(errno));
}

class Tail {
  public:
    Tail(Context const& context, Options const& options)
        : out_(context.out),
          settings_(context.settings),
          options_(options),
          level_(LevelOf(options.level)),
          path_(context.settings.root + "/log/DLPCache.log"),
          log_(path_) {}

    ExitStatus Run() {
        if (!log_.IsOpen() && !IsDirectory(settings_.root + "/cache"))
            throw Stop(ExitStatus::kNoCache, settings_.root + ": holds no cache and no log");
        if (!log_.IsOpen() && !options_.follow)
            throw Stop(ExitStatus::kNo, path_ + ": there is no log; is logging turned on?");
        Begin();
        log_.GoToLast(options_.lines, [this](std::string_view line) { return Passes(ParseLogLine(line)); });
        Look();
        if (options_.follow) Follow();
        log_.ReadUnfinished([this](std::string_view line) { Show(line); });
        if (IsList()) out_.EndList();
        return ExitStatus::kYes;
    }

  private:
    [[nodiscard]] bool IsList() const { return out_.format() != Format::kTable; }

    void Begin() {
        if (!IsList()) return;
        out_.BeginList(
            {"tail", 1},
            {{"time", "TIME"}, {"level", "LEVEL"}, {"source", "SOURCE"}, {"line", "LINE", true}, {"text", "TEXT"}});
    }

    void Follow() {
        if (!log_.IsOpen() && !settings_.quiet) Warn("waiting for " + path_);
        Pause const pause;
        do {
            Look();
        } while (pause.Wait(kPause));
    }

    void Look() {
        log_.Read([this](std::string_view line) { Show(line); });
        out_.Flush();
    }

    // What is no line of the log's form has no level: it passes where everything does.
    [[nodiscard]] bool Passes(std::optional<LogLine> const& parts) const {
        return parts ? parts->level <= level_ : level_ == LogLevel::kInformation;
    }

    void Show(std::string_view line) {
        auto const parts = ParseLogLine(line);
        if (!Passes(parts)) return;
        if (!IsList()) return out_.Line(Colored(std::string(line), parts), Backslash::kKept);
        Json row{{"time", nullptr}, {"level", nullptr}, {"source", nullptr}, {"line", nullptr}, {"text", line}};
        if (parts) {
            row = {{"time", parts->time},
                   {"level", NameOf(parts->level)},
                   {"source", parts->source},
                   {"line", parts->line},
                   {"text", parts->text}};
        }
        out_.Row(row);
    }

    [[nodiscard]] std::string Colored(std::string const& line, std::optional<LogLine> const& parts) const {
        if (!parts || parts->level == LogLevel::kInformation) return line;
        return out_.Painted(line, parts->level == LogLevel::kError ? Output::Paint::kBad : Output::Paint::kWarning);
    }

    Output& out_;
    Settings const& settings_;
    Options options_;
    LogLevel level_;
    std::string path_;
    LogFollower log_;
};

}  // namespace

Runner AddTail(CLI::App& app) {
    auto const options = std::make_shared<Options>();
    CLI::App* const command = app.add_subcommand("tail", "Show the end of the module log and follow it");
    AddCount(*command, "-n,--lines", options->lines, "Begin with the last N lines (default 10)");
    command->add_flag("-f,--follow,!--no-follow", options->follow,
                      "Go on with what is written until interrupted (default), or do not");
    command->add_option("--level", options->level, "Lines of this level and graver ones")
        ->type_name("{error,warning,information}");
    return [options](Context const& context) { return Tail(context, *options).Run(); };
}

}  // namespace torvane
