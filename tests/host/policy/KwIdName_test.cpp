#include "host/policy/KwIdName.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>

namespace {

using Varnok::FileNameToId;
using Varnok::IdToFileName;

HString Units(std::u16string units) {
    return HString(std::move(units));
}
HString const kUntouched("untouched");

struct IdAndName {
    std::u16string id;
    char const* name;  // UTF-8
};

IdAndName const kIdsAndNames[] = {
    // Ordinary ids stay as they are.
    {u"T1", "T1"},
    {u"{5A6F-11} my template", "{5A6F-11} my template"},
    {u"\u6A21\u677F \u00E9", "\xE6\xA8\xA1\xE6\x9D\xBF \xC3\xA9"},
    {u"\xD83D\xDE00", "\xF0\x9F\x98\x80"},
    {u"a.b..", "a.b.."},
    {u"uD800", "uD800"},
    // What would lead elsewhere, or nowhere, does not.
    {u"", "%"},
    {u".", "%2E"},
    {u"..", "%2E."},
    {u".hidden", "%2Ehidden"},
    {u"/", "%2F"},
    {u"a/b", "a%2Fb"},
    {u"../../x", "%2E.%2F..%2Fx"},
    {u"%", "%25"},
    {u"%25", "%2525"},
    {u"\n", "%0A"},
    {std::u16string(1, u'\0'), "%00"},
    {u"\x1F \x7F\x80", "%1F %7F\xC2\x80"},
    // A surrogate without its partner, as bytes that are not UTF-8 become.
    {u"\xDC80", "%uDC80"},
    {u"\xD800", "%uD800"},
    {u"\xDBFFx\xDFFF", "%uDBFFx%uDFFF"},
    {u"\xD800\xD83D\xDE00", "%uD800\xF0\x9F\x98\x80"},
    {u"\xDCC3\xDCA9", "%uDCC3%uDCA9"},
};

TEST(KwIdName, IdsBecomeTheNamesOfTheRules) {
    for (IdAndName const& row : kIdsAndNames)
        EXPECT_EQ(IdToFileName(Units(row.id)).get_str(), row.name);
}

TEST(KwIdName, NamesBecomeTheirIdsAgain) {
    for (IdAndName const& row : kIdsAndNames) {
        HString id = kUntouched;
        EXPECT_TRUE(FileNameToId(HString(row.name), id)) << row.name;
        EXPECT_EQ(id, Units(row.id)) << row.name;
    }
}

TEST(KwIdName, RefusesEveryNameThatNoIdHas) {
    char const* const names[] = {
        "",
        ".",
        "..",
        ".x",
        "a/b",
        "/",
        "\n",
        "a\x7F",  // units that need an escape
        "%%",
        "a%",
        "%2",
        "%2g",
        "%u",
        "%uDC8",
        "%uDC8x",
        "%U0041",  // broken escapes
        "%2f",
        "%udc80",
        "%0a",  // lower-case digits
        "%41",
        "a%2E",
        "%u0041",
        "%uE000",
        "%u002F",
        "%20",           // escapes that are not needed
        "%uD83D%uDE00",  // a pair needs none either
        "\xFF",          // a raw byte needs one
    };
    for (char const* name : names) {
        HString id = kUntouched;
        EXPECT_FALSE(FileNameToId(HString(name), id)) << name;
        EXPECT_TRUE(id.empty()) << name;
    }
}

constexpr std::u16string_view kHostileUnits(u"/%.u2FDC80\0\n\x7F\xDC80\xD800\xDBFF\xDFFF\u00E9\xDCC3\xDCA9", 20);

bool IsOneComponent(std::string const& name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos &&
           name.find('\0') == std::string::npos;
}

// Calls `visit` with every text of up to `longest` units of the alphabet.
template <class Visit>
void ForEachText(std::u16string_view alphabet, std::size_t longest, std::u16string& text, Visit const& visit) {
    visit(text);
    if (text.size() == longest) return;
    for (char16_t const unit : alphabet) {
        text += unit;
        ForEachText(alphabet, longest, text, visit);
        text.pop_back();
    }
}

// That the way back finds each id again also shows that no two ids share a name; through the narrow form, as the file
// system has it.
TEST(KwIdName, EveryHostileIdIsOneComponentAndComesBack) {
    std::u16string text;
    ForEachText(kHostileUnits, 4, text, [](std::u16string const& units) {
        std::string const name = IdToFileName(Units(units)).get_str();
        HString id = kUntouched;
        ASSERT_TRUE(IsOneComponent(name));
        ASSERT_TRUE(FileNameToId(HString(name), id)) << name;
        ASSERT_EQ(id.view(), units) << name;
    });
}

TEST(KwIdName, IdsThatDifferNeverShareAName) {
    std::map<std::string, std::u16string> owners;
    std::u16string text;
    ForEachText(u"/%.uDC80\xDC80\xD800\xDFFF\u00E9", 3, text, [&](std::u16string const& units) {
        auto const [owner, fresh] = owners.emplace(IdToFileName(Units(units)).get_str(), units);
        ASSERT_TRUE(fresh) << owner->first;
    });
    EXPECT_EQ(owners.size(), 1U + 12 + 12 * 12 + 12 * 12 * 12);
}

TEST(KwIdName, ANameIsAcceptedExactlyWhenItIsTheNameOfItsId) {
    unsigned const seed = std::random_device()();
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    std::uniform_int_distribution<std::size_t> unit(0, kHostileUnits.size() - 1);
    std::uniform_int_distribution<int> length(0, 12);
    for (int round = 0; round < 50000; ++round) {
        std::u16string units;
        for (int left = length(random); left > 0; --left)
            units += kHostileUnits[unit(random)];
        HString const name = Units(units);
        HString id;
        if (FileNameToId(name, id)) {
            ASSERT_EQ(IdToFileName(id), name);
        } else {
            ASSERT_TRUE(id.empty());
        }
    }
}

}  // namespace
