// The time of day, and libraries of a programmer that are not there or lack a function.
#include "error_of.h"
#include "platform/dynamic_library.h"
#include "platform/system.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

namespace kx3::test {
namespace {

TEST(ProgrammerLibrary, WhatIsMissingIsNamed) {
    const auto function = failureOf([] { (void)platform::DynamicLibrary("kx3io").function<void()>("absent"); });
    ASSERT_TRUE(function);
    EXPECT_EQ(function->number, ErrorNumber::entryPointNotFound);
    EXPECT_EQ(function->description, u"Can't find DLL entry point absent in libkx3io.so");
    const auto library = failureOf([] { const platform::DynamicLibrary absent("absent"); });
    ASSERT_TRUE(library);
    EXPECT_EQ(library->number, ErrorNumber::fileNotFound);
    EXPECT_EQ(library->description, u"File not found: libabsent.so");
}

TEST(Clock, GivesTheLocalTimeOfDay) {
    constexpr std::time_t day = 86400;
    ::setenv("TZ", "XYZ-05:21:17", 1);
    ::tzset();
    const std::time_t before = std::time(nullptr) + 5 * 3600 + 21 * 60 + 17;
    const double passed = static_cast<double>(platform::secondsSinceMidnight()) - static_cast<double>(before % day);
    EXPECT_TRUE((passed > -1 && passed < 10) || passed < 10 - static_cast<double>(day)) << passed;
    ::unsetenv("TZ");
    ::tzset();
}

} // namespace
} // namespace kx3::test
