#include "examples/scanner/Counters.h"

namespace scanner {

Counters& Counters::operator+=(Counters const& other) {
    for (auto const figure :
         {&Counters::files, &Counters::bytes, &Counters::full_hits, &Counters::partial_hits, &Counters::misses,
          &Counters::answers_from_cache, &Counters::sensitive_files, &Counters::unrecorded, &Counters::unstorable_files,
          &Counters::outdated_answers, &Counters::too_large, &Counters::not_regular, &Counters::unreadable,
          &Counters::damaged, &Counters::texts_cut, &Counters::texts_kept}) {
        this->*figure += other.*figure;
    }
    for (std::size_t i = 0; i < kStages; ++i)
        seconds[i] += other.seconds[i];
    for (std::size_t i = 0; i < templates.size(); ++i) {
        templates[i].scanned += other.templates[i].scanned;
        templates[i].unstorable += other.templates[i].unstorable;
        templates[i].matched += other.templates[i].matched;
    }
    return *this;
}

std::uint64_t Counters::Sum(std::uint64_t TemplateCounters::*figure) const {
    std::uint64_t sum = 0;
    for (TemplateCounters const& counters : templates)
        sum += counters.*figure;
    return sum;
}

}  // namespace scanner
