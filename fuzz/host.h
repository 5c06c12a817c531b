// A plug-in on fakes whose blocks start each run alike.
#pragma once

#include "input.h"
#include "rig/apartment.h"

#include <filesystem>
#include <fstream>

namespace kx3::fuzz {

class Host {
  public:
    static constexpr Long bufferLength = 0x4000;

    Host() {
        t.attach(bufferLength);
        for (const char *file : {"algo4/f/d.alg", "algo/f/d.bin"}) {
            std::filesystem::create_directories((folder_ / file).parent_path());
            std::ofstream(folder_ / file) << "algorithm";
        }
        std::filesystem::current_path(folder_);
        t.host.selmode(0) = 0x40;
        t.host.figvol(1) = 1;
        t.host.wordmode(0) = 1;
        t.host.tlength(0) = 0x100;
        t.host.ramlg(0) = 0x100;
        for (std::uint32_t i = 0; i < t.host.ibuffer.count(); ++i)
            image_.push_back(static_cast<Byte>(i * 7));
#define KX3_BLOCK(member, root, type, count, bytes) saved_.push_back(copyOf(t.host.member));
#include "blocks/block_table.inc"
#undef KX3_BLOCK
    }
    ~Host() {
        std::error_code ignored;
        std::filesystem::current_path("/", ignored);
        std::filesystem::remove_all(folder_, ignored);
    }
    Host(const Host &) = delete;
    Host &operator=(const Host &) = delete;

    /// All blocks as they were, texts included.
    void reset() {
        std::size_t next = 0;
#define KX3_BLOCK(member, root, type, count, bytes) put(t.host.member, saved_[next++]);
#include "blocks/block_table.inc"
#undef KX3_BLOCK
        std::ranges::copy(image_, t.host.ibuffer.range(0, static_cast<Long>(image_.size())).begin());
        storeText(t.host.algorithm, 1, u"f");
        storeText(t.host.algorithm, 2, u"d");
        t.ui->boxes.clear();
        t.sessionHost->calls.clear();
        t.ui->yields = 0;
    }
    [[nodiscard]] std::vector<Byte> buffer() {
        const std::span<Byte> all = t.host.ibuffer.range(0, static_cast<Long>(t.host.ibuffer.count()));
        return {all.begin(), all.end()};
    }
    /// Run `call`; only the plug-in's own errors may come out.
    template <class Call> static bool succeeds(Call call) {
        try {
            call();
            return true;
        } catch (const Error &) {
            return false;
        }
    }

    test::TestApartment t;

  private:
    template <class T> static std::vector<std::byte> copyOf(Array<T> &block) {
        constexpr std::uint32_t mostElements = 300;
        if (block.count() > mostElements) return {};
        const auto bytes = std::as_bytes(block.range(0, static_cast<Long>(block.count())));
        return {bytes.begin(), bytes.end()};
    }
    template <class T> static void put(Array<T> &block, const std::vector<std::byte> &bytes) {
        if (!bytes.empty())
            std::ranges::copy(bytes, std::as_writable_bytes(block.range(0, static_cast<Long>(block.count()))).begin());
    }
    /// A text block gets empty texts, so that no handle is left over.
    static void put(Array<String> &block, const std::vector<std::byte> & /*bytes*/) {
        for (Long i = 0; i < static_cast<Long>(block.count()); ++i)
            if (block(i).handle != 0) try {
                    storeText(block, i, {});
                } catch (const Error &) {
                    block(i) = String{}; // a handle that was never one
                }
    }

    std::filesystem::path folder_ = std::filesystem::temp_directory_path() / ("kx3-fuzz" + std::to_string(::getpid()));
    std::vector<std::vector<std::byte>> saved_;
    std::vector<Byte> image_;
};

/// The process's host.
inline Host &host() {
    static Host instance;
    return instance;
}

} // namespace kx3::fuzz
