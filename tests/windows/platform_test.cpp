#include "base/error.h"
#include "blocks/safe_array.h"
#include "blocks/sharemap.h"
#include "platform/dynamic_library.h"
#include "platform/named_memory.h"
#include "platform/strings.h"
#include "platform/system.h"
#include "platform/win32/unique_handle.h"
#include "platform/win32/wide.h"
#include "windows/suite.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <oleauto.h>
#include <vector>

namespace kx3::platform {
namespace {

using namespace std::string_literals;
using test::failureOf;

TEST(NamedMemory, ExclusiveCreationGivesWayToEveryHolder) {
    const MappingHandle first = createMappingExclusively("kx3test-life", 40);
    ASSERT_NE(first, 0);
    EXPECT_EQ(createMappingExclusively("kx3test-life", 40), 0);
    const MappingHandle second = createMapping("kx3test-life", 40);
    EXPECT_NE(second, 0);
    closeMapping(first);
    EXPECT_EQ(createMappingExclusively("kx3test-life", 40), 0) << "the second holder keeps it";
    closeMapping(second);
    EXPECT_EQ(openMapping("kx3test-life"), 0);
}

TEST(NamedMemory, OnlyMemoryThatCanBeWrittenCountsAsView) {
    const UniqueHandle block(
        ::CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE | SEC_RESERVE, 0, 8192, "kx3test-reserved"));
    const MappingHandle mapping = openMapping("kx3test-reserved");
    void *view = mapView(mapping);
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(viewSize(mapping, view), 0U);
    ASSERT_NE(::VirtualAlloc(view, 4096, MEM_COMMIT, PAGE_READWRITE), nullptr);
    EXPECT_EQ(viewSize(mapping, view), pageSize);
    EXPECT_TRUE(unmapView(mapping, view));
    closeMapping(mapping);
    EXPECT_EQ(viewSize(0, reinterpret_cast<const void *>(&viewSize)), 0U) << "program text";
}

TEST(Strings, TextsOfTheAutomationAllocatorGoBothWays) {
    const String ours = allocateString(u"a\0\u4E2D"s);
    EXPECT_EQ(::SysStringLen(reinterpret_cast<BSTR>(ours.handle)), 3U);
    EXPECT_EQ(readString(ours), u"a\0\u4E2D"s);
    freeString(ours);
    const String empty = allocateString({});
    EXPECT_NE(empty.handle, 0U);
    EXPECT_EQ(readString(empty), u"");
    freeString(empty);
}

TEST(Strings, HandleThatIsNoTextOfThisProcessIsAnError) {
    const UniqueHandle block(::CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 4096, nullptr));
    void *view = ::MapViewOfFile(block.get(), FILE_MAP_ALL_ACCESS, 0, 0, 0);
    void *page = ::VirtualAlloc(nullptr, 8192, MEM_RESERVE, PAGE_READWRITE);
    ASSERT_NE(::VirtualAlloc(page, 4096, MEM_COMMIT, PAGE_READWRITE), nullptr);
    const auto base = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(page));
    auto *words = static_cast<std::uint32_t *>(page);
    words[0] = 4096; // runs out of the page
    words[8] = 2;    // no terminator behind
    words[9] = 0xFFFFFFFF;
    words[16] = 0xFFFFFFFE; // longer than any text
    const std::pair<const char *, std::uint32_t> cases[] = {
        {"small number", 1},
        {"low page", 0x1000},
        {"kernel's half", 0xFFFFFFFC},
        {"odd address", base + 37},
        {"view of a block", static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(view)) + 4},
        {"program text", static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(&readString)) & ~1U},
        {"page without memory", base + 4096 + 4},
        {"length beyond the page", base + 4},
        {"no terminator", base + 36},
        {"negative length", base + 68},
    };
    for (const auto &[name, handle] : cases) {
        EXPECT_EQ(failureOf([h = handle] { (void)readString({h}); }).number, ErrorNumber::invalidCall) << name;
        freeString({handle}); // leaves it alone
    }
    ::UnmapViewOfFile(view);
    ::VirtualFree(page, 0, MEM_RELEASE);
}

TEST(SafeArray, RealArrayIsBoundAndGivenBackUnchanged) {
    SAFEARRAYBOUND bounds[2] = {{3, -1}, {5, 7}};
    SAFEARRAY *real = ::SafeArrayCreate(VT_I4, 2, bounds);
    const auto *bytes = reinterpret_cast<Byte *>(real);
    const std::vector<Byte> before(bytes, bytes + sizeof(SAFEARRAY) + sizeof(SAFEARRAYBOUND));
    Long elements[4] = {};
    {
        clsSafeArray binder;
        auto *descriptor = reinterpret_cast<ArrayDescriptor *>(real);
        binder.AttachToArray(Variant::ofArrayVariable(&descriptor, VT_I4));
        EXPECT_EQ(binder.CountOfElements(1), 5) << "the last dimension is stored first";
        EXPECT_EQ(binder.LowerBound(2), -1);
        EXPECT_EQ(::SafeArrayDestroy(real), DISP_E_ARRAYISLOCKED);
        binder.Dimensions(1);
        binder.CountOfElements(1, 4);
        binder.LowerBound(1, 0);
        binder.PointerToData(elements);
        LONG index = 3;
        LONG value = 77;
        EXPECT_EQ(::SafeArrayPutElement(real, &index, &value), S_OK);
        EXPECT_EQ(elements[3], 77);
    }
    EXPECT_EQ(std::memcmp(before.data(), real, before.size()), 0);
    EXPECT_EQ(::SafeArrayDestroy(real), S_OK);
}

TEST(Libraries, FunctionsAreFoundByPlainAndDecoratedName) {
    using Twice = Long KX3_STDCALL(Long);
    const DynamicLibrary library("kx3testlib");
    EXPECT_EQ(library.function<Twice>("plain")(21), 42);
    EXPECT_EQ(library.function<Twice>("decorated")(21), 63);
}

TEST(Libraries, WhatIsMissingIsNamed) {
    const struct {
        const char *name;
        ErrorNumber number;
        std::u16string_view description;
    } cases[] = {
        {"kx3testlib", ErrorNumber::entryPointNotFound, u"Can't find DLL entry point absent in kx3testlib.dll"},
        {"kx3absent", ErrorNumber::fileNotFound, u"File not found: kx3absent.dll"},
        {"kx3broken", ErrorNumber::loadLibrary, u"Error in loading DLL: kx3broken.dll"},
    };
    for (const auto &c : cases) {
        const Failure failure = failureOf([&] { (void)DynamicLibrary(c.name).function<void()>("absent"); });
        EXPECT_EQ(failure.number, c.number);
        EXPECT_EQ(failure.description, c.description);
    }
}

TEST(Files, OnlyRegularFilesHaveALength) {
    const std::u16string folder = currentDirectory();
    const std::u16string path = folder + u"\\kx3\u00E9\u4E2D.bin";
    std::ofstream(std::filesystem::path(path), std::ios::binary) << "abc";
    EXPECT_EQ(regularFileLength(path), 3U);
    Byte bytes[4] = {};
    EXPECT_TRUE(readFile(path, std::span(bytes, 3)));
    EXPECT_EQ(bytes[2], 'c');
    EXPECT_FALSE(readFile(path, bytes)) << "shorter than asked";
    EXPECT_TRUE(::DeleteFileW(wide(path)));
    const UniqueHandle pipe = fileHandle(
        ::CreateNamedPipeW(L"\\\\.\\pipe\\kx3test", PIPE_ACCESS_DUPLEX, PIPE_TYPE_BYTE, 1, 64, 64, 0, nullptr));
    const std::u16string others[] = {path, folder, u"NUL", u"\\\\.\\pipe\\kx3test"};
    for (const std::u16string &other : others)
        EXPECT_EQ(regularFileLength(other), std::nullopt);
}

TEST(Files, FolderHasNoSeparatorAtItsEnd) {
    const std::u16string before = currentDirectory();
    EXPECT_NE(before.back(), u'\\');
    ASSERT_TRUE(::SetCurrentDirectoryW(L"C:\\"));
    EXPECT_EQ(currentDirectory(), u"C:");
    ASSERT_TRUE(::SetCurrentDirectoryW(wide(before)));
}

TEST(TimeOfDay, CountsFromLocalMidnight) {
    SYSTEMTIME now{};
    ::GetLocalTime(&now);
    const float expected = static_cast<float>((now.wHour * 60 + now.wMinute) * 60 + now.wSecond);
    const float got = secondsSinceMidnight();
    EXPECT_TRUE((got >= expected && got < expected + 60) || got < 60) << got << " after " << expected;
}

} // namespace
} // namespace kx3::platform
