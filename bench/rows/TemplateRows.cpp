#include "bench/Duel.h"
#include "bench/TemplateRoot.h"
#include "bench/rows/Rows.h"

namespace bench {

void AddTemplateRows() {
    AddRow({"template/find", "DLPCacheTpl::Find, matched, 3 rules", "its seven calls", Target::kAtMost, 1.8}, 251, [] {
        TemplateRoot const& root = TemplateRoot::Instance();
        return Duel(Repeat([&root](std::size_t i) { root.Find(0, i); }),
                    Repeat([&root](std::size_t i) { root.RawCalls(0, i); }));
    });
}

}  // namespace bench
