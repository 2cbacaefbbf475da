#include "host/base/Utf8Units.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

std::u16string ToUnits(std::string_view narrow) {
    std::u16string units;
    Varnok::AppendUnits(units, narrow);
    return units;
}

std::string ToNarrow(std::u16string_view units) {
    std::string narrow;
    Varnok::AppendNarrow(narrow, units);
    return narrow;
}

struct Pair {
    std::string_view narrow;
    std::u16string_view units;
};

constexpr Pair kWellFormed[] = {
    {"", u""},
    {"a", u"a"},
    {"\x7F", u"\x7F"},
    {"\xC2\x80", u"\x80"},
    {"\xDF\xBF", u"\x7FF"},
    {"\xE0\xA0\x80", u"\x800"},
    {"\xED\x9F\xBF", u"\xD7FF"},
    {"\xEE\x80\x80", u"\xE000"},
    {"\xEF\xBF\xBF", u"\xFFFF"},
    {"\xF0\x90\x80\x80", u"\xD800\xDC00"},
    {"\xF4\x8F\xBF\xBF", u"\xDBFF\xDFFF"},
};

// Each byte of what is not UTF-8 becomes a unit of its own.
constexpr Pair kIllFormed[] = {
    {"\x80", u"\xDC80"},
    {"\xFF", u"\xDCFF"},
    {"\xC0\x80", u"\xDCC0\xDC80"},                      // overlong
    {"\xC1\xBF", u"\xDCC1\xDCBF"},                      // overlong
    {"\xE0\x9F\xBF", u"\xDCE0\xDC9F\xDCBF"},            // overlong
    {"\xF0\x8F\xBF\xBF", u"\xDCF0\xDC8F\xDCBF\xDCBF"},  // overlong
    {"\xED\xA0\x80", u"\xDCED\xDCA0\xDC80"},            // a surrogate
    {"\xED\xBF\xBF", u"\xDCED\xDCBF\xDCBF"},            // a surrogate
    {"\xF4\x90\x80\x80", u"\xDCF4\xDC90\xDC80\xDC80"},  // above U+10FFFF
    {"\xF5\x80\x80\x80", u"\xDCF5\xDC80\xDC80\xDC80"},  // no first byte
    {"\xE4\xB8", u"\xDCE4\xDCB8"},                      // cut off
    {"\xE4\xB8z", u"\xDCE4\xDCB8z"},                    // broken off
    {"a\xC3", u"a\xDCC3"},                              // cut off
    {"\xF0\x9F\x98", u"\xDCF0\xDC9F\xDC98"},            // cut off
};

TEST(Utf8Units, WellFormedTextMapsBothWays) {
    for (Pair const& pair : kWellFormed) {
        EXPECT_EQ(ToUnits(pair.narrow), pair.units);
        EXPECT_EQ(ToNarrow(pair.units), pair.narrow);
    }
}

TEST(Utf8Units, BytesThatAreNotUtf8BecomeLoneUnitsAndComeBack) {
    for (Pair const& pair : kIllFormed) {
        EXPECT_EQ(ToUnits(pair.narrow), pair.units);
        EXPECT_EQ(ToNarrow(pair.units), pair.narrow);
    }
}

TEST(Utf8Units, OtherLoneSurrogatesBecomeTheirThreeBytes) {
    EXPECT_EQ(ToNarrow(u"\xD800"), "\xED\xA0\x80");
    EXPECT_EQ(ToNarrow(u"\xD83Dx"), "\xED\xA0\xBDx");
    EXPECT_EQ(ToNarrow(u"\xDC7F"), "\xED\xB1\xBF");
    EXPECT_EQ(ToNarrow(u"\xDFFF"), "\xED\xBF\xBF");
}

TEST(Utf8Units, AppendingKeepsWhatIsThere) {
    std::u16string units = u"x";
    Varnok::AppendUnits(units, "yz");
    EXPECT_EQ(units, u"xyz");
    std::string narrow = "x";
    Varnok::AppendNarrow(narrow, u"yz");
    EXPECT_EQ(narrow, "xyz");
}

TEST(Utf8Units, NonAsciiAtEveryPlaceOfABlock) {
    for (std::size_t place = 0; place < 40; ++place) {
        std::string const narrow = std::string(place, 'a') + "\xC3\xA9" + std::string(40 - place, 'b');
        std::u16string const units = std::u16string(place, u'a') + u"\u00E9" + std::u16string(40 - place, u'b');
        ASSERT_EQ(ToUnits(narrow), units);
        ASSERT_EQ(ToNarrow(units), narrow);
    }
}

TEST(Utf8Units, AUnitAboveFfIsNotTakenForAscii) {
    for (std::size_t place = 0; place < 8; ++place) {
        std::u16string units(8, u'a');
        units[place] = u'\x4E61';  // its low byte is a letter
        std::string narrow(8, 'a');
        narrow.replace(place, 1, "\xE4\xB9\xA1");
        ASSERT_EQ(ToNarrow(units), narrow);
    }
}

TEST(Utf8Units, CopyNarrowNeverWritesBehindItsRoom) {
    std::u16string const units = u"aaaaaaaaaaaaaaaa\u4E2Dbbbb";
    for (std::size_t capacity = 0; capacity < 23; ++capacity) {
        std::string room(32, '#');
        EXPECT_EQ(Varnok::CopyNarrow(units, room.data(), capacity), capacity + 1);
        EXPECT_EQ(room.substr(capacity), std::string(32 - capacity, '#'));
    }
    std::string room(32, '#');
    EXPECT_EQ(Varnok::CopyNarrow(units, room.data(), 23), 23U);
    EXPECT_EQ(room,
              "aaaaaaaaaaaaaaaa\xE4\xB8\xAD"
              "bbbb#########");
}

}  // namespace
