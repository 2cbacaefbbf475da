#pragma once

#include <memory>

#include "host/base/HString.h"
#include "host/policy/QVKReportKeywordAttachItem.h"
#include "storage/DLPCacheSerial.h"

namespace DLPCache {

// One matched rule as a template cache stores it. Names, rule type and rule text are not stored: they are filled in
// from the definitions on retrieval. See SerialBasic for threads and failures.
class TORVANE_API RuleNode : public SerialBasic {
  public:
    explicit RuleNode(int type) noexcept : sub_type(type) {}  // see MakeRuleNode, which picks the class by it

    using SerialBasic::Size;
    [[nodiscard]] int Size() const override;
    [[nodiscard]] bool Write(Varnok::Writer* w) override;
    // `size` is the size table's entry for this rule. The sub-type before the body has been read already.
    [[nodiscard]] bool Read(Varnok::Reader* r, int size) override;
    // Copies the stored fields into the item, or from it. True.
    [[nodiscard]] virtual bool GetKeywordAttachItem(QVKReportKeywordAttachItem& item);
    [[nodiscard]] virtual bool SetKeywordAttachItem(QVKReportKeywordAttachItem const& item);
    // As GetKeywordAttachItem, but moves the texts out; afterwards the node is good for nothing.
    [[nodiscard]] virtual bool GiveKeywordAttachItem(QVKReportKeywordAttachItem& item) noexcept;

    int sub_type;
    HString rule_id;
    long long match_count = 0;
    HString match_text_2;
    HString match_text_1;
    HString file_short_name;
    HString match_text_3;
};

// The rule node for a sub-type: 2005 gives a DNARuleNode. Null only without memory.
[[nodiscard]] TORVANE_API std::unique_ptr<RuleNode> MakeRuleNode(int sub_type) noexcept;

}  // namespace DLPCache
