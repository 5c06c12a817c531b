#include "base/text.h"
#include "error_of.h"
#include "texts/string_table.h"

#include <gtest/gtest.h>

namespace kx3::test {
namespace {

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
