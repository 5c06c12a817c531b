#include "error_of.h"
#include "texts/string_table.h"

#include <gtest/gtest.h>

#include <string>

namespace kx3 {
namespace {

constexpr Long allIds[] = {1010, 1066, 1067, 1068, 1095, 1149, 1150, 1151, 1152, 1210, 1240, 1273,
                           1274, 1278, 1281, 1282, 1284, 1293, 2002, 2003, 2005, 2006, 2008, 2024};
constexpr Long english = 0;
constexpr Long defaultLanguage = 15000;

TEST(StringTable, EveryLanguageHasEveryText) {
    for (Long language = 0; language < languageCount * languageStep; language += languageStep)
        for (const Long id : allIds)
            EXPECT_FALSE(stringTableText(language, id).empty()) << language << '+' << id;
}

TEST(StringTable, TheDefaultLanguageIsEnglish) {
    for (const Long id : allIds)
        EXPECT_EQ(stringTableText(defaultLanguage, id), stringTableText(english, id)) << id;
}

TEST(StringTable, TextsKeepTheirBlanksTabsAndBackslashes) {
    struct Sample {
        Long language, id;
        std::u16string_view text;
    };
    const Sample samples[] = {
        {0, 1066, u"Warning! "},
        {0, 1284, u"   Data Memory:"},
        {3000, 1240, u"信息"},
        {3000, 1010, u"配置位\\用户ID编辑"},
        {6000, 1278, u"晶片識別碼錯誤!\t"},
        {6000, 2006, u"晶片加密"},
        {9000, 1273, u"Disable "},
        {9000, 1274, u"Enable "},
        {12000, 1152, u"h Dane bufora:"},
        {18000, 2005, u"Programma\t"},
        {21000, 1281, u" Chip         Buffer\t"},
        {24000, 1149, u">> Endereço Dispositivo:"},
        {27000, 1010, u"Konfigürasyonu Düzenle\\Kullanıcı_Kodu"},
        {30000, 1066, u"Figyelem "},
        {33000, 2005, u" Программирование чипа"},
        {33000, 1152, u"Буфер данных H: "},
    };
    for (const Sample &s : samples)
        EXPECT_EQ(stringTableText(s.language, s.id), s.text) << s.language << '+' << s.id;
}

TEST(StringTable, AnUnknownLanguageOrTextIsAnErrorThatNamesTheIdentifier) {
    struct Case {
        Long language, id;
        std::u16string_view identifier;
    };
    // 1927 + 75 and 1500 + 502 would hit a text of the first block.
    const Case cases[] = {{36000, 1066, u"37066"},
                          {-3000, 1066, u"-1934"},
                          {1500, 502, u"2002"},
                          {1927, 75, u"2002"},
                          {1, 1065, u"1066"},
                          {0, 1069, u"1069"},
                          {0, 2025, u"2025"},
                          {0, -1, u"-1"},
                          {33000, 4066, u"37066"},
                          {INT32_MAX, 1066, u"2147484713"},
                          {INT32_MIN, 1066, u"-2147482582"}};
    for (const Case &c : cases) {
        try {
            (void)stringTableText(c.language, c.id);
            ADD_FAILURE() << c.language << '+' << c.id << " was found";
        } catch (const Error &error) {
            EXPECT_EQ(error.number(), ErrorNumber::resourceNotFound);
            EXPECT_EQ(error.description(),
                      std::u16string(u"Resource with identifier '").append(c.identifier).append(u"' not found"));
        }
    }
}

} // namespace
} // namespace kx3
