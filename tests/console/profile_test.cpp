#include "profile.h"

#include <gtest/gtest.h>
#include <set>

namespace kx3console {
namespace {

constexpr std::string_view device = R"(
[devices.ONE]
model_type = 60
size = 0x8000
block_size = 0x8000
algorithm_folder = "f"
algorithm_file = "a"
)";

ProfileStore storeOf(std::string_view text) {
    ProfileStore store;
    store.add(text, "text");
    return store;
}

TEST(SampleProfiles, NameEveryEntryInTheirComment) {
    for (const ProfileField &field : profileTable)
        EXPECT_NE(sampleProfiles().find(field.key), std::string_view::npos) << field.key;
}

TEST(ProfileTable, HasEachKeyAndEachElementOnce) {
    std::set<std::string_view> keys;
    std::set<std::pair<std::string_view, std::int32_t>> elements;
    for (const ProfileField &field : profileTable) {
        EXPECT_TRUE(keys.insert(field.key).second) << field.key;
        if (field.kind == ValueKind::integer && field.required == Required::never) {
            EXPECT_TRUE(field.low <= field.standard && field.standard <= field.high) << field.key;
        }
        for (std::size_t i = 0; i < field.most && !field.block.empty(); ++i)
            EXPECT_TRUE(elements.emplace(field.block, field.element + static_cast<std::int32_t>(i)).second)
                << field.key;
    }
}

TEST(Profiles, EntriesLeftOutHaveTheirStandardValues) {
    const ProfileStore store = storeOf(device);
    const Profile &profile = store.find("ONE");
    EXPECT_EQ(profile.integer(Field::vcc), 330);
    EXPECT_EQ(profile.integer(Field::id_test), 0);
    EXPECT_EQ(profile.text(Field::maker), "");
    EXPECT_TRUE(profile.bytes(Field::configuration).empty());
    EXPECT_EQ(profile.dataBytes(), 0x8000);
    EXPECT_EQ(profile.place, "text:2");
}

TEST(Profiles, ALaterOneReplacesAnEarlierOneInItsPlace) {
    ProfileStore store = storeOf(std::string(device) + R"(
[devices.TWO]
model_type = 80
size = 0x10
block_size = 0x10
algorithm_folder = "f"
algorithm_file = "a"
)");
    store.add(std::string(device) + "id_test = true\nground_pins = [3, 4]\n", "other");
    ASSERT_EQ(store.all().size(), 2u);
    EXPECT_EQ(store.all()[0].place, "other:2");
    EXPECT_EQ(store.all()[0].integer(Field::id_test), -1);
    EXPECT_EQ(store.all()[0].bytes(Field::ground_pins)[1], 4);
    EXPECT_EQ(store.all()[1].name, "TWO");
}

} // namespace
} // namespace kx3console
