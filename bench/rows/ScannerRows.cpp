#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <thread>

#include "bench/Duel.h"
#include "bench/Process.h"
#include "bench/Require.h"
#include "bench/ScanFloor.h"
#include "bench/TempDir.h"
#include "bench/rows/Rows.h"

namespace bench {

#ifdef TORVANE_BENCH_SCANNER
namespace {

constexpr char kTree[] = "/usr/share/doc";  // what the scanner scans when it is given nothing
constexpr std::size_t kTemplates = 5;

// The number behind `name` in a JSON text.
std::size_t Figure(std::string const& json, std::string const& name) {
    std::size_t const at = json.find("\"" + name + "\":");
    Require(at != std::string::npos, "the scanner's summary lacks a figure");
    return std::strtoul(json.c_str() + at + name.size() + 3, nullptr, 10);
}

// The scanner with a root that holds the answers for all files.
class PrimedScanner {
  public:
    PrimedScanner() {
        Run(directory_.File("summary"));
        Run(directory_.File("summary"));
        std::ifstream stream(directory_.File("summary"));
        std::string const summary{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
        std::size_t const files = Figure(summary, "files");
        Require(files > 0 && Figure(summary, "full_hits") + Figure(summary, "files_unstorable") == files,
                "the scanner did not answer every file from the cache");
    }

    void Run(std::string const& output) const {
        int const status = RunProcess({TORVANE_BENCH_SCANNER, "scan", kTree, "--root", root(), "--no-task", "--jobs",
                                       std::to_string(jobs_), "--format", "json"},
                                      output);
        Require(status == 0 || status == 1, "the scanner failed");
    }
    [[nodiscard]] std::string root() const { return directory_.File("root"); }
    [[nodiscard]] unsigned jobs() const { return jobs_; }

  private:
    TempDir directory_;
    unsigned jobs_ = std::max(1U, std::thread::hardware_concurrency());
};

// Whole processes: nothing that the scanner does besides is taken off, not its start and not the listing of the files.
Round ThirdRun() {
    auto const scanner = std::make_shared<PrimedScanner>();
    auto const floor = std::make_shared<ScanFloor>(kTree, scanner->root());
    Require(floor->templates() == kTemplates, "the scanner has another number of templates");
    return Duel(Repeat([scanner](std::size_t) { scanner->Run("/dev/null"); }, 1),
                Repeat([scanner, floor](std::size_t) { floor->Run(scanner->jobs()); }, 1));
}

}  // namespace

void AddScannerRows() {
    AddRow({"scanner/third", "the scanner's third demo run: all hits, 5 templates",
            "reading, MD5, seven calls a file and template", Target::kAtMost, 1.25},
           9, ThirdRun);
}
#else
void AddScannerRows() {}
#endif

}  // namespace bench
