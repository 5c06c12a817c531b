#include "profile.h"

#include "failure.h"

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

TEST(SampleProfiles, HaveHostDrivenDevicesOfSeveralFamilies) {
    const ProfileStore store = storeOf(sampleProfiles());
    std::set<std::int64_t> families;
    for (const Profile &profile : store.all())
        if (profile.isHostDriven()) families.insert(profile.integer(Field::family));
    EXPECT_EQ(families, (std::set<std::int64_t>{3, 15, 30, 50, 55}));
}

TEST(SampleProfiles, HaveDevicesOfBothDriversAndWidths) {
    const ProfileStore store = storeOf(sampleProfiles());
    std::set<std::pair<bool, std::int64_t>> kinds;
    for (const Profile &profile : store.all())
        if (!profile.isHostDriven())
            kinds.emplace(profile.integer(Field::model_type) >= 74, profile.integer(Field::bytes_per_address));
    EXPECT_EQ(kinds.size(), 4u);
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

TEST(Profiles, EachKindOfDeviceNeedsItsEntries) {
    struct Case {
        std::string text;
        std::string_view message;
    };
    const std::string hostDriven = "[devices.ONE]\nmodel_type = 50\nselection = 0\nsize = 0x400\n";
    const Case cases[] = {
        {hostDriven + "eeprom_size = 64\n", ""},
        {"[devices.ONE]\nmodel_type = 50\nsize = 0x400\n", "no entry \"block_size\""},
        {std::string(device) + "eeprom_size = 64\n", "know no EEPROM"},
    };
    for (const Case &c : cases) {
        std::string message;
        try {
            static_cast<void>(storeOf(c.text));
        } catch (const Failure &failure) {
            message = failure.message();
        }
        EXPECT_EQ(message.empty(), c.message.empty()) << message;
        EXPECT_NE(message.find(c.message), std::string::npos) << message;
    }
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

TEST(Profiles, NearestNamesComeFirst) {
    const ProfileStore store = storeOf(sampleProfiles());
    try {
        static_cast<void>(store.find("arm60-8m"));
        FAIL() << "names are exact";
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.code(), Exit::usage);
        EXPECT_NE(failure.advice().find("are: ARM60-8M, "), std::string::npos) << failure.advice();
    }
}

} // namespace
} // namespace kx3console
