// Libraries of a programmer that are not there or lack a function.
#include "error_of.h"
#include "platform/dynamic_library.h"

#include <gtest/gtest.h>

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

} // namespace
} // namespace kx3::test
