#include "base/text.h"
#include "error_of.h"
#include "texts/string_table.h"

#include <gtest/gtest.h>

namespace kx3::test {
namespace {

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
