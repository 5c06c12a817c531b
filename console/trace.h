// A record of every call that crosses the plug-in's border, for bug reports.
#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <initializer_list>
#include <kx3mpu6.h>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

namespace kx3console {

/// Writes JSON lines that tell the protocol's story. Nothing in them depends on time, place or
/// process, so that equal runs give equal traces. Yields, repeated status reports and comparisons are
/// counted, not listed.
class Trace {
  public:
    /// Fails with Exit::failed when the file cannot be written.
    explicit Trace(const std::filesystem::path &path);
    ~Trace();
    Trace(const Trace &) = delete;
    Trace &operator=(const Trace &) = delete;

    void begun(int operation, std::string_view device);
    void yield() { ++yields_; }
    /// A call of the session host other than the next two; `names` of the arguments is "(pin, state)".
    void hostCall(const char *name, std::string_view names, std::initializer_list<std::int64_t> arguments,
                  std::optional<std::int64_t> result);
    void poll(bool arrived, std::span<const std::uint8_t> report);
    void compare(const char *name, std::int32_t address, bool stops);
    /// A yield in which the host carried out the announced operation; `result` is its result code.
    void carriedOut(int operation, std::string_view name, int result);
    void io(const kx3_io_call &call);
    void messageBox(std::string_view title, std::string_view prompt, std::int32_t style, std::int32_t button);
    /// The plug-in's call has returned. False when the trace could not be written in whole.
    [[nodiscard]] bool ended(std::string_view result);

  private:
    struct Pending;
    struct Close {
        void operator()(std::FILE *file) const noexcept { static_cast<void>(std::fclose(file)); }
    };

    void flush();
    template <class Json> void write(const Json &line);

    std::unique_ptr<std::FILE, Close> file_;
    std::unique_ptr<Pending> pending_;
    std::uint64_t yields_ = 0;
    bool complete_ = true;
};

} // namespace kx3console
