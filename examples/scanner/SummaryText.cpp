#include <cstdio>
#include <ostream>
#include <sstream>

#include "examples/scanner/Summary.h"

namespace scanner {
namespace {

std::string Fixed(double value, int digits) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", digits, value);
    return text;
}

class TextPrinter {
  public:
    TextPrinter(bool colour, std::ostream& out)
        : bold_(colour ? "\x1b[1m" : ""), plain_(colour ? "\x1b[0m" : ""), out_(out) {}

    void Heading(std::string const& text) { out_ << '\n' << bold_ << text << plain_ << '\n'; }
    void Row(std::string const& name, std::string const& value) {
        std::size_t const width = WidthOf(name);
        out_ << "  " << name << std::string(width < 24 ? 24 - width : 1, ' ') << value << '\n';
    }
    void Row(std::string const& name, std::uint64_t value) { Row(name, std::to_string(value)); }
    // Left out when there is nothing to tell.
    void RareRow(std::string const& name, std::uint64_t value) {
        if (value > 0) Row(name, value);
    }

    void Finding(SensitiveFile const& file) {
        out_ << bold_ << Printable(file.path) << plain_ << '\n';
        std::istringstream lines(file.verdict);
        for (std::string line; std::getline(lines, line);)
            out_ << "    " << Printable(line) << '\n';
        if (file.found_times > 0) out_ << "    times found: " << file.found_times << '\n';
    }

  private:
    char const* bold_;
    char const* plain_;
    std::ostream& out_;
};

void PrintFigures(Summary const& summary, TextPrinter& printer) {
    Counters const& counters = summary.counters;
    printer.Row("files", counters.files);
    printer.Row("bytes", counters.bytes);
    if (summary.use_cache) {
        printer.Row("full hits", counters.full_hits);
        printer.Row("partial hits", counters.partial_hits);
        printer.Row("misses", counters.misses);
        printer.Row("answers from cache", counters.answers_from_cache);
    }
    printer.Row("answers scanned", counters.answers_scanned());
    printer.RareRow("answers unstorable", counters.answers_unstorable());
    printer.RareRow("answers outdated", counters.outdated_answers);
    printer.Row("sensitive files", counters.sensitive_files);
    printer.RareRow("findings not recorded", counters.unrecorded);
    printer.RareRow("unreadable", counters.unreadable);
    printer.RareRow("too large, skipped", counters.too_large);
    printer.RareRow("damaged gzip data", counters.damaged);
    printer.RareRow("texts cut", counters.texts_cut);
    printer.RareRow("texts kept by the task", counters.texts_kept);
    if (!summary.task.empty()) printer.Row("task", Printable(summary.task));
}

void PrintTimes(Summary const& summary, TextPrinter& printer) {
    printer.Heading("Seconds (stages summed over " + std::to_string(summary.jobs) +
                    (summary.jobs == 1 ? " thread)" : " threads)"));
    for (std::size_t i = 0; i < kStages; ++i)
        printer.Row(kStageNames[i], Fixed(summary.counters.seconds[i].count(), 3));
    printer.Row("start", Fixed(summary.open_seconds.count(), 3));
    printer.Row("list directories", Fixed(summary.walk_seconds.count(), 3));
    printer.Row("work on files", Fixed(summary.files_seconds.count(), 3));
    printer.Row("wall clock", Fixed(summary.wall_seconds.count(), 3));
}

void PrintTemplates(Summary const& summary, TextPrinter& printer) {
    printer.Heading("Templates (files matched)");
    for (std::size_t i = 0; i < summary.templates.size(); ++i) {
        TemplateCounters const& counters = summary.counters.templates[i];
        std::string value = std::to_string(counters.matched);
        if (counters.scanned > 0) value += ", scanned " + std::to_string(counters.scanned);
        printer.Row(Printable(summary.templates[i].second), value);
    }
}

}  // namespace

void PrintText(Summary const& summary, bool verbose, bool colour, std::ostream& out) {
    TextPrinter printer(colour, out);
    if (verbose) {
        for (SensitiveFile const& file : summary.sensitive)
            printer.Finding(file);
    }
    printer.Heading("Summary");
    PrintFigures(summary, printer);
    PrintTemplates(summary, printer);
    PrintTimes(summary, printer);
    printer.Heading("Most frequent findings (files)");
    for (auto const& [line, count] : summary.top_verdicts)
        printer.Row(std::to_string(count), Printable(line));
    out << "\ndigest " << summary.digest << '\n';
}

}  // namespace scanner
