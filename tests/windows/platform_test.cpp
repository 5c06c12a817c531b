// The system seam where this system differs: the engine's own tests, which also run here, hold the rest.

#include "host/error_of.h"
#include "platform/dynamic_library.h"
#include "platform/named_memory.h"
#include "platform/strings.h"
#include "platform/system.h"
#include "platform/win32/unique_handle.h"
#include "platform/win32/wide.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace kx3::platform {
namespace {

using test::errorOf;
using test::failureOf;

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
        EXPECT_EQ(errorOf([h = handle] { (void)readString({h}); }), ErrorNumber::invalidCall) << name;
        freeString({handle}); // leaves it alone
    }
    ::UnmapViewOfFile(view);
    ::VirtualFree(page, 0, MEM_RELEASE);
}

TEST(Libraries, FunctionsAreFoundByPlainAndDecoratedNameAndWhatIsMissingIsNamed) {
    using Twice = Long KX3_STDCALL(Long);
    const DynamicLibrary library("kx3testlib");
    EXPECT_EQ(library.function<Twice>("plain")(21), 42);
    EXPECT_EQ(library.function<Twice>("decorated")(21), 63);
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
        const auto failure = failureOf([&] { (void)DynamicLibrary(c.name).function<void()>("absent"); });
        ASSERT_TRUE(failure);
        EXPECT_EQ(failure->number, c.number);
        EXPECT_EQ(failure->description, c.description);
    }
}

TEST(Files, OnlyRegularFilesHaveALengthAndAFolderHasNoSeparatorAtItsEnd) {
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
    ASSERT_TRUE(::SetCurrentDirectoryW(L"C:\\"));
    EXPECT_EQ(currentDirectory(), u"C:");
    ASSERT_TRUE(::SetCurrentDirectoryW(wide(folder)));
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
