#include "tools/torvane/check/RootCheck.h"

#include <algorithm>
#include <chrono>
#include <deque>
#include <future>
#include <iterator>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "tools/torvane/ExitStatus.h"
#include "tools/torvane/check/ConfigCheck.h"
#include "tools/torvane/check/StampCheck.h"
#include "tools/torvane/check/StoresCheck.h"
#include "tools/torvane/check/TextCheck.h"
#include "tools/torvane/check/TreeCheck.h"

namespace torvane {

namespace {

constexpr int kLooks = 4;  // the first and three more
constexpr std::chrono::milliseconds kPause(20);
constexpr std::size_t kAtOnce = 2;  // stores; each takes its share of the memory

// What a wipe that was killed leaves: files that are missing, in any order.
constexpr std::string_view kWiped[] = {"index-missing", "data-missing", "snapshot-other", "task-record-missing",
                                       "marker-missing"};

bool IsLeftByAWipe(Finding const& finding) {
    return finding.file.starts_with("cache/") &&
           std::find(std::begin(kWiped), std::end(kWiped), finding.kind) != std::end(kWiped);
}

void LookOnce(FindingList& list, std::string const& file, ChangeWatch& watch,
              std::function<void(FindingList&, ChangeWatch&)> const& look) {
    try {
        look(list, watch);
    } catch (Stop const& stop) {
        if (stop.status() != ExitStatus::kIo) throw;
        Reporter(list, file).Unreadable(stop.what());
    }
}

}  // namespace

void LookUntilSettled(FindingList& list, std::string const& file,
                      std::function<void(FindingList&, ChangeWatch&)> const& look) {
    for (int round = 1;; ++round) {
        FindingList found = list.Another();
        ChangeWatch watch;
        LookOnce(found, file, watch, look);
        bool const is_suspect = found.Count(Severity::kDamage) != 0 || found.Count(Severity::kUnreadable) != 0;
        bool const has_changed = is_suspect && watch.MayHaveChanged();
        // Of what was written a moment ago, time stamps may not tell a further write.
        bool const is_settled = !is_suspect || (!has_changed && !watch.IsFresh());
        if (is_settled || (round == kLooks && !has_changed)) return list.Append(std::move(found));
        if (round == kLooks) {
            list.Add({Severity::kBusy, "busy", file, {}, {}, "it kept changing while it was looked at", "", 0});
            return;
        }
        std::this_thread::sleep_for(kPause);
    }
}

RootCheck::RootCheck(CacheRoot const& root, Depth depth, Listener listener)
    : root_(root), depth_(depth), listener_(std::move(listener)) {}

FindingList RootCheck::NewList() const {
    FindingList list;
    // Wiping goes in no order: without a stamp there may be any part of what there was, and the rest goes as well.
    if (root_.WillBeWiped()) list.TellAsUnfinished(IsLeftByAWipe);
    return list;
}

void RootCheck::Look(std::string const& file, std::function<void(FindingList&, ChangeWatch&)> const& look) {
    FindingList list = NewList();
    LookUntilSettled(list, file, look);
    for (Finding const& finding : list.kept()) {
        if (finding.severity == Severity::kUnreadable) unread_.insert(root_.root() + "/" + finding.file);
    }
    listener_.found(std::move(list));
}

void RootCheck::TellUnread(std::string const& file, Stop const& stop) {
    if (stop.status() != ExitStatus::kIo) throw stop;
    std::string const what = stop.what();
    bool const is_told = std::any_of(unread_.begin(), unread_.end(), [&](std::string const& path) {
        return what.find(path + ":") != std::string::npos;
    });
    if (is_told) return;
    FindingList list;
    Reporter(list, file).Unreadable(what);
    listener_.found(std::move(list));
}

void RootCheck::CheckTree() {
    std::string const& root = root_.root();
    Look("cache", [&](FindingList& list, ChangeWatch& watch) {
        CheckTop(root, list, watch);
        CheckStamp(root_, list);
    });
    Look("config", [&](FindingList& list, ChangeWatch& watch) { CheckConfig(root, list, watch); });
    Look("cache/sensrecord", [&](FindingList& list, ChangeWatch& watch) { CheckCountersTop(root, list, watch); });
    auto const check_ids = [&](std::string const& name) {
        Look(name, [&](FindingList& list, ChangeWatch& watch) { CheckIds(root, name, list, watch); });
    };
    check_ids("cache/template");
    check_ids("cache/task");
    check_ids("cache/sensrecord/1");
    try {
        ForEachName(root + "/cache/template", [&](std::string const& id) {
            check_ids("cache/template/" + id);
            return true;
        });
    } catch (Stop const& stop) {
        TellUnread("cache/template", stop);
    }
}

std::vector<StorePlace> RootCheck::Places() {
    std::vector<StorePlace> places;
    for (auto const& [kind, file] :
         {std::pair(StoreKind::kTemplate, "cache/template"), std::pair(StoreKind::kTask, "cache/task"),
          std::pair(StoreKind::kCounter, "cache/sensrecord")}) {
        auto const tell = [this, name = file](Stop const& stop) { TellUnread(name, stop); };
        try {
            std::vector<StorePlace> more = root_.Stores(kind, {tell, {}, {}});
            std::move(more.begin(), more.end(), std::back_inserter(places));
        } catch (Stop const& stop) {
            tell(stop);
        }
    }
    return places;
}

void RootCheck::CheckTexts(StorePlace const& task) {
    std::string const name = task.directory.substr(root_.root().size() + 1) + "/text";
    auto const look_at = [&](std::string const& text) {
        std::string const file = name + "/" + text;
        FindingList list = NewList();
        LookUntilSettled(list, file, [&](FindingList& found, ChangeWatch& watch) {
            CheckTextFile(root_.root(), file, depth_, found, watch);
        });
        listener_.found(std::move(list));
        return true;
    };
    FindingList unlisted;
    ChangeWatch unwatched;
    LookOnce(unlisted, name, unwatched,
             [&](FindingList&, ChangeWatch&) { ForEachName(root_.root() + "/" + name, look_at); });
    listener_.found(std::move(unlisted));
}

FindingList RootCheck::LookAtStore(StorePlace const& place) const {
    FindingList list = NewList();
    LookUntilSettled(list, place.directory.substr(root_.root().size() + 1),
                     [&](FindingList& found, ChangeWatch& watch) {
                         CheckStore({root_, place, depth_, found, watch});
                     });
    return list;
}

void RootCheck::Run() {
    CheckTree();
    std::vector<StorePlace> const places = Places();
    stores_ = places.size();
    std::deque<std::future<FindingList>> looks;
    std::size_t begun = 0;
    for (std::size_t i = 0; i < places.size(); ++i) {
        for (; begun < places.size() && looks.size() < kAtOnce; ++begun) {
            looks.push_back(
                std::async(std::launch::async, [this, &place = places[begun]] { return LookAtStore(place); }));
        }
        listener_.progress(i, places.size(), places[i].Name());
        listener_.found(looks.front().get());
        looks.pop_front();
        if (places[i].kind == StoreKind::kTask) CheckTexts(places[i]);
    }
}

}  // namespace torvane
