// Random definitions, stores and queries against a plain re-statement of the rules.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "front/DLPCacheMgr.h"
#include "host/base/Murmur3.h"
#include "template/DLPCacheTpl.h"
#include "tests/front/FrontFixture.h"

namespace {

// What was stored for a template and a file; without a count: no match.
struct StoredAnswer {
    std::optional<int> count;
    std::string stored_name;
};

struct TplModel {
    std::string id;
    std::string level_id;
    std::string class_id;
    bool by_name = false;
    int edit = 0;  // of its rule's text
};

std::string Join(std::set<std::string> const& names) {
    std::string joined;
    for (std::string const& name : names)
        joined += (joined.empty() ? "" : "|") + name;
    return joined;
}

class DLPCacheMgrModelTest : public FrontTest {
  protected:
    static constexpr int kFiles = 30;

    explicit DLPCacheMgrModelTest() {
        char const* const seed = std::getenv("TORVANE_TEST_SEED");
        seed_ = seed ? static_cast<unsigned>(std::strtoul(seed, nullptr, 10)) : 20240710U;
        random_.seed(seed_);
    }

    int Roll(int sides) { return std::uniform_int_distribution<int>(0, sides - 1)(random_); }
    bool OneIn(int n) { return Roll(n) == 0; }

    // --- Definitions

    void MakeModels() {
        char const* const levels[] = {"0", "1", "2", "3", "-1", "unknown"};
        char const* const classes[] = {"red", "blue", "green", "unknown"};
        for (int level : {0, 1, 2, 3, -1})
            levels_[std::to_string(level)] = level;
        for (int i = 0; i < 8; ++i) {
            tpls_.push_back({"t" + std::to_string(i), levels[Roll(6)], classes[Roll(4)], OneIn(4), 0});
        }
    }
    void InstallModels() {
        definitions_ = KwDefinitions();
        for (auto const& [id, level] : levels_)
            DefineLevel(id, level);
        for (char const* id : {"red", "blue", "green"})
            DefineClass(id);
        for (TplModel const& tpl : tpls_) {
            if (tpl.by_name) DefineNameDependentTpl(tpl.id);
            if (!tpl.by_name) DefineTpl(tpl.id);
            auto& node = definitions_.templates.nodes.back();
            node.data_level_id = HString(tpl.level_id);
            node.data_class_id = HString(tpl.class_id);
            for (auto& rule : definitions_.rules.nodes) {
                if (rule.common->id == HString("rule " + tpl.id)) rule.rule_text = HString(Word(tpl));
            }
        }
        Install();
    }
    static std::string Word(TplModel const& tpl) { return "word " + tpl.id + " edit " + std::to_string(tpl.edit); }

    // --- Files

    QVKKeywordFileNode RandomFile() {
        QVKKeywordFileNode file;
        file.file_path = HString("/data/" + std::to_string(Roll(3)) + "/File" + std::to_string(Roll(2)) + ".txt");
        char md5[33];
        std::snprintf(md5, sizeof md5, "%032d", Roll(kFiles));
        file.file_md5 = HString(md5);
        if (OneIn(3)) file.short_name = HString("Shown" + std::to_string(Roll(2)));
        return file;
    }
    static std::string NameOf(QVKKeywordFileNode const& file) {
        std::string const path = file.file_path.get_str();
        return file.short_name.empty() ? path.substr(path.rfind('/') + 1) : file.short_name.get_str();
    }

    // --- The model

    using Key = std::tuple<std::string, int, std::string, std::string>;  // template, edit, MD5, name if it counts

    static Key KeyOf(TplModel const& tpl, QVKKeywordFileNode const& file) {
        std::string name;
        if (tpl.by_name) name = HString(NameOf(file)).to_lower_case().get_str();
        return {tpl.id, tpl.edit, file.file_md5.get_str(), name};
    }
    // A key of bucket 0 can be neither stored nor found.
    static bool IsStorable(TplModel const& tpl, QVKKeywordFileNode const& file) {
        DLPCacheTpl::Key key;
        key.short_name = HString(NameOf(file));
        key.md5 = file.file_md5;
        std::string const hash = (tpl.by_name ? key.to_hash() : key.md5).get_md5_std_format_lower("").get_str();
        return Varnok::Murmur3_32(hash.data(), static_cast<int>(hash.size())) % kBuckets != 0;
    }
    TplModel const* Model(std::string const& id) const {
        auto const found = std::ranges::find(tpls_, id, &TplModel::id);
        return found == tpls_.end() ? nullptr : &*found;
    }

    struct ExpectedNode {
        bool sensitive = false;
        std::vector<std::string> matched, unmatched;
        std::vector<int> counts;
        std::string class_names, level_name, level_id, verdict, stored_name, text_tpl_id;
        int level = 0;
        unsigned long long positions = 0;
    };

    ExpectedNode ExpectNode(QVKKeywordFileNode const& file, QVKKeywordFileItem const& item) {
        ExpectedNode node;
        bool missed = false;
        std::string verdict;
        std::set<std::string> class_names;
        for (HString const& id : item.tpl_ids) {
            TplModel const* const tpl = Model(id.get_str());
            if (!tpl || !IsStorable(*tpl, file)) continue;
            auto const stored = stored_.find(KeyOf(*tpl, file));
            if (stored == stored_.end()) {
                missed = true;
                continue;
            }
            if (!stored->second.count) {
                node.unmatched.push_back(tpl->id);
                continue;
            }
            int const count = *stored->second.count;
            node.matched.push_back(tpl->id);
            node.counts.push_back(count);
            verdict += Word(*tpl) + "(" + std::to_string(count) + ")\n";
            if (auto const level = levels_.find(tpl->level_id); level != levels_.end()) {
                if (node.level == 0 || node.level > level->second) {
                    node.level = level->second;
                    node.level_id = level->first;
                    node.level_name = "level " + level->first;
                    node.verdict = verdict;
                    node.stored_name = stored->second.stored_name;
                    node.text_tpl_id = tpl->id;
                    node.positions = static_cast<unsigned long long>(count);
                }
                if (tpl->class_id != "unknown") class_names.insert("class " + tpl->class_id);
            }
            if (!item.lookup_flag && !missed) {
                node.sensitive = true;
                break;
            }
        }
        node.class_names = Join(class_names);
        std::size_t const listed = item.count_matched ? node.matched.size() : node.unmatched.size();
        if (item.threshold >= 0 && static_cast<std::size_t>(item.threshold) <= listed) node.sensitive = true;
        return node;
    }

    std::vector<ExpectedNode> ExpectItem(QVKKeywordFileItem const& item) {
        std::vector<ExpectedNode> nodes;
        for (auto const& file : item.file_nodes) {
            nodes.push_back(ExpectNode(file, item));
            if (!item.check_every_node && nodes.back().sensitive) break;
        }
        return nodes;
    }

    static int ExpectCode(QVKKeywordCheckParam const& param, std::vector<std::vector<ExpectedNode>> const& items) {
        if (items.empty()) return 0;
        std::size_t empty_items = 0;
        for (std::size_t i = 0; i < items.size(); ++i) {
            auto const& asked = param.file_items[i];
            if (asked.file_nodes.size() != items[i].size()) return 1;
            std::size_t empty = 0;
            for (auto const& node : items[i]) {
                std::size_t const answers = node.matched.size() + node.unmatched.size();
                if (answers == 0) ++empty;
                if (answers != 0 && answers != asked.tpl_ids.size()) return 1;
            }
            if (empty != 0 && empty != items[i].size()) return 1;
            if (empty != 0) ++empty_items;
        }
        if (empty_items == 0) return 2;
        return empty_items == items.size() ? 0 : 1;
    }

    // --- Actions

    QVKKeywordFileItem RandomItem() {
        QVKKeywordFileItem item;
        for (int n = Roll(4); n > 0; --n)
            item.file_nodes.push_back(RandomFile());
        for (int n = Roll(6); n > 0; --n) {
            std::string const id = OneIn(12) ? "unknown" : "t" + std::to_string(Roll(8));
            if (std::ranges::find(item.tpl_ids, HString(id)) == item.tpl_ids.end()) item.tpl_ids.push_back(HString(id));
        }
        item.count_matched = OneIn(2);
        item.threshold = Roll(5) - 1;
        item.lookup_flag = !OneIn(3);
        item.check_every_node = !OneIn(3);
        return item;
    }

    void QueryAtRandom() {
        QVKKeywordCheckParam param;
        for (int n = Roll(4); n > 0; --n)
            param.file_items.push_back(RandomItem());
        param.item_rule = static_cast<unsigned>(Roll(3));
        std::vector<std::vector<ExpectedNode>> expected;
        for (auto const& item : param.file_items)
            expected.push_back(ExpectItem(item));

        QVKKeywordMatchResult result;
        result.sensitive = OneIn(2);
        bool const before = result.sensitive;
        int const code = Ask(param, result);
        ASSERT_EQ(code, ExpectCode(param, expected));
        ++codes_[code];
        ASSERT_EQ(result.match_items.size(), expected.size());
        std::size_t sensitive_items = 0;
        for (std::size_t i = 0; i < expected.size(); ++i) {
            CompareItem(result.match_items[i], expected[i], param.file_items[i]);
            sensitive_items += result.match_items[i].sensitive;
        }
        bool sensitive = before;
        if (param.item_rule == 0) sensitive = before || sensitive_items > 0;
        if (param.item_rule == 1) sensitive = !expected.empty() && sensitive_items == expected.size();
        ASSERT_EQ(result.sensitive, sensitive);
    }

    static void CompareItem(QVKKeywordMatchItem const& item, std::vector<ExpectedNode> const& expected,
                            QVKKeywordFileItem const& asked) {
        ASSERT_EQ(item.match_nodes.size(), expected.size());
        bool sensitive = false;
        for (std::size_t i = 0; i < expected.size(); ++i) {
            CompareNode(item.match_nodes[i], expected[i], asked.file_nodes[i]);
            sensitive = sensitive || expected[i].sensitive;
        }
        ASSERT_EQ(item.sensitive, sensitive);
    }

    static void CompareNode(QVKKeywordMatchNode const& node, ExpectedNode const& expected,
                            QVKKeywordFileNode const& file) {
        ASSERT_EQ(node.sensitive, expected.sensitive);
        ASSERT_EQ(Narrow(node.matched_tpl_ids), expected.matched);
        ASSERT_EQ(Narrow(node.unmatched_tpl_ids), expected.unmatched);
        ASSERT_EQ(node.attach_nodes.size(), expected.matched.size());
        ASSERT_EQ(node.texts.size(), expected.matched.size());
        for (std::size_t i = 0; i < expected.matched.size(); ++i) {
            ASSERT_EQ(node.attach_nodes[i].items.size(), 1U);
            ASSERT_EQ(node.attach_nodes[i].items[0].match_count, expected.counts[i]);
            ASSERT_EQ(node.attach_nodes[i].items[0].tpl_id.get_str(), expected.matched[i]);
            ASSERT_EQ(node.texts[i], Text(HString(expected.matched[i]), expected.counts[i]));
        }
        QVKKeywordFileTips const& tips = *node.tips;
        ASSERT_EQ(node.file_node->file_md5, file.file_md5);
        ASSERT_EQ(tips.file_path, file.file_path);
        ASSERT_EQ(tips.data_class_names.get_str(), expected.class_names);
        ASSERT_EQ(tips.data_level, expected.level);
        ASSERT_EQ(tips.data_level_name.get_str(), expected.level_name);
        ASSERT_EQ(tips.data_level_id.get_str(), expected.level_id);
        ASSERT_EQ(tips.sens_result.get_str(), expected.verdict);
        ASSERT_EQ(tips.stored_name.get_str(), expected.stored_name);
        ASSERT_EQ(tips.text.tpl_id.get_str(), expected.text_tpl_id);
        ASSERT_EQ(tips.position_count, expected.positions);
    }

    static std::vector<std::string> Narrow(std::vector<HString> const& ids) {
        std::vector<std::string> narrow;
        for (HString const& id : ids)
            narrow.push_back(id.get_str());
        return narrow;
    }

    // Stores answers that are not there yet, as the scanner's duty is.
    void StoreAtRandom() {
        QVKKeywordFileNode const file = RandomFile();
        QVKKeywordMatchNode node;
        *node.file_node = file;
        node.tips->stored_name = HString("name " + std::to_string(Roll(5)));
        for (TplModel const& tpl : tpls_) {
            if (!OneIn(2) || stored_.contains(KeyOf(tpl, file))) continue;
            StoredAnswer answer{std::nullopt, node.tips->stored_name.get_str()};
            if (OneIn(2)) {
                answer.count = 1 + Roll(4);
                AddMatch(node, HString(tpl.id), *answer.count);
            } else {
                AddNoMatch(node, HString(tpl.id));
            }
            if (IsStorable(tpl, file)) stored_[KeyOf(tpl, file)] = answer;
        }
        std::ranges::shuffle(node.texts, random_);
        ASSERT_EQ(Front().AddMatchNode(node), 0);
    }

    void EditAtRandom() {
        tpls_[static_cast<std::size_t>(Roll(8))].edit = Roll(3);  // an edit taken back finds its answers again
        InstallModels();
    }

    unsigned seed_;
    std::mt19937 random_;
    std::vector<TplModel> tpls_;
    std::map<std::string, int> levels_;
    std::map<Key, StoredAnswer> stored_;
    std::map<int, int> codes_;
};

TEST_F(DLPCacheMgrModelTest, RandomOperationsFollowTheRules) {
    SCOPED_TRACE("TORVANE_TEST_SEED=" + std::to_string(seed_));
    MakeModels();
    InstallModels();
    for (int i = 0; i < 5000 && !HasFatalFailure(); ++i) {
        SCOPED_TRACE("operation " + std::to_string(i));
        int const action = Roll(100);
        if (action < 70) QueryAtRandom();
        if (action >= 70 && action < 98) StoreAtRandom();
        if (action >= 98) EditAtRandom();
    }
    for (int const code : {0, 1, 2})
        EXPECT_GT(codes_[code], 50) << "code " << code << " was hardly met";
}

}  // namespace
