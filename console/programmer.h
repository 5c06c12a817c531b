// The simulated programmer with a device in its socket, worked by the plug-in.
#pragma once

#include "algorithm_directory.h"
#include "blocks.h"
#include "command_line.h"
#include "display.h"
#include "host_calls.h"
#include "outcome.h"
#include "plugin.h"
#include "profile.h"
#include "question.h"
#include "trace.h"
#include "window.h"

#include <cstdint>
#include <optional>
#include <simulator/session_host.h>
#include <span>
#include <string>
#include <vector>

namespace kx3console {

/// How an operation ended, and what it left behind.
struct RunResult {
    std::optional<Failure> failure;
    kx3sim::Mismatches differences;
    std::vector<std::string> log; ///< lines
};

/// The session host of the chip that the options name. Fails when the programmer's libraries cannot be
/// used. Making one switches the programmer on.
[[nodiscard]] kx3sim::SessionHost sessionHostOf(const Options &options, const Profile &profile);

/// Runs operations on the chip of a session host. One at a time.
class Programmer {
  public:
    /// What a run may use besides; each may be null.
    struct Surroundings {
        Trace *trace = nullptr;
        const Window *window = nullptr; ///< where questions without a prepared answer are asked
        bool mayAsk = false;            ///< questions may be put to a person
    };

    /// Fails when the plug-in cannot attach the blocks.
    Programmer(const Options &options, const Profile &profile, kx3sim::SessionHost &host, SharedBlocks &blocks,
               Display &display, const Surroundings &surroundings);

    [[nodiscard]] Plugin &plugin() { return plugin_; }
    /// Run one operation to its end. The process's current directory is another one from the first run
    /// on: options must have absolute paths.
    [[nodiscard]] RunResult run(Operation operation);

  private:
    void begin();
    void prepare(Operation operation);
    void collect();
    void duringYield();
    [[nodiscard]] std::optional<Operation> announcedStep();
    void requestStop();
    void carryOut(Operation operation);
    std::int32_t answer(const std::string &title, const std::string &prompt, std::int32_t style);
    void showLog();

    const Options &options_;
    const Profile &profile_;
    kx3sim::SessionHost &host_;
    SharedBlocks &blocks_;
    Display &display_;
    Surroundings surroundings_;
    Questions questions_;
    std::optional<AlgorithmDirectory> directory_;
    bool begun_ = false;

    // Elements that every yield looks at.
    std::span<std::uint8_t> result_;   ///< prgresult
    std::span<std::uint8_t> mode_;     ///< prgmode
    std::span<std::uint32_t> logText_; ///< MainRtstr
    std::uint32_t shownHandle_ = 0;
    std::u16string shownText_;

    std::uint64_t yields_ = 0;
    std::size_t nextStep_ = 0; ///< of the automatic sequence
    std::string caption_;
    std::vector<std::string> log_;
    HostCalls calls_;
    Plugin plugin_;
};

} // namespace kx3console
