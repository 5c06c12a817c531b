// Checked integers, text helpers, error descriptions and the table of texts.
#include "base/checked.h"
#include "base/text.h"
#include "error_of.h"
#include "texts/string_table.h"

#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <stdexcept>
#include <variant>

namespace kx3::test {
namespace {

constexpr Long lowest = std::numeric_limits<Long>::min();
constexpr Long highest = std::numeric_limits<Long>::max();

TEST(Checked, EveryOperationFitsOrRaises) {
    const auto overflow = ErrorNumber::overflow, division = ErrorNumber::divisionByZero;
    struct Case {
        std::function<Checked(Checked, Checked)> operation;
        Long a, b;
        std::variant<Long, ErrorNumber> result;
    };
    const std::plus<Checked> plus;
    const std::minus<Checked> minus;
    const std::multiplies<Checked> times;
    const std::divides<Checked> by;
    const std::modulus<Checked> rest;
    const Case cases[] = {
        {plus, highest - 1, 1, highest},
        {plus, highest, 1, overflow},
        {minus, lowest, 1, overflow},
        {minus, -1, highest, lowest},
        {times, 46341, 46341, overflow},
        {times, -65536, 32768, lowest},
        {by, lowest, -1, overflow},
        {by, -7, 2, -3},
        {by, 7, 0, division},
        {rest, -7, 2, -1},
        {rest, lowest, -1, 0},
        {rest, 7, 0, division},
    };
    for (const Case &c : cases) {
        std::variant<Long, ErrorNumber> result;
        const auto error = errorOf([&] { result = c.operation(c.a, c.b).value(); });
        if (error) result = *error;
        EXPECT_EQ(result, c.result) << c.a << ' ' << c.b;
    }
}

TEST(Checked, NarrowingStoresTestTheirWidth) {
    EXPECT_EQ(narrow<Byte>(255), 255);
    EXPECT_EQ(narrow<Integer>(-32768), -32768);
    for (const Long value : {-1, 256})
        EXPECT_EQ(errorOf([&] { (void)Checked(value).toByte(); }), ErrorNumber::overflow) << value;
    EXPECT_EQ(errorOf([] { (void)narrow<Integer>(32768); }), ErrorNumber::overflow);
}

TEST(Checked, ADoubleBecomesTheNearestLongTiesToEven) {
    const std::pair<Double, Long> fits[] = {{0.5, 0},
                                            {1.5, 2},
                                            {2.5, 2},
                                            {362.99999999999994, 363},
                                            {-0.5, 0},
                                            {-1.5, -2},
                                            {2147483647.25, highest},
                                            {-2147483648.5, lowest}};
    for (const auto &[value, expected] : fits)
        EXPECT_EQ(roundToLong(value), expected) << value;
    using Limits = std::numeric_limits<Double>;
    for (const Double value :
         {2147483647.5, -2147483649.0, 1e300, Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN()})
        EXPECT_EQ(errorOf([&] { (void)roundToLong(value); }), ErrorNumber::overflow) << value;
}

TEST(Text, NumbersInTheirForms) {
    EXPECT_EQ(hex(0), u"0");
    EXPECT_EQ(hex(0x1AF), u"1AF");
    EXPECT_EQ(hex(-2), u"FFFFFFFE");
    EXPECT_EQ(decimal(lowest), u"-2147483648");

    const std::pair<Double, std::u16string_view> twoDecimalCases[] = {
        {0, u"0.00"},         {0.125, u"0.13"},   {0.0625, u"0.06"}, {1.999, u"2.00"},
        {86400, u"86400.00"}, {-0.125, u"-0.13"}, {-0.001, u"0.00"}};
    for (const auto &[value, expected] : twoDecimalCases)
        EXPECT_EQ(twoDecimals(value), expected) << value;

    const std::pair<Long, std::u16string_view> hundredthsCases[] = {
        {363, u"3.63"}, {330, u"3.3"}, {500, u"5"}, {5, u"0.05"}, {0, u"0"}, {-50, u"-0.5"}, {lowest, u"-21474836.48"}};
    for (const auto &[value, expected] : hundredthsCases)
        EXPECT_EQ(hundredths(value), expected) << value;
}

TEST(Text, ConvertsBothWaysAndTrimsBlanksOnly) {
    EXPECT_EQ(trimBlanks(u"  \ta b\t "), u"\ta b\t");
    EXPECT_EQ(trimBlanks(u"   "), u"");
    for (const std::u16string_view text : {u"", u"a\u007F", u"\u0080\u07FF", u"\u0800\uFFFD", u"\U00010000\U0010FFFF"})
        EXPECT_EQ(fromUtf8(toUtf8(text)), text);
    EXPECT_EQ(toUtf8(u"\u00E9\u4FE1\U0001F600"), "\xC3\xA9\xE4\xBF\xA1\xF0\x9F\x98\x80");
}

TEST(Text, IllFormedSequencesBecomeReplacementCharacters) {
    const std::pair<std::string_view, std::u16string_view> fromCases[] = {
        {"a\x80z", u"a\uFFFDz"},                           // a tail alone
        {"\xC0\xAF", u"\uFFFD\uFFFD"},                     // longer than needed
        {"\xE0\x80\x80", u"\uFFFD\uFFFD\uFFFD"},           // the same with three bytes
        {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"},           // a surrogate
        {"\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"}, // beyond the last character
        {"\xF8z", u"\uFFFDz"},
        {"\xE4\xBF", u"\uFFFD\uFFFD"}, // cut off
        {"\xE4z", u"\uFFFDz"},
        {"\xE4zz", u"\uFFFDzz"}, // no tail
    };
    for (const auto &[utf8, expected] : fromCases)
        EXPECT_EQ(fromUtf8(utf8), expected) << testing::PrintToString(utf8);
    constexpr char16_t unpaired[] = {u'a', 0xD800, u'b', 0xDC00, 0xD801, 0xE000, 0xD801, 0};
    EXPECT_EQ(toUtf8(unpaired), "a\xEF\xBF\xBD"
                                "b\xEF\xBF\xBD\xEF\xBF\xBD\xEE\x80\x80\xEF\xBF\xBD");
}

TEST(Error, EveryExceptionHasANumberAndADescription) {
    const auto describe = [](auto exception) { return failureOf([&] { throw exception; }).value(); };
    EXPECT_EQ(describe(Error(ErrorNumber::deviceIo, u"cable")).number, ErrorNumber::deviceIo);
    EXPECT_EQ(describe(Error(ErrorNumber::deviceIo, u"cable")).description, u"cable");
    EXPECT_EQ(describe(std::bad_alloc()).description, u"Out of memory");
    EXPECT_EQ(describe(std::runtime_error("odd")).description, u"Internal error: odd");
    EXPECT_EQ(describe(42).number, ErrorNumber::internal);
}

TEST(StringTable, TextsKeepTheirBlanksTabsAndBackslashes) {
    struct Sample {
        Long language, id;
        std::u16string_view text;
    };
    const Sample samples[] = {
        {0, 1066, u"Warning! "},
        {3000, 1010, u"配置位\\用户ID编辑"},
        {6000, 1278, u"晶片識別碼錯誤!\t"},
        {9000, 1273, u"Disable "},
        {12000, 1152, u"h Dane bufora:"},
        {15000, 1066, u"Warning! "},
        {18000, 2005, u"Programma\t"},
        {21000, 1281, u" Chip         Buffer\t"},
        {24000, 1149, u">> Endereço Dispositivo:"},
        {27000, 1010, u"Konfigürasyonu Düzenle\\Kullanıcı_Kodu"},
        {30000, 1066, u"Figyelem "},
        {33000, 2005, u" Программирование чипа"},
    };
    for (const Sample &s : samples)
        EXPECT_EQ(stringTableText(s.language, s.id), s.text) << s.language << '+' << s.id;
}

TEST(StringTable, AnUnknownLanguageOrTextIsAnErrorThatNamesTheIdentifier) {
    // 1927 + 75 and 1500 + 502 would hit a text of the first block.
    const std::tuple<Long, Long, std::u16string_view> cases[] = {
        {36000, 1066, u"37066"},
        {-3000, 1066, u"-1934"},
        {1500, 502, u"2002"},
        {1927, 75, u"2002"},
        {0, 1069, u"1069"},
        {0, 2025, u"2025"},
        {INT32_MAX, 1066, u"2147484713"},
        {INT32_MIN, 1066, u"-2147482582"},
    };
    for (const auto &[language, id, identifier] : cases) {
        const std::optional<Failure> failure = failureOf([&, l = language, i = id] { (void)stringTableText(l, i); });
        ASSERT_TRUE(failure) << language << '+' << id << " was found";
        EXPECT_EQ(failure->number, ErrorNumber::resourceNotFound);
        EXPECT_EQ(failure->description, join(u"Resource with identifier '", identifier, u"' not found"));
    }
}

} // namespace
} // namespace kx3::test
