#include "tools/torvane/output/ListWriter.h"

#include <algorithm>
#include <utility>

#include "tools/torvane/output/Escape.h"

namespace torvane {
namespace {

// How many rows a table looks at for its widths.
constexpr std::size_t kRowsForWidths = 100;
// What a column is widened to at most: a longer cell pushes its own row only.
constexpr std::size_t kMostWidth = 60;

std::string CellOf(Json const& row, Column const& column) {
    auto const found = row.find(column.name);
    return found == row.end() ? std::string() : CellText(*found);
}

class TableList : public ListWriter {
  public:
    TableList(Sink& sink, std::vector<Column> columns, Look look)
        : sink_(sink), columns_(std::move(columns)), look_(std::move(look)) {
        for (auto const& column : columns_)
            widths_.push_back(WidthOf(column.title));
    }

    void Row(Json const& row) override {
        Cells cells;
        for (auto const& column : columns_)
            cells.push_back(Printable(CellOf(row, column)));
        if (settled_) return Write(cells);
        for (std::size_t at = 0; at < cells.size(); ++at)
            widths_[at] = std::max(widths_[at], std::min(WidthOf(cells[at]), kMostWidth));
        waiting_.push_back(std::move(cells));
        if (waiting_.size() == kRowsForWidths) Settle();
    }

    void Settle() override {
        if (settled_ || (waiting_.empty() && look_.titles == Titles::kWithRows)) return;
        settled_ = true;
        Cells titles;
        for (auto const& column : columns_)
            titles.push_back(column.title);
        sink_.Write(look_.bold + Joined(titles) + look_.plain + "\n");
        for (auto const& cells : waiting_)
            Write(cells);
        waiting_ = {};
    }

    void End(Json const&) override { Settle(); }

  private:
    using Cells = std::vector<std::string>;

    void Write(Cells const& cells) { sink_.Write(Joined(cells) + "\n"); }

    [[nodiscard]] std::string Joined(Cells const& cells) const {
        std::string line;
        for (std::size_t at = 0; at < cells.size(); ++at) {
            std::size_t const width = WidthOf(cells[at]);
            std::string const padding(widths_[at] - std::min(widths_[at], width), ' ');
            if (at > 0) line += "  ";
            line += columns_[at].number ? padding + cells[at] : cells[at] + padding;
        }
        return line.substr(0, line.find_last_not_of(' ') + 1);
    }

    Sink& sink_;
    std::vector<Column> columns_;
    Look look_;
    std::vector<std::size_t> widths_;
    std::vector<Cells> waiting_;
    bool settled_ = false;
};

class CsvList : public ListWriter {
  public:
    CsvList(Sink& sink, std::vector<Column> columns) : sink_(sink), columns_(std::move(columns)) {
        std::string line;
        for (auto const& column : columns_) {
            if (!line.empty()) line += ',';
            line += CsvField(column.name);
        }
        sink_.Write(line + "\n");
    }

    void Row(Json const& row) override {
        std::string line;
        for (auto const& column : columns_) {
            if (&column != columns_.data()) line += ',';
            line += CsvField(CellOf(row, column));
        }
        sink_.Write(line + "\n");
    }

    void End(Json const&) override {}

  private:
    Sink& sink_;
    std::vector<Column> columns_;
};

class JsonlList : public ListWriter {
  public:
    JsonlList(Sink& sink, Schema const& schema) : sink_(sink), schema_(schema) {}

    void Row(Json const& row) override { sink_.Write(JsonText(WithSchema(schema_, row), -1) + "\n"); }
    void End(Json const&) override {}

  private:
    Sink& sink_;
    Schema schema_;
};

class JsonList : public ListWriter {
  public:
    JsonList(Sink& sink, Schema const& schema) : sink_(sink) {
        std::string head = JsonText(WithSchema(schema, Json::object()), -1);
        head.pop_back();
        sink_.Write(head + ",\"items\":[");
    }

    void Row(Json const& row) override {
        sink_.Write(separator_ + JsonText(row, -1));
        separator_ = ",\n";
    }

    void End(Json const& more) override {
        sink_.Write("\n]");
        for (auto const& item : more.items())
            sink_.Write(",\n" + JsonText(item.key(), -1) + ":" + JsonText(item.value(), -1));
        sink_.Write("}\n");
    }

  private:
    Sink& sink_;
    std::string separator_ = "\n";
};

}  // namespace

std::unique_ptr<ListWriter> ListWriter::Make(Format format, Sink& sink, Schema const& schema,
                                             std::vector<Column> columns, Look const& look) {
    switch (format) {
        case Format::kJson:
            return std::make_unique<JsonList>(sink, schema);
        case Format::kJsonl:
            return std::make_unique<JsonlList>(sink, schema);
        case Format::kCsv:
            return std::make_unique<CsvList>(sink, std::move(columns));
        case Format::kTable:
            break;
    }
    return std::make_unique<TableList>(sink, std::move(columns), look);
}

std::string CellText(Json const& value) {
    if (value.is_null()) return {};
    if (value.is_string()) return value.get_ref<std::string const&>();
    return JsonText(value, -1);
}

Json WithSchema(Schema const& schema, Json const& object) {
    Json document{{"schema", schema.name}, {"version", schema.version}};
    for (auto const& item : object.items())
        document[item.key()] = item.value();
    return document;
}

}  // namespace torvane
