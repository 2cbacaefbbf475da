// Repeats one operation, so that its system calls can be counted from outside: bench_calls OPERATION COUNT. What is
// made beforehand costs the same calls whatever the count, so the difference between two counts is the operations' own.
// Without arguments lists the operations, one a line: name, then what it is.

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bench/AnswerStore.h"
#include "bench/Counting.h"
#include "bench/Require.h"
#include "bench/TaskRoot.h"
#include "bench/TemplateRoot.h"
#include "bench/peers/Store.h"

namespace {

using namespace bench;

constexpr std::size_t kStored = 500;  // answers in the stores
constexpr std::size_t kFiles = 4;

// Gets ready and gives the operation, which is then called with 0, 1, ...
using Prepare = std::function<std::function<void(std::size_t)>()>;
struct Counted {
    char const* name;
    char const* what;
    Prepare prepare;
};

std::shared_ptr<AnswerStore> MakeStore() {
    return std::make_shared<AnswerStore>(kStored);
}

std::function<void(std::size_t)> FindInIndex() {
    return [store = MakeStore()](std::size_t i) { store->FindFirstSlot(i); };
}

std::function<void(std::size_t)> FindRecord() {
    return [store = MakeStore()](std::size_t i) { store->ReadFirst(i); };
}

std::function<void(std::size_t)> MissRecord() {
    return [store = MakeStore()](std::size_t i) { store->Miss(i); };
}

std::function<void(std::size_t)> AddRecord() {
    return [store = MakeStore()](std::size_t) { store->AddNew(); };
}

std::function<void(std::size_t)> FindInTemplate() {
    TemplateRoot const& root = TemplateRoot::Instance(1, kFiles);
    return [&root](std::size_t i) { root.Find(0, i); };
}

std::function<void(std::size_t)> Query(std::size_t templates) {
    TemplateRoot const& root = TemplateRoot::Instance(templates, kFiles);
    return [&root, check = root.Check(0, 0, templates)](std::size_t) { root.Query(check); };
}

// Into the queue and from there into the store, by the one thread.
std::function<void(std::size_t)> WriteFinding() {
    auto const root = std::make_shared<TaskRoot>(1);
    auto const writer = std::make_shared<DLPCacheTask>(root->registry().GetTask(TaskId(0)));
    return [root, writer, finding = MakeFinding(0)](std::size_t) {
        Require(writer->AddNumbered(finding) == DLPCache::kTaskFileStored && writer->WriteFirst(),
                "a finding was lost");
    };
}

std::function<void(std::size_t)> CountFirst() {
    return [counting = std::make_shared<Counting>(1)](std::size_t i) { counting->CountFirst(i); };
}

std::function<void(std::size_t)> CountAgain() {
    return [counting = std::make_shared<Counting>(1)](std::size_t) { counting->CountOften(); };
}

std::vector<Counted> Operations() {
    return {
        {"index-find", "Index::Find, hit in the first slot", FindInIndex},
        {"manager-find", "Manager::Find, hit", FindRecord},
        {"manager-miss", "Manager::Find, miss", MissRecord},
        {"manager-add", "Manager::Add, new key", AddRecord},
        {"template-find", "DLPCacheTpl::Find, matched", FindInTemplate},
        {"query-1", "QueryCache, one file, one template, full hit", [] { return Query(1); }},
        {"query-20", "QueryCache, one file, 20 templates, full hit", [] { return Query(20); }},
        {"finding-write", "a finding, queued and written", WriteFinding},
        {"count-first", "the first count of a file", CountFirst},
        {"count-again", "a later count of a file, up to its 300th", CountAgain},
    };
}

// The other stores, opened per operation: "SQLite-hit", "SQLite-fast-hit" and so on.
struct PeerCall {
    std::string name, what;
    Engine const* engine;
    Flags flags;
    bool hit;
};

std::vector<PeerCall> PeerCalls(std::vector<std::unique_ptr<Engine>> const& engines) {
    std::vector<PeerCall> calls;
    for (auto const& engine : engines) {
        for (Flags const flags : {Flags::kDefault, Flags::kFast}) {
            for (bool const hit : {true, false}) {
                bool const fast = flags == Flags::kFast;
                calls.push_back({engine->Name() + (fast ? "-fast" : "") + (hit ? "-hit" : "-new"),
                                 engine->Name() + " opened per operation" + (fast ? ", fastest flags, " : ", ") +
                                     (hit ? "hit" : "new key"),
                                 engine.get(), flags, hit});
            }
        }
    }
    return calls;
}

void RunPeer(PeerCall const& call, std::size_t count) {
    TempDir const directory;
    call.engine->Fill(directory.path(), call.flags, kStored);
    std::string value;
    for (std::size_t i = 0; i < count; ++i) {
        auto const store = call.engine->Open(directory.path(), call.flags, call.hit ? Access::kRead : Access::kWrite);
        Value const bytes = ValueOf(i);
        if (call.hit) {
            Require(store->Get(KeyOf(i % kStored), value), "an answer was not found");
        } else {
            store->Put(KeyOf(kStored + i), {bytes.data(), bytes.size()});
        }
    }
}

int List(std::vector<PeerCall> const& peers) {
    for (Counted const& counted : Operations())
        std::printf("%s %s\n", counted.name, counted.what);
    for (PeerCall const& peer : peers)
        std::printf("%s %s\n", peer.name.c_str(), peer.what.c_str());
    return 0;
}

int Run(std::string const& name, std::size_t count, std::vector<PeerCall> const& peers) {
    for (Counted const& counted : Operations()) {
        if (counted.name != name) continue;
        auto const operation = counted.prepare();
        for (std::size_t i = 0; i < count; ++i)
            operation(i);
        return 0;
    }
    for (PeerCall const& peer : peers) {
        if (peer.name == name) return RunPeer(peer, count), 0;
    }
    std::fprintf(stderr, "bench_calls: no such operation: %s\n", name.c_str());
    return 2;
}

}  // namespace

int main(int count, char** arguments) {
    auto const engines = Engines();
    auto const peers = PeerCalls(engines);
    if (count != 3) return List(peers);
    return Run(arguments[1], std::strtoul(arguments[2], nullptr, 10), peers);
}
