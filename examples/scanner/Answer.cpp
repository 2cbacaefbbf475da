#include "examples/scanner/Answer.h"

#include "examples/scanner/TextRecord.h"

namespace scanner {
namespace {

QVKReportKeywordAttachItem MakeItem(Template const& tpl, Rule const& rule, Finding const& finding,
                                    FileView const& file) {
    auto const& definition = rule.definition();
    QVKReportKeywordAttachItem item;
    item.tpl_id = tpl.id;
    item.rule_id = definition.common->id;
    item.rule_name = definition.common->name;
    item.rule_type = definition.rule_type;
    item.sub_type = definition.sub_type;
    item.rule_text = definition.rule_text;
    item.match_text_2 = finding.value.empty() ? definition.description : HString(finding.value);
    item.match_count = finding.number;
    item.file_short_name = HString(file.short_name);
    return item;
}

void Append(Template const& tpl, Answer const& answer, QVKKeywordMatchNode& node) {
    if (!answer.matched) {
        node.unmatched_tpl_ids.push_back(tpl.id);
        return;
    }
    node.matched_tpl_ids.push_back(tpl.id);
    node.attach_nodes.push_back(answer.attach);
    node.texts.push_back(answer.text);
}

// Goes through a node's ids, which are a part of the asked ones in the same order.
class IdCursor {
  public:
    explicit IdCursor(std::vector<HString> const& ids) : ids_(ids) {}

    bool Take(HString const& id) {
        if (next_ == ids_.size() || ids_[next_] != id) return false;
        ++next_;
        return true;
    }
    // The index of the id that was taken last.
    [[nodiscard]] std::size_t taken() const { return next_ - 1; }

  private:
    std::vector<HString> const& ids_;
    std::size_t next_ = 0;
};

}  // namespace

Answer ScanWithTemplate(Policy const& policy, std::size_t template_index, FileView const& file) {
    Template const& tpl = policy.templates()[template_index];
    Answer answer;
    answer.template_index = template_index;
    std::vector<Match> matches;
    for (Rule const& rule : tpl.rules) {
        Finding finding;
        if (!rule.Apply(file, finding)) continue;
        answer.matched = true;
        answer.attach.items.push_back(MakeItem(tpl, rule, finding, file));
        matches.insert(matches.end(), finding.matches.kept().begin(), finding.matches.kept().end());
    }
    if (answer.matched) answer.text = MakeTextRecord(tpl.id, file.text, std::move(matches));
    return answer;
}

std::vector<std::size_t> MissingTemplates(std::vector<HString> const& ids, QVKKeywordMatchNode const& node) {
    std::vector<std::size_t> missing;
    IdCursor matched(node.matched_tpl_ids);
    IdCursor unmatched(node.unmatched_tpl_ids);
    for (std::size_t i = 0; i < ids.size(); ++i) {
        if (!matched.Take(ids[i]) && !unmatched.Take(ids[i])) missing.push_back(i);
    }
    return missing;
}

QVKKeywordMatchNode MakeStoreNode(Policy const& policy, QVKKeywordFileNode const& file,
                                  std::vector<Answer> const& answers) {
    QVKKeywordMatchNode node;
    *node.file_node = file;
    node.tips->stored_name = file.file_path.get_short_name();
    for (Answer const& answer : answers)
        Append(policy.templates()[answer.template_index], answer, node);
    return node;
}

QVKKeywordMatchNode Merge(Policy const& policy, QVKKeywordMatchNode const& cached, std::vector<Answer> const& answers) {
    QVKKeywordMatchNode node;
    *node.file_node = *cached.file_node;
    node.tips->stored_name = cached.file_node->file_path.get_short_name();
    IdCursor matched(cached.matched_tpl_ids);
    auto answer = answers.begin();
    for (std::size_t i = 0; i < policy.ids().size(); ++i) {
        HString const& id = policy.ids()[i];
        if (answer != answers.end() && answer->template_index == i) {
            Append(policy.templates()[i], *answer++, node);
        } else if (matched.Take(id)) {
            node.matched_tpl_ids.push_back(id);
            node.attach_nodes.push_back(cached.attach_nodes[matched.taken()]);
            node.texts.push_back(cached.texts[matched.taken()]);
        } else {
            node.unmatched_tpl_ids.push_back(id);
        }
    }
    node.sensitive = !node.matched_tpl_ids.empty();
    return node;
}

}  // namespace scanner
