#pragma once

#include <memory>
#include <vector>

#include "host/base/HString.h"
#include "host/policy/QVKKeywordText.h"
#include "host/policy/QVKReportKeywordAttachNode.h"
#include "storage/DLPCacheSerial.h"
#include "template/DLPCacheRuleNode.h"

namespace DLPCache {

// One stored answer: the matched rules of one attach node and its text. Owns its rules and its text buffer. See
// SerialBasic for threads and failures; a failed Read leaves the node partly filled, to be discarded.
class TORVANE_API TplNode final : public SerialBasic {
  public:
    static constexpr int kMaxRules = 65534;

    using SerialBasic::Size;
    // 0 when the node cannot be encoded: no rules, more than kMaxRules, a rule without a size. The four bytes of the
    // text length count only when there is a text buffer, while Write always writes them: a node without a text buffer
    // is refused by ToBuffer. Kept: an answer without a text is not cached.
    [[nodiscard]] int Size() const override;
    [[nodiscard]] bool Write(Varnok::Writer* w) override;
    [[nodiscard]] bool Read(Varnok::Reader* r, int size) override;

    // Appends a rule per item and takes the text. False at the first item that cannot be taken: its rule stays, the
    // text is not taken.
    [[nodiscard]] bool SetKeywordAttach(QVKReportKeywordAttachNode const& node, QVKKeywordText const& text) noexcept;
    // Appends an item per rule to `node` and gives the text back. False at the first rule that cannot be given
    // and without memory; both are in any state then.
    [[nodiscard]] bool GetKeywordAttach(QVKReportKeywordAttachNode& node, QVKKeywordText& text) noexcept;
    // The same for a node that is discarded afterwards: the rules' texts are moved out.
    [[nodiscard]] bool GiveKeywordAttach(QVKReportKeywordAttachNode& node, QVKKeywordText& text) noexcept;

    HString reserved;     // never set; written and read as an empty text
    HString stored_name;  // the name that the caller stores with the answer
    std::vector<std::unique_ptr<RuleNode>> rules;

  private:
    using ItemGetter = bool (RuleNode::*)(QVKReportKeywordAttachItem&);
    bool GetItems(QVKReportKeywordAttachNode& node, ItemGetter get);
    void GetText(QVKKeywordText& text) const;  // throws std::bad_alloc
    // The parts of a record after its names: the rule count with the table of rule sizes, the rules, the text.
    bool WriteRuleSizes(Varnok::Writer& w) const;
    bool WriteRules(Varnok::Writer& w) const;
    bool WriteText(Varnok::Writer& w) const;
    bool ReadRules(Varnok::Reader& r);
    bool ReadRule(Varnok::Reader& r, int size);
    bool ReadText(Varnok::Reader& r);

    std::unique_ptr<char[]> text_buffer_;  // QVKKeywordText::to_buffer's bytes, or none
    long long text_length_ = 0;
};

}  // namespace DLPCache
