#include <memory>
#include <string>
#include <utility>

#include "tools/torvane/cache/Reason.h"
#include "tools/torvane/cli/Command.h"
#include "tools/torvane/cli/Values.h"
#include "tools/torvane/commands/Rows.h"

namespace torvane {

namespace {

constexpr Schema kSchema{"why", 1};

struct Options {
    FileIdentity file;
    std::string template_id;
};

std::string Sentence(Explanation const& told) {
    switch (told.reason) {
        case Reason::kMatched:
            return "hit: answered with a match";
        case Reason::kNotMatched:
            return "hit: answered as not matched";
        case Reason::kNeverStored:
            return "miss: no answer was ever stored for this content";
        case Reason::kDefinitionChanged:
            return "miss: the template's definition changed, the answer is of another one";
        case Reason::kTemplateUnknown:
            return told.from_config ? "miss: the template is not among the agent's definitions"
                                    : "miss: the template is unknown: no definitions and no cache of it";
        case Reason::kKeyUnstorable:
            return "miss: the key cannot be stored, it falls into bucket 0";
        case Reason::kDamaged:
            return "miss: what is stored is damaged: " + told.damage;
        case Reason::kBusy:
            break;
    }
    return "cannot say: the cache kept changing";
}

Json VersionOf(KnownVersion const& version) {
    Json json;
    json["md5"] = version.place.version;
    json["current"] = version.current;
    json["since"] = TimeOf(version.since);
    json["has_answer"] = version.damage.empty() ? Json(version.has_answer) : Json();
    json["damage"] = version.damage.empty() ? Json() : Json(version.damage);
    json["directory"] = version.place.directory;
    json["differences"] = Json::array();
    for (Difference const& difference : version.differences) {
        json["differences"].push_back({{"what", difference.what},
                                       {"id", difference.id.empty() ? Json() : Json(difference.id)},
                                       {"change", difference.change},
                                       {"before", difference.before.empty() ? Json() : Json(difference.before)},
                                       {"after", difference.after.empty() ? Json() : Json(difference.after)}});
    }
    return json;
}

Json AnswerOf(Options const& options, Explanation const& told) {
    Json json;
    json["path"] = options.file.path;
    json["file_md5"] = options.file.md5;
    json["template"] = options.template_id;
    json["hit"] = told.reason == Reason::kBusy ? Json() : Json(IsHit(told.reason));
    json["reason"] = NameOf(told.reason);
    json["message"] = Sentence(told);
    json["damage"] = told.damage.empty() ? Json() : Json(told.damage);
    json["current_md5"] = told.current_md5.empty() ? Json() : Json(told.current_md5);
    json["definitions_from"] = told.from_config ? "config" : "snapshot";
    json["fingerprint_rules"] = told.fingerprint_rules;
    json["may_be_unstorable"] = told.may_be_unstorable;
    json["key"] = told.key.empty() ? Json() : Json(told.key);
    bool const lies_somewhere = told.place && told.search.outcome == IndexView::Outcome::kFound;
    json["index"] = lies_somewhere ? Json(told.place->IndexPath()) : Json();
    json["slot"] = lies_somewhere ? Json(told.search.number) : Json();
    json["slot_offset"] = lies_somewhere ? Json(IndexView::OffsetOf(told.search.number)) : Json();
    bool const has_record = lies_somewhere && HasRecord(told.search.slot);
    json["data"] = has_record ? Json(told.place->DataPath()) : Json();
    json["offset"] = has_record ? Json(told.search.slot.offset) : Json();
    json["length"] = has_record ? Json(told.search.slot.length) : Json();
    json["versions"] = Json::array();
    for (KnownVersion const& version : told.versions)
        json["versions"].push_back(VersionOf(version));
    return json;
}

std::string DifferenceText(Difference const& difference) {
    std::string text = "    " + difference.what;
    if (!difference.id.empty()) text += " " + difference.id;
    if (difference.change == "added" || difference.change == "removed") return text + " was " + difference.change;
    text += ": another " + difference.change;
    if (difference.before.empty() && difference.after.empty()) return text;
    return text + ", " + difference.before + " then, " + difference.after + " now";
}

std::string SinceText(std::int64_t since) {
    Json const time = TimeOf(since);
    return time.is_null() ? "a time that is not known" : time.get<std::string>();
}

void PrintVersion(KnownVersion const& version, Output& out) {
    std::string text = "  " + version.place.version + " since " + SinceText(version.since);
    text += version.current ? ", current" : ", not current";
    if (!version.damage.empty()) text += ", cannot say whether it has an answer: " + version.damage;
    if (version.damage.empty()) text += version.has_answer ? ", has an answer" : ", has no answer";
    out.Line(text);
    for (Difference const& difference : version.differences)
        out.Line(DifferenceText(difference));
}

void Print(Options const& options, Explanation const& told, Output& out) {
    out.Line(out.Painted(Sentence(told), IsHit(told.reason) ? Output::Paint::kGood : Output::Paint::kBad));
    out.Line("file: " + options.file.path + ", MD5 " + options.file.md5);
    if (told.reason != Reason::kDamaged && told.reason != Reason::kBusy && !told.damage.empty()) out.Line(told.damage);
    if (!told.current_md5.empty()) {
        out.Line("template: " + options.template_id + ", MD5 " + told.current_md5 +
                 (told.from_config ? "" : " (of the newest cache, there are no definitions in config)"));
    }
    if (told.fingerprint_rules) out.Line("a match of one of its fingerprint rules is never stored");
    if (told.may_be_unstorable) {
        out.Line("an answer for the MD5 in upper or lower case, one of the two, cannot be stored: bucket 0");
    }
    if (!told.key.empty()) out.Line("key: " + told.key);
    if (told.place && told.search.outcome == IndexView::Outcome::kFound) {
        out.Line("slot: " + std::to_string(told.search.number) + " at " +
                 std::to_string(IndexView::OffsetOf(told.search.number)) + " of " + told.place->IndexPath());
        if (HasRecord(told.search.slot)) {
            out.Line("record: " + std::to_string(told.search.slot.length) + " bytes at " +
                     std::to_string(told.search.slot.offset) + " of " + told.place->DataPath());
        }
    }
    if (!told.versions.empty()) out.Line("caches of the template:");
    for (KnownVersion const& version : told.versions)
        PrintVersion(version, out);
}

ExitStatus Run(Options options, Context const& context) {
    CacheRoot const root(context.settings.root);
    if (options.file.md5.empty()) {
        options.file.md5 = Md5WithProgress(options.file.path, context.settings.progress);
    }
    Explanation const told = Explain(root, options.file, options.template_id);
    context.out.Answer(kSchema, AnswerOf(options, told), [&](Output& out) { Print(options, told, out); });
    if (told.reason == Reason::kBusy) return ExitStatus::kBusy;
    return IsHit(told.reason) ? ExitStatus::kYes : ExitStatus::kNo;
}

}  // namespace

Runner AddWhy(CLI::App& app) {
    auto const options = std::make_shared<Options>();
    CLI::App* const command = app.add_subcommand("why", "Why a file is answered from the cache, or is not");
    AddFilled(*command, "path", options->file.path, "The file")->required();
    AddFilled(*command, "--template", options->template_id, "The template")->type_name("ID")->required();
    AddMd5(*command, options->file.md5);
    AddFilled(*command, "--name", options->file.short_name, "Name of the file instead of the path's last part")
        ->type_name("NAME");
    return [options](Context const& context) { return Run(*options, context); };
}

}  // namespace torvane
