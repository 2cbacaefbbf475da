#include "tools/torvane/commands/EntryText.h"

#include <algorithm>
#include <string>

namespace torvane {

namespace {

constexpr std::size_t kIndent = 2;
constexpr std::size_t kNameWidth = 24;

std::string TextOf(Json const& value) {
    if (value.is_null()) return "-";
    if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
    if (value.is_string()) return value.get<std::string>();
    if (!value.is_array()) return std::to_string(value.get<std::int64_t>());
    std::string list;
    for (Json const& element : value)
        list += (list.empty() ? "" : ", ") + TextOf(element);
    return list;
}

std::string Title(std::string name) {
    std::replace(name.begin(), name.end(), '_', ' ');
    return name + ":" + std::string(kNameWidth - std::min(kNameWidth, name.size()), ' ');
}

Output::Paint PaintOf(std::string const& state) {
    return state == "sound" ? Output::Paint::kGood : state == "busy" ? Output::Paint::kWarning : Output::Paint::kBad;
}

void PrintMembers(Json const& object, std::size_t indent, Output& out) {
    std::string const margin(indent, ' ');
    for (auto const& [name, value] : object.items()) {
        if (value.is_array() && !value.empty() && value.front().is_object()) {
            out.Line(margin + Title(name));
            for (Json const& element : value) {
                PrintMembers(element, indent + kIndent, out);
                out.Line("");
            }
        } else if (name == "state") {
            out.Line(margin + Title(name) + out.Painted(TextOf(value), PaintOf(TextOf(value))));
        } else {
            out.Line(margin + Title(name) + TextOf(value));
        }
    }
}

}  // namespace

void PrintEntries(Json const& entries, Output& out) {
    for (Json const& entry : entries) {
        out.Line(out.Painted(TextOf(entry["kind"]), Output::Paint::kBold));
        Json rest = entry;
        rest.erase("kind");
        PrintMembers(rest, kIndent, out);
    }
}

}  // namespace torvane
