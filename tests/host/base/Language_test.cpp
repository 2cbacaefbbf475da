#include "host/base/Language.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "host/base/HIniFileHelper.h"
#include "host/base/LanguageTexts.h"
#include "host/base/LocateMgr.h"
#include "tests/support/TempRoot.h"

namespace {

std::string const kShipped = std::string(TORVANE_SOURCE_DIR) + "/host/base/lang/zh_CN.ini";

// Keys whose text takes a number, a text, nothing.
std::set<std::string> const kNumberKeys = {
    "DLP_LAN_RULE_REG",        "DLP_LAN_RULE_NAME",           "DLP_LAN_RULE_ADDR",      "DLP_LAN_RULE_PHONE",
    "DLP_LAN_RULE_EMAIL_ADDR", "DLP_LAN_RULE_ID_CARD",        "DLP_LAN_RULE_BANK_CARD", "DLP_LAN_RULE_EXPRESS_NUM",
    "DLP_LAN_RULE_PDS",        "DLP_LAN_RULE_SOCIAL_SECURITY"};
std::set<std::string> const kTextKeys = {"DLP_LAN_RULE_FILE_NAME",
                                         "DLP_LAN_RULE_FILE_TYPE",
                                         "DLP_LAN_RULE_FILE_ENCRYPT",
                                         "DLP_LAN_RULE_FILE_MD5",
                                         "DLP_LAN_RULE_FILE_DNA",
                                         "DLP_LAN_RULE_FILE_SIZE",
                                         "DLP_LAN_RULE_FILE_CDATE",
                                         "DLP_LAN_RULE_FILE_MDATE",
                                         "DLP_LAN_RULE_FILE_UNRECOG",
                                         "DLP_LAN_RULE_FILE_CODE",
                                         "DLP_LAN_RULE_FILE_VOLUME_PAGE",
                                         "DLP_LAN_RULE_FILE_VOLUME_LINE",
                                         "DLP_LAN_RULE_FILE_VOLUME_WORD",
                                         "DLP_LAN_RULE_FILE_VOLUME_IMAGE",
                                         "DLP_LAN_RULE_FILE_VOLUME_EMBED",
                                         "DLP_LAN_RULE_FILE_CLASS",
                                         "DLP_LAN_RULE_SAFEDOC"};
std::set<std::string> const kWordKeys = {"DLP_LAN_SENSITIVE_YES", "DLP_LAN_SENSITIVE_NO"};

std::size_t CountOf(std::string const& part, std::string const& text) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

// Every key once, each text with its one placeholder and no other per cent sign.
void ExpectComplete(std::map<std::string, std::string> const& texts) {
    EXPECT_EQ(texts.size(), kNumberKeys.size() + kTextKeys.size() + kWordKeys.size());
    for (auto const& [key, text] : texts) {
        std::size_t const numbers = kNumberKeys.count(key);
        std::size_t const strings = kTextKeys.count(key);
        EXPECT_EQ(numbers + strings + kWordKeys.count(key), 1U) << key;
        EXPECT_EQ(CountOf("%d", text), numbers) << key;
        EXPECT_EQ(CountOf("%s", text), strings) << key;
        EXPECT_EQ(CountOf("%", text), numbers + strings) << key;
        EXPECT_FALSE(text.empty()) << key;
    }
}

void Override(TempRoot const& root, std::string const& content) {
    std::filesystem::create_directories(root / "ini");
    WriteBytes(root / "ini/DLPLanguage.ini", content);
}

TEST(Language, BuiltInTextsAreComplete) {
    std::map<std::string, std::string> texts;
    for (auto const& [key, text] : Varnok::kLanguageTexts)
        EXPECT_TRUE(texts.emplace(key, text).second) << key;
    ExpectComplete(texts);
}

TEST(Language, ShippedTextsAreComplete) {
    HIniFileHelper file;
    ASSERT_EQ(file.setFile(kShipped), 0);
    std::map<std::string, std::string> texts;
    HIniFileHelper::Entries entries;
    ASSERT_TRUE(file.read_section("Language", entries));
    for (auto const& [key, text] : entries)
        EXPECT_TRUE(texts.emplace(key, text).second) << key;
    ExpectComplete(texts);
}

TEST(Language, TextsAreEnglishWithoutAFile) {
    TempRoot root;
    EXPECT_EQ(Varnok::Lan("DLP_LAN_SENSITIVE_YES"), HString("yes"));
    EXPECT_EQ(Varnok::Lan1("DLP_LAN_RULE_FILE_SIZE", "12") << "kb", HString("File size: 12kb"));
    EXPECT_EQ(Varnok::Lan2("DLP_LAN_RULE_BANK_CARD", "3"), HString("Bank card numbers: 3"));
}

// While no descriptor is to be had the built-in texts hold; later the file is read all the same.
TEST(Language, FileThatCouldNotBeOpenedIsTriedAgain) {
    TempRoot root;
    std::filesystem::create_directories(root / "ini");
    WriteBytes(root / "ini/DLPLanguage.ini", "[Language]\nDLP_LAN_SENSITIVE_YES=ja\n");
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit none = before;
    none.rlim_cur = 0;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    HString const at_first = Varnok::Lan("DLP_LAN_SENSITIVE_YES");
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(at_first, HString("yes"));
    EXPECT_EQ(Varnok::Lan("DLP_LAN_SENSITIVE_YES"), HString("ja"));
}

TEST(Language, UnknownKeyYieldsItself) {
    TempRoot root;
    EXPECT_EQ(Varnok::Lan("DLP_LAN_NONE"), HString("DLP_LAN_NONE"));
    EXPECT_EQ(Varnok::Lan1("DLP_LAN_NONE", "x"), HString("DLP_LAN_NONE"));
    EXPECT_EQ(Varnok::Lan2("", "x"), HString(""));
}

TEST(Language, ValueIsPutInAsItIs) {
    TempRoot root;
    EXPECT_EQ(Varnok::Lan1("DLP_LAN_RULE_FILE_NAME", "100%s %d.txt"), HString("File name: 100%s %d.txt"));
    EXPECT_EQ(Varnok::Lan2("DLP_LAN_RULE_FILE_NAME", "3"), HString("File name: %s"));
}

TEST(Language, FileOverridesTheTextsThatItHolds) {
    TempRoot root;
    Override(root, "[Language]\nDLP_LAN_SENSITIVE_YES=ja\nDLP_LAN_RULE_FILE_MD5=%s (MD5) %s\nDLP_LAN_NONE=x\n");
    EXPECT_EQ(Varnok::Lan("DLP_LAN_SENSITIVE_YES"), HString("ja"));
    EXPECT_EQ(Varnok::Lan("DLP_LAN_SENSITIVE_NO"), HString("no"));
    EXPECT_EQ(Varnok::Lan1("DLP_LAN_RULE_FILE_MD5", "abc"), HString("abc (MD5) %s"));
    EXPECT_EQ(Varnok::Lan("DLP_LAN_NONE"), HString("DLP_LAN_NONE"));
}

TEST(Language, ShippedFileSpeaksChinese) {
    TempRoot root;
    Override(root, ReadBytes(kShipped));
    EXPECT_EQ(Varnok::Lan("DLP_LAN_SENSITIVE_YES"), HString("\xE6\x98\xAF"));
    EXPECT_EQ(Varnok::Lan2("DLP_LAN_RULE_BANK_CARD", "3"), HString("银行卡号：3"));
}

TEST(Language, EachRootHasItsOwnFile) {
    {
        TempRoot root;
        Override(root, "[Language]\nDLP_LAN_SENSITIVE_YES=ja\n");
        EXPECT_EQ(Varnok::Lan("DLP_LAN_SENSITIVE_YES"), HString("ja"));
    }
    TempRoot root;
    EXPECT_EQ(Varnok::Lan("DLP_LAN_SENSITIVE_YES"), HString("yes"));
}

TEST(Language, ThreadsMayAskWhileTheRootChanges) {
    TempRoot root;
    std::vector<std::thread> threads;
    std::vector<int> wrong(4, 0);
    for (int& count : wrong) {
        threads.emplace_back([&count] {
            for (int i = 0; i < 500; ++i)
                count += Varnok::Lan("DLP_LAN_SENSITIVE_NO") == HString("no") ? 0 : 1;
        });
    }
    for (int i = 0; i < 50; ++i)
        Varnok::LocateMgr::pins()->set_root(root.Path());
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, std::vector<int>(4, 0));
}

}  // namespace
