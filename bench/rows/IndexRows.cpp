#include "bench/AnswerStore.h"
#include "bench/Duel.h"
#include "bench/rows/Rows.h"

namespace bench {
namespace {

Round FindFirstSlot() {
    AnswerStore const& store = AnswerStore::Instance();
    return Duel(Repeat([&store](std::size_t i) { store.FindFirstSlot(i); }), Repeat([&store](std::size_t i) {
                    RawFindSlot(store.index_path(), store.first()[i % store.first().size()].place.slot);
                }));
}

}  // namespace

void AddIndexRows() {
    AddRow({"index/find", "Index::Find, text key, hit in the first slot", "its four calls", Target::kAtMost, 1.15}, 251,
           FindFirstSlot);
}

}  // namespace bench
