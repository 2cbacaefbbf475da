#pragma once

#include "template/DLPCacheRuleNode.h"

namespace DLPCache {

inline constexpr int kDNASubType = 2005;

// A matched fingerprint rule. Copying to and from an item reports failure even after a good copy, which makes an answer
// with such a rule neither storable nor restorable: kept, answers of fingerprint rules are not cached.
class TORVANE_API DNARuleNode final : public RuleNode {
  public:
    DNARuleNode() noexcept : RuleNode(kDNASubType) {}

    using SerialBasic::Size;
    [[nodiscard]] int Size() const override;
    [[nodiscard]] bool Write(Varnok::Writer* w) override;
    [[nodiscard]] bool Read(Varnok::Reader* r, int size) override;
    [[nodiscard]] bool GetKeywordAttachItem(QVKReportKeywordAttachItem& item) override;        // always false
    [[nodiscard]] bool SetKeywordAttachItem(QVKReportKeywordAttachItem const& item) override;  // always false

    [[nodiscard]] bool GiveKeywordAttachItem(QVKReportKeywordAttachItem& item) noexcept override;  // always false

    HString dna_text;  // always empty; written and read all the same
    int dna_value = 0;
};

}  // namespace DLPCache
