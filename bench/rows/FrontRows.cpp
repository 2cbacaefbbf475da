#include <memory>
#include <vector>

#include "bench/Duel.h"
#include "bench/TemplateRoot.h"
#include "bench/rows/Rows.h"

namespace bench {
namespace {

// Checks against the first `templates` templates, made beforehand, of so many files that the number of answers is the
// same whatever the number of templates: then neither side finds more of them in the processor's cache.
Side QuerySide(std::size_t templates) {
    TemplateRoot const& root = TemplateRoot::Instance();
    std::vector<QVKKeywordCheckParam> checks;
    for (std::size_t i = 0; i < TemplateRoot::kFiles / templates; ++i)
        checks.push_back(root.Check(i, 0, templates));
    return Repeat([&root, checks = std::move(checks)](std::size_t i) { root.Query(checks[i % checks.size()]); });
}

Round QueryOne() {
    TemplateRoot const& root = TemplateRoot::Instance();
    return Duel(QuerySide(1), Repeat([&root](std::size_t i) { root.RawCalls(0, i); }));
}

Round QueryTwenty() {
    return Duel(QuerySide(TemplateRoot::kTemplates), QuerySide(1));
}

}  // namespace

void AddFrontRows() {
    AddRow({"front/one", "QueryCache, one file, one template, full hit", "its seven calls", Target::kAtMost, 2.2}, 251,
           QueryOne);
    AddRow({"front/twenty", "QueryCache, one file, 20 templates, full hit", "the same with one template",
            Target::kAtMost, 20},
           151, QueryTwenty);
}

}  // namespace bench
