#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "front/DLPCacheMgr.h"
#include "host/policy/KwDefineMgr.h"
#include "tests/support/TempRoot.h"

// A fresh root with small indexes and a set of definitions that a case puts together and installs. Each case runs in a
// process of its own: the managers keep what they have opened.
class FrontTest : public testing::Test {
  protected:
    // The slots of a new cache's index. One bucket alone is bucket 0, which takes no text key: every look-up and every
    // store fails there with -12.
    static constexpr int kBuckets = 1009;
    static constexpr int kNoUsableBucket = 1;

    FrontTest() { SetBuckets(kBuckets); }
    void SetBuckets(int count);

    // Definitions. A template has one keyword rule, "rule <id>", with the text "word <id>".
    void DefineLevel(std::string const& id, int level);  // named "level <id>"
    void DefineClass(std::string const& id);             // named "class <id>"
    void DefineTpl(std::string const& id, std::string const& level_id = "", std::string const& class_id = "");
    void DefineNameDependentTpl(std::string const& id);  // with a rule of sub-type 2001 besides
    void Install();
    // Defines and installs a template whose cache has no usable bucket.
    void InstallFailingTpl(std::string const& id);

    static DLPCacheMgr const& Front() { return *DLPCacheMgr::pins(); }

    // A file by the letter of its content: path "/data/<letter>.txt", MD5 32 times that letter.
    static QVKKeywordFileNode File(char letter);
    static QVKKeywordFileItem Item(std::string const& files, std::vector<HString> tpl_ids);

    // What a scan finds: the template's rule, `count` times, and a text with as many positions.
    static QVKReportKeywordAttachNode Attach(HString const& tpl_id, long long count = 1);
    static QVKKeywordText Text(HString const& tpl_id, int positions = 1);
    static QVKKeywordMatchNode Scanned(char letter);
    static void AddMatch(QVKKeywordMatchNode& node, HString const& tpl_id, int count = 1);
    static void AddNoMatch(QVKKeywordMatchNode& node, HString const& tpl_id);
    void StoreMatch(char letter, HString const& tpl_id, int count = 1);
    void StoreNoMatch(char letter, HString const& tpl_id);

    static QVKKeywordMatchNode AskNode(char letter, std::vector<HString> const& tpl_ids, bool lookup_flag = true);
    static QVKKeywordMatchItem AskItem(QVKKeywordFileItem const& file_item);
    static int Ask(QVKKeywordCheckParam const& param, QVKKeywordMatchResult& result);
    static int AskCode(std::vector<QVKKeywordFileItem> file_items);

    TempRoot root_;
    KwDefinitions definitions_;
};

// Texts compare as their narrow form in messages.
void PrintTo(HString const& text, std::ostream* out);
std::vector<HString> Ids(std::initializer_list<char const*> ids);
