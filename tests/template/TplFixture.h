#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

#include "host/policy/KwDefinitions.h"
#include "host/policy/QVKKeywordText.h"
#include "host/policy/QVKReportKeywordAttachNode.h"
#include "template/DLPCacheTpl.h"
#include "tests/support/KeywordText.h"
#include "tests/support/LogLines.h"
#include "tests/support/TempRoot.h"

// A root of its own with small index files and these definitions in place:
//
//     template "T1" named "Contracts": rules "R1" and "R2", data class "C1" ("Secret"), data level "L1" ("High")
class TplFixture : public testing::Test {
  protected:
    TplFixture();

    // Puts `definitions_` in place, as they stand.
    void Install();
    // Adds a rule to the template and installs.
    void AddRule(std::string const& id, int sub_type);
    QVKConfigKeywordTemplateNode& Tpl() { return definitions_.templates.nodes.front(); }
    QVKConfigKeywordFormatItemNode& Rule(int index) {
        return definitions_.rules.nodes[static_cast<std::size_t>(index)];
    }

    // The template as the process-wide definitions hold it, and its MD5 there.
    static QVKConfigKeywordTemplateNode const& Current();
    static HString CurrentMd5();
    static std::unique_ptr<DLPCacheTpl> Open();
    // The directory of the template's cache, ending in a separator.
    std::string Dir() const;
    std::string Dir(std::string const& tpl_id, std::string const& md5) const;
    void SetBucketCount(std::string const& value);

    TempRoot root_;
    KwDefinitions definitions_;
};

QVKConfigKeywordTemplateNode MakeTpl(std::string const& id, std::vector<HString> const& rule_ids);
QVKConfigKeywordFormatItemNode MakeRule(std::string const& id, int sub_type);
QVKReportKeywordAttachItem MakeItem(std::string const& rule_id, int sub_type);
// An answer with an item for R1 and one for R2, found in the file "a.txt".
QVKReportKeywordAttachNode TwoItems();

// What Find gives.
struct Found {
    int code = 0;
    QVKReportKeywordAttachNode node;
    QVKKeywordText text;
    HString stored_name;
};
Found FindIn(DLPCacheTpl const& cache, HString const& key);
Found FindIn(DLPCacheTpl const& cache, DLPCacheTpl::Key const& key);
DLPCacheTpl::Key MakeKey(std::string const& short_name, std::string const& md5);
