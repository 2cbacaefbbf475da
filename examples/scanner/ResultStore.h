#pragma once

#include <string>
#include <vector>

#include "examples/scanner/Answer.h"
#include "examples/scanner/Counters.h"
#include "examples/scanner/Policy.h"
#include "examples/scanner/TaskRun.h"
#include "host/policy/QVKKeywordCheckParam.h"
#include "host/policy/QVKKeywordMatchNode.h"

namespace scanner {

// Hands over what was found out about files: answers to the template caches, sensitive files to the run's task. One
// object per thread; throws std::runtime_error when something is refused.
class ResultStore {
  public:
    // `task`: null when findings are not recorded.
    ResultStore(Policy const& policy, TaskRun const* task, Counters& counters)
        : policy_(policy), task_(task), counters_(counters) {}

    // What became of a sensitive file.
    struct Taken {
        int found_times = 0;       // under the policy; 0: not counted
        std::string not_recorded;  // why the task does not have it; empty: it has, or was not to
    };

    // `answers`: what was scanned; `whole`: that and what the cache answered. A sensitive file is counted and recorded
    // once, with all its matches. Answers are stored even where the task refuses the finding (its verdict is too long,
    // for instance).
    Taken Take(QVKKeywordCheckParam const& param, QVKKeywordMatchNode const& whole, std::vector<Answer> answers);

  private:
    void DropOutdated(std::vector<Answer>& answers);
    void CountUnstorable(QVKKeywordFileNode const& file, std::vector<Answer> const& answers);

    Policy const& policy_;
    TaskRun const* task_;
    Counters& counters_;
};

}  // namespace scanner
