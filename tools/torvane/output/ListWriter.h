#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tools/torvane/output/Output.h"
#include "tools/torvane/output/Sink.h"

namespace torvane {

// One list on its way out, in one of the four forms. Uses the sink that it was made with. One thread.
class ListWriter {
  public:
    virtual ~ListWriter() = default;
    virtual void Row(Json const& row) = 0;
    // What waits for its widths goes out now.
    virtual void Settle() {}
    virtual void End(Json const& more) = 0;

    // Of a table's titles: when they show, and what surrounds them.
    struct Look {
        Titles titles = Titles::kAlways;
        std::string bold;
        std::string plain;
    };
    [[nodiscard]] static std::unique_ptr<ListWriter> Make(Format format, Sink& sink, Schema const& schema,
                                                          std::vector<Column> columns, Look const& look);
};

// A value as a table or CSV shows it, not yet escaped.
[[nodiscard]] std::string CellText(Json const& value);
// "schema" and "version" first, then the members of `object`.
[[nodiscard]] Json WithSchema(Schema const& schema, Json const& object);

}  // namespace torvane
