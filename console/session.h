// Running operations through the plug-in.
#pragma once

#include "announcements.h"
#include "blocks.h"
#include "display.h"
#include "host_callbacks.h"
#include "outcome.h"
#include "prepared_answers.h"
#include "trace.h"
#include "window.h"

#include <kx3mpu6.h>
#include <memory>
#include <simulator/session_host.h>
#include <string>
#include <vector>

namespace kx3console {

/// What an operation left behind.
struct RunResult {
    Evidence evidence;
    std::vector<std::string> log; ///< lines
};

/// The plug-in attached to the blocks of this host, with its callbacks in place. One at a time.
class Session {
  public:
    struct Settings {
        bool mayAsk = false; ///< questions may be put to a person
        AnswerSettings answers;
        bool chipFileUsed = false;
        bool hostDriven = false; ///< the plug-in announces operations, and this host carries them out
        Trace *trace = nullptr;
        const Window *window = nullptr; ///< where questions without a prepared answer are asked
    };

    /// Fails when the plug-in cannot attach the blocks.
    Session(SharedBlocks &blocks, kx3sim::SessionHost &host, Display &display, const Settings &settings);
    ~Session();
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;

    /// Write the default configuration bytes of the device into the device buffer.
    void initialiseConfiguration();
    /// Run one operation to its end.
    [[nodiscard]] RunResult run(Operation operation);

  private:
    static kx3_status yield(void *context);
    static kx3_status messageBox(void *context, const std::uint16_t *prompt, std::size_t promptLength,
                                 std::int32_t style, const std::uint16_t *title, std::size_t titleLength,
                                 std::int32_t *button);

    void duringYield();
    void requestStop();
    void carryOut(std::uint8_t operation);
    std::int32_t answer(const std::string &title, const std::string &prompt, std::int32_t style);
    void showLog();
    void showLogText(const std::u16string &text);

    struct Release {
        void operator()(kx3_mpu *mpu) const noexcept;
    };

    SharedBlocks &blocks_;
    kx3sim::SessionHost &host_;
    Display &display_;
    Settings settings_;

    // Elements that every yield looks at.
    std::span<std::uint8_t> result_;   ///< prgresult
    std::span<std::uint8_t> mode_;     ///< prgmode
    std::span<std::uint32_t> logText_; ///< MainRtstr
    Announcements announcements_;
    PreparedAnswers answers_;
    std::uint32_t shownHandle_ = 0;
    std::u16string shownText_;

    std::uint64_t yields_ = 0;
    std::string caption_;
    RunResult current_;
    HostCalls calls_;
    std::unique_ptr<kx3_mpu, Release> mpu_;
};

} // namespace kx3console
