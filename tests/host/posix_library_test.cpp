// Libraries of a programmer that are not there or lack a function.
#include "base/error.h"
#include "platform/dynamic_library.h"

#include <gtest/gtest.h>

namespace kx3 {
namespace {

Failure failureOf(void (*action)()) {
    try {
        action();
    } catch (...) {
        return describeCurrentException();
    }
    ADD_FAILURE() << "no error";
    return {};
}

TEST(ProgrammerLibrary, WhatIsMissingIsNamed) {
    const Failure function = failureOf([] { (void)platform::DynamicLibrary("kx3io").function<void()>("absent"); });
    EXPECT_EQ(function.number, ErrorNumber::entryPointNotFound);
    EXPECT_EQ(function.description, u"Can't find DLL entry point absent in libkx3io.so");
    const Failure library = failureOf([] { const platform::DynamicLibrary absent("absent"); });
    EXPECT_EQ(library.number, ErrorNumber::fileNotFound);
    EXPECT_EQ(library.description, u"File not found: libabsent.so");
}

} // namespace
} // namespace kx3
