// What may stand where a file is to be read.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <sys/fsuid.h>
#include <sys/stat.h>

namespace kx3::test {

/// Call `expectRejected` for each thing at `path` that cannot be read as a file; nothing is there in the end.
inline void forEachUnreadableFile(const std::filesystem::path &path, const std::function<void()> &expectRejected) {
    const std::pair<const char *, std::function<void()>> obstacles[] = {
        {"missing", [] {}},
        {"a folder", [&] { std::filesystem::create_directory(path); }},
        {"a pipe that nobody writes to", [&] { ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0); }},
        {"a link to itself", [&] { std::filesystem::create_symlink(path.filename(), path); }},
        {"no permission",
         [&] {
             std::ofstream(path) << "content";
             std::filesystem::permissions(path, std::filesystem::perms::none);
         }},
    };
    constexpr uid_t somebody = 65534;
    for (const auto &[name, put] : obstacles) {
        SCOPED_TRACE(name);
        put();
        const int self = ::setfsuid(somebody); // the superuser has every permission
        expectRejected();
        ::setfsuid(static_cast<uid_t>(self));
        std::filesystem::remove(path);
    }
}

} // namespace kx3::test
