#include "tools/torvane/commands/RowParts.h"

#include <string>

namespace torvane {

namespace {

std::size_t PositionsOf(QVKKeywordText const& text) {
    std::size_t positions = 0;
    for (auto const& line : text.line_positions)
        positions += line.positions.size();
    return positions;
}

}  // namespace

void Finish(Row& row, Look const& look) {
    row.soundness = look.soundness;
    row.json["state"] = NameOf(look.soundness);
    row.json["damage"] = look.damage.empty() ? Json() : Json(look.damage);
}

void AddText(Json& json, char const* name, HString const& text, Detail const& detail, bool known) {
    json[std::string(name) + "_length"] = known ? Json(text.length()) : Json();
    if (detail.show_text) json[name] = known ? Json(text.get_str()) : Json();
}

void AddKeywordText(Json& json, QVKKeywordText const& text, Detail const& detail, bool known) {
    auto const or_null = [known](Json value) { return known ? value : Json(); };
    json["text_template"] = or_null(text.tpl_id.get_str());
    json["lines"] = or_null(text.line_positions.size());
    json["positions"] = or_null(PositionsOf(text));
    AddText(json, "text", text.text, detail, known);
    json["text_path"] = or_null(text.text_path.get_str());
    AddText(json, "second_text", text.second_text, detail, known);
    json["second_text_path"] = or_null(text.second_text_path.get_str());
    json["second_positions"] = or_null(text.second_positions.size());
}

Json ListOfTexts(std::vector<HString> const& texts) {
    Json json = Json::array();
    for (HString const& text : texts)
        json.push_back(text.get_str());
    return json;
}

}  // namespace torvane
