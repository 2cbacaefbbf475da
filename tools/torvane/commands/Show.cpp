#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tools/torvane/cache/FileKey.h"
#include "tools/torvane/cache/KeyLookup.h"
#include "tools/torvane/cache/SnapshotLook.h"
#include "tools/torvane/cli/Command.h"
#include "tools/torvane/cli/Values.h"
#include "tools/torvane/commands/EntryRows.h"
#include "tools/torvane/commands/EntryText.h"
#include "tools/torvane/commands/Listing.h"
#include "tools/torvane/commands/Rows.h"
#include "tools/torvane/output/Warn.h"

namespace torvane {

namespace {

constexpr Schema kSchema{"show", 1};
constexpr std::uint64_t kMostNumber = 2147483647;  // of a finding

struct Options {
    std::string key;
    FileIdentity file;
    std::string template_id;
    std::string task_id;
    std::uint64_t number = 0;
};

// The entries found so far.
struct Found {
    Json entries = Json::array();
    bool quiet = false;  // no lines on stderr
    bool sound = false;
    bool damaged = false;
    bool busy = false;
    bool unread = false;  // something could not be read

    void TellUnread(Stop const& stop) {
        if (stop.status() != ExitStatus::kIo) throw stop;
        unread = true;
        Warn(stop.what());
    }
    void Add(Row row) {
        sound = sound || row.soundness == Soundness::kSound;
        damaged = damaged || row.soundness == Soundness::kDamaged;
        busy = busy || row.soundness == Soundness::kBusy;
        entries.push_back(std::move(row.json));
    }
    void Complain(StorePlace const& place, Look const& look) {
        if (look.soundness == Soundness::kSound) return;
        bool const is_busy = look.soundness == Soundness::kBusy;
        (is_busy ? busy : damaged) = true;
        if (!quiet) Warn(place.Name() + ": " + (is_busy ? "busy" : look.damage));
    }
};

class Finder {
  public:
    Finder(CacheRoot const& root, Options const& options, Settings const& settings) : root_(root), options_(options) {
        detail_.whole = true;
        detail_.show_text = settings.show_text;
        found_.quiet = settings.quiet;
    }

    Found Run() {
        if (!options_.task_id.empty()) {
            FindNumber();
        } else {
            FindAnswers();
            if (options_.template_id.empty()) FindCounts();
        }
        return std::move(found_);
    }

  private:
    void FindNumber() {
        ForEach(StoreKind::kTask, options_.task_id, [this](StorePlace const& place) {
            StoreView store(place);
            Slot slot;
            IndexLook const index = LookAtIndex(store);
            found_.Complain(place, index);
            if (!index.is_readable) return;
            if (store.IsLeftover()) return found_.quiet ? void() : WarnOfLeftover(store);
            found_.Complain(place, LookAtFile(place.IndexPath(), [&] {
                                store.OpenAgain();
                                bool const is_there = store.index().Peek(options_.number, slot);
                                bool const is_empty = is_there && !IndexView::IsUsed(slot);
                                return is_empty && store.EmptyNumbers(options_.number, options_.number + 1) != 0
                                           ? "its slot is empty"
                                           : "";
                            }));
            if (IndexView::IsUsed(slot)) found_.Add(FindingRow(store, options_.number, slot, detail_));
        });
    }

    void FindAnswers() {
        ForEach(StoreKind::kTemplate, options_.template_id, [this](StorePlace const& place) {
            if (IsUnfinished(place)) return;
            Snapshot const snapshot(place.directory);
            detail_.definitions = &snapshot;
            FindKeys(place, options_.key.empty() ? AnswerKeys(options_.file, snapshot.DependsOnName(place.id))
                                                 : KeysOfText(options_.key));
        });
    }

    void FindCounts() {
        std::vector<std::string> const keys =
            options_.key.empty() ? CountKeys(options_.file.path) : KeysOfText(options_.key);
        ForEach(StoreKind::kCounter, {}, [&](StorePlace const& place) { FindKeys(place, keys); });
    }

    // Goes on with the next store when one cannot be read.
    void ForEach(StoreKind kind, std::string const& id, std::function<void(StorePlace const&)> const& look_into) {
        auto const read = [this](std::function<void()> const& work) {
            try {
                work();
            } catch (Stop const& stop) {
                found_.TellUnread(stop);
            }
        };
        read([&] {
            CacheRoot::Wanted const wanted{[this](Stop const& stop) { found_.TellUnread(stop); }, {}, id};
            for (StorePlace const& place : root_.Stores(kind, wanted))
                read([&] { look_into(place); });
        });
    }

    void FindKeys(StorePlace const& place, std::vector<std::string> const& keys) {
        StoreView store(place);
        KeyLook const look = LookUp(store, keys);
        found_.Complain(place, look);
        if (look.search.outcome != IndexView::Outcome::kFound) return;
        if (place.kind == StoreKind::kCounter) detail_.marker = LookAtMarker(place);
        found_.Add(place.kind == StoreKind::kCounter ? CounterRow(store, look.search.number, look.search.slot, detail_)
                                                     : AnswerRow(store, look.search.number, look.search.slot, detail_));
    }

    CacheRoot const& root_;
    Options const& options_;
    Detail detail_;
    Found found_;
};

void CheckOptions(Options const& options) {
    int const ways =
        (options.key.empty() ? 0 : 1) + (options.file.path.empty() ? 0 : 1) + (options.task_id.empty() ? 0 : 1);
    if (ways != 1) throw Stop(ExitStatus::kUsage, "show takes a key, --file PATH or --task ID with --sn N");
    if (options.file.path.empty() && !(options.file.md5.empty() && options.file.short_name.empty())) {
        throw Stop(ExitStatus::kUsage, "--md5 and --name go with --file");
    }
    if (options.task_id.empty() != (options.number == 0)) {
        throw Stop(ExitStatus::kUsage, "--task and --sn go together");
    }
    if (!options.task_id.empty() && !options.template_id.empty()) {
        throw Stop(ExitStatus::kUsage, "--template does not go with --task");
    }
}

// A row for each entry, a column for each member that any of them has; nothing at all for none.
void WriteCsv(Json const& entries, Output& out) {
    if (entries.empty()) return;
    std::vector<Column> columns;
    for (Json const& entry : entries) {
        for (auto const& [name, value] : entry.items()) {
            bool known = false;
            for (Column const& column : columns)
                known = known || column.name == name;
            if (!known) columns.push_back({name, name});
        }
    }
    out.BeginList(kSchema, columns);
    for (Json const& entry : entries)
        out.Row(entry);
    out.EndList();
}

ExitStatus Run(Options options, Context const& context) {
    CheckOptions(options);
    CacheRoot const root(context.settings.root);
    if (!options.file.path.empty() && options.file.md5.empty()) {
        options.file.md5 = Md5WithProgress(options.file.path, context.settings.progress);
    }
    Found found = Finder(root, options, context.settings).Run();

    bool const none = found.entries.empty();
    ExitStatus const status = found.unread                                   ? ExitStatus::kIo
                              : !found.sound && found.busy && !found.damaged ? ExitStatus::kBusy
                              : none || found.damaged                        ? ExitStatus::kNo
                                                                             : ExitStatus::kYes;
    Json answer;
    answer["found"] = !none;
    if (!options.file.path.empty()) answer["file_md5"] = options.file.md5;
    answer["entries"] = std::move(found.entries);
    if (context.out.format() == Format::kCsv) {
        for (Json& entry : answer["entries"])
            if (answer.contains("file_md5")) entry["file_md5"] = answer["file_md5"];
        return WriteCsv(answer["entries"], context.out), status;
    }
    context.out.Answer(kSchema, answer, [&](Output& out) {
        if (none) out.Line("not found");
        PrintEntries(answer["entries"], out);
    });
    return status;
}

}  // namespace

Runner AddShow(CLI::App& app) {
    auto const options = std::make_shared<Options>();
    CLI::App* const command = app.add_subcommand("show", "Show one entry, decoded");
    command->add_option("key", options->key, "Key of an entry, as it is listed or as it was given to the cache");
    AddFilled(*command, "--file", options->file.path, "The answers for this file, and its counts")->type_name("PATH");
    AddMd5(*command, options->file.md5);
    AddFilled(*command, "--name", options->file.short_name, "Name of the file instead of the path's last part")
        ->type_name("NAME");
    AddFilled(*command, "--template", options->template_id, "Only the answers of this template")->type_name("ID");
    AddFilled(*command, "--task", options->task_id, "A finding of this task")->type_name("ID");
    AddCount(*command, "--sn", options->number, "Serial number of the finding, from 1", 1, kMostNumber);
    return [options](Context const& context) { return Run(*options, context); };
}

}  // namespace torvane
