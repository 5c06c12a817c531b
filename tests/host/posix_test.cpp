// What the engine asks of a POSIX system: named memory where blocks are files, with their lifetime and files that are
// no blocks of ours; the time of day; and libraries that are not there or lack a function.
#include "blocks/mem_mapped.h"
#include "blocks/sharemap.h"
#include "error_of.h"
#include "platform/dynamic_library.h"
#include "platform/system.h"
#include "rig/fakes.h"
#include "rig/own_blocks.h"

#include <gtest/gtest.h>

#include <csignal>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>

namespace kx3 {
namespace {

namespace fs = std::filesystem;
using test::blockFile;
using test::blockFiles;
using test::useOwnNamespace;

class PosixNamedMemory : public testing::Test {
  protected:
    PosixNamedMemory() { useOwnNamespace(); }
    ~PosixNamedMemory() override {
        for (const fs::path &file : blockFiles())
            fs::remove(file);
    }
};

/// Another process that holds a block of instance 0 until it is killed.
class OtherHost {
  public:
    OtherHost() : process_(::fork()) {
        if (process_ == 0) hold();
        int state = 0;
        EXPECT_EQ(::waitpid(process_, &state, WUNTRACED), process_);
        EXPECT_TRUE(WIFSTOPPED(state)) << "it holds the block";
    }
    ~OtherHost() { kill(); }
    OtherHost(const OtherHost &) = delete;
    OtherHost &operator=(const OtherHost &) = delete;

    void kill() {
        if (process_ <= 0) return;
        ::kill(process_, SIGKILL);
        ::waitpid(process_, nullptr, 0);
        process_ = 0;
    }

  private:
    [[noreturn]] static void hold() {
        clsMemMapped block;
        if (!block.OpenAndMapMemoryBlock("tamselibuf10", 400)) ::_exit(1);
        *static_cast<Byte *>(block.BaseAddress()) = 0xAB;
        for (;;)
            ::raise(SIGSTOP);
    }
    pid_t process_;
};

TEST_F(PosixNamedMemory, OnlyTheUserCanOpenABlockAndTheLastCloseRemovesIt) {
    clsMemMapped first, second;
    ASSERT_TRUE(first.OpenAndMapMemoryBlock("tamselA", 40) && second.OpenAndMapMemoryBlock("tamselA", 40));
    struct stat status {};
    ASSERT_EQ(::stat(blockFile("tamselA").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    first.UnMapFile();
    EXPECT_EQ(blockFiles().size(), 1U);
    second.UnMapFile();
    EXPECT_EQ(blockFiles().size(), 0U);
}

TEST_F(PosixNamedMemory, ALivingHostIsSeen) {
    OtherHost host;
    EXPECT_EQ(clsMemMapped::findnum(), 1);
    EXPECT_EQ(platform::createMappingExclusively("tamselibuf10", 400), 0);
    clsMemMapped block;
    ASSERT_TRUE(block.OpenAndMapMemoryBlock("tamselibuf10", 400));
    host.kill();
    EXPECT_EQ(*static_cast<Byte *>(block.BaseAddress()), 0xAB) << "this process still holds it";
    EXPECT_EQ(clsMemMapped::findnum(), 1);
}

TEST_F(PosixNamedMemory, AKilledHostLeavesNothing) {
    OtherHost host;
    host.kill();
    EXPECT_EQ(blockFiles().size(), 1U) << "its file is there, but nobody holds it";
    EXPECT_EQ(clsMemMapped::findnum(), 0);
    EXPECT_EQ(blockFiles().size(), 0U);
    OtherHost next;
    next.kill();
    const platform::MappingHandle taken = platform::createMappingExclusively("tamselibuf10", 400);
    ASSERT_NE(taken, 0);
    EXPECT_EQ(*static_cast<Byte *>(platform::mapView(taken)), 0);
    platform::closeMapping(taken);
}

TEST_F(PosixNamedMemory, NamesThatAreNoPlainFileNamesAreRefused) {
    clsMemMapped block;
    for (const std::string &name : {std::string("a/b"), std::string("tamsel A"), std::string("tamsel.A"),
                                    std::string("tamsel\xC3\xA4"), std::string(201, 'a'), std::string("tamsel\0A", 8)})
        EXPECT_FALSE(block.OpenAndMapMemoryBlock(name, 40)) << name;
    EXPECT_TRUE(block.OpenAndMapMemoryBlock(std::string(200, 'a'), 40));
    ::setenv("KX3MPU6_NAMESPACE", "../up", 1);
    EXPECT_FALSE(block.OpenAndMapMemoryBlock("tamselA", 40));
}

TEST_F(PosixNamedMemory, AReplacedBlockIsTheOldOneUntilTheNextAttach) {
    test::FakeUi ui;
    sharemap blocks;
    blocks.MapSharedBlocks(1, ui);
    fs::remove(blockFile("tamselibuf11"));
    const int replacement = ::open(blockFile("tamselibuf11").c_str(), O_CREAT | O_RDWR, 0600);
    ASSERT_EQ(::flock(replacement, LOCK_SH), 0); // its owner lives
    ASSERT_EQ(::ftruncate(replacement, 65536), 0);
    blocks.ibuf1(0) = 0x11;
    Byte there = 1;
    EXPECT_EQ(::pread(replacement, &there, 1, 0), 1);
    EXPECT_EQ(there, 0) << "the replacement is untouched";
    blocks.MapSharedBlocks(1, ui);
    EXPECT_EQ(blocks.ibuf1(0), 0);
    blocks.ibuf1(0) = 0x22;
    EXPECT_EQ(::pread(replacement, &there, 1, 0), 1);
    EXPECT_EQ(there, 0x22);
    EXPECT_TRUE(ui.boxes.empty());
    blocks.UnmapSharedBlocks();
    EXPECT_EQ(blockFiles().size(), 1U) << "its owner still holds it";
    ::close(replacement);
}

TEST_F(PosixNamedMemory, ViewsThatAreNoneAreRefused) {
    int own = 0;
    EXPECT_EQ(platform::mapView(0), nullptr);
    EXPECT_EQ(platform::viewSize(0, &own), 0U);
    EXPECT_FALSE(platform::unmapView(0, &own));
    const platform::MappingHandle block = platform::createMapping("tamselA", 40);
    ASSERT_NE(block, 0);
    EXPECT_EQ(platform::viewSize(block, nullptr), 0U);
    EXPECT_FALSE(platform::unmapView(block, &own)) << "nothing is mapped yet";
    void *view = platform::mapView(block);
    EXPECT_FALSE(platform::unmapView(block, nullptr));
    EXPECT_FALSE(platform::unmapView(block, &own));
    EXPECT_TRUE(platform::unmapView(block, view));
    platform::closeMapping(block);
}

void writeFile(const fs::path &path) { std::ofstream(path) << std::string(8192, 'x'); }

TEST_F(PosixNamedMemory, WhateverStandsInTheWayTheOtherBlocksAreAttached) {
    const struct {
        const char *name;
        void (*put)(const fs::path &);
        bool attaches; ///< nobody holds it, so that it counts as a dead host's
    } obstacles[] = {
        {"a file that nobody holds", writeFile, true},
        {"an empty file that nobody holds", [](const fs::path &path) { std::ofstream{path}; }, true},
        {"a folder", [](const fs::path &path) { fs::create_directory(path); }, false},
        {"a symbolic link", [](const fs::path &path) { fs::create_symlink("/dev/null", path); }, false},
        {"a pipe", [](const fs::path &path) { ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0); }, false},
        {"another user's file",
         [](const fs::path &path) {
             writeFile(path);
             if (::chown(path.c_str(), 65534, 65534) != 0) GTEST_SKIP() << "only the superuser can give a file away";
         },
         false},
    };
    const fs::path path = blockFile("tamselbvcc1");
    for (const auto &obstacle : obstacles) {
        SCOPED_TRACE(obstacle.name);
        obstacle.put(path);
        if (IsSkipped()) return;
        {
            test::FakeUi ui;
            sharemap blocks;
            blocks.MapSharedBlocks(1, ui);
            EXPECT_EQ(ui.boxes.size(), obstacle.attaches ? 0U : 1U);
            EXPECT_EQ(blocks.bvcc.count(), obstacle.attaches ? 4U : 1U);
            EXPECT_EQ(blocks.bvcc(0), 0);
            EXPECT_EQ(blocks.bvcch.count(), 4U);
        }
        EXPECT_EQ(fs::exists(fs::symlink_status(path)), !obstacle.attaches) << "what is not ours stays";
        fs::remove(path);
        EXPECT_EQ(blockFiles().size(), 0U);
    }
}

TEST_F(PosixNamedMemory, AHeldFileWithoutBytesIsNoBlock) {
    const fs::path path = blockFile("tamselA");
    std::ofstream{path};
    const int holder = ::open(path.c_str(), O_RDWR);
    ASSERT_EQ(::flock(holder, LOCK_SH), 0);
    clsMemMapped block;
    EXPECT_FALSE(block.OpenAndMapMemoryBlock("tamselA", 40));
    EXPECT_FALSE(block.OpenAndMapMemoryBlock("tamselB", 0));
    EXPECT_TRUE(block.OpenAndMapMemoryBlock("tamselB", 40)) << "the handle without a view does not stay in the way";
    ::close(holder);
}

TEST(ProgrammerLibrary, WhatIsMissingIsNamed) {
    const auto function = test::failureOf([] { (void)platform::DynamicLibrary("kx3io").function<void()>("absent"); });
    ASSERT_TRUE(function);
    EXPECT_EQ(function->number, ErrorNumber::entryPointNotFound);
    EXPECT_EQ(function->description, u"Can't find DLL entry point absent in libkx3io.so");
    const auto library = test::failureOf([] { const platform::DynamicLibrary absent("absent"); });
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
} // namespace kx3
