#pragma once

#include <random>
#include <shared_mutex>
#include <string>
#include <vector>

#include "host/base/HString.h"
#include "host/policy/KwDefinitions.h"
#include "host/policy/QVKKeywordFileItem.h"
#include "host/policy/QVKKeywordMatchNode.h"

// What the stress tests share: an agent whose definitions change under its scanners, contents, and scan results that
// tell which content and which state of the definitions they are of.
namespace stress {

inline constexpr int kTemplates = 4;
inline constexpr int kBuckets = 53;  // of each cache's index: few, so that chains form
inline constexpr int kAbsent = -1;

[[nodiscard]] std::string TplId(int tpl);
[[nodiscard]] std::vector<HString> EveryTpl();
[[nodiscard]] std::string Word(int tpl, int edit);
// MD5s of so many contents; none falls into bucket 0, which holds no answer.
[[nodiscard]] std::vector<HString> MakeMd5s(std::size_t count);

// The agent's definitions: each template's rule is in one of two states, or the template is not defined.
class Agent {
  public:
    // Writes the bucket count of each cache's index into the settings of `root`, then installs the first definitions.
    explicit Agent(std::string const& root, int buckets = kBuckets);

    // Held shared, the definitions do not change.
    [[nodiscard]] std::shared_mutex& Gate() { return gate_; }
    // Callers hold the gate.
    [[nodiscard]] int Edit(int tpl) const { return edits_[static_cast<std::size_t>(tpl)]; }

    void Replace(std::mt19937& random);

  private:
    void Install();
    void Define(KwDefinitions& definitions, int tpl) const;

    std::shared_mutex gate_;
    std::vector<int> edits_ = std::vector<int>(kTemplates, 0);
};

// The check of one content against `tpl_ids`.
[[nodiscard]] QVKKeywordFileItem MakeItem(HString const& path, HString const& md5, std::vector<HString> tpl_ids);
// Adds the match of a template in a content, as a scan under that state of the definitions finds it.
void AddMatch(int content, int tpl, int edit, QVKKeywordMatchNode& node);
// The count and the text were stored, the rule's text comes from the snapshot of the definitions: all must be of one
// content and of one state of the rule.
void CheckMatch(int content, HString const& tpl_id, QVKReportKeywordAttachNode const& attach_node,
                QVKKeywordText const& text);

}  // namespace stress
