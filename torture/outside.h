// The plug-in's outside components, each call of which can fail.
#pragma once

#include "blocks/sharemap.h"
#include "doorstep/programmer_libraries.h"
#include "faults.h"
#include "outside/clock.h"
#include "outside/ui.h"
#include "simulator/session_host.h"

#include <functional>

namespace kx3::torture {

class FaultyIo final : public ProgrammerIo {
  public:
    Integer usbcomwrite(Byte *packet, Long count) override;
    Integer usbbulkwrite(Byte *data, Long count) override;
    void usbbulkread(Byte *destination, Long count, Byte *state) override;
    std::u16string datstr(Long value, Long digits) override;

    /// One step of time: a read that does not end comes nearer to its failure.
    void advance() noexcept;
    /// A read that was left pending does not write into memory that is gone.
    void forgetPending() noexcept { pending_ = nullptr; }

  private:
    ProgrammerLibraries real_;
    Byte *pending_ = nullptr;
    Byte stateAtEnd_ = 0;
    int steps_ = 0;
};

class FaultyHost final : public SessionHost {
  public:
    explicit FaultyHost(kx3sim::Options options) : real(std::move(options)) {}

    kx3sim::SessionHost real;
    std::span<Byte> report; ///< block `ibuf1`

#define KX3_OPERATION(name, result, parameters, arguments) result name parameters override;
#include "outside/session_host_operations.inc"
};

class FaultyUi final : public Ui {
  public:
    MessageBoxResult messageBox(std::u16string_view prompt, Long style,
                                std::optional<std::u16string_view> title) override;
    void yield() override;
    void showModal(Form &form) override;

    MessageBoxResult usualAnswer = MessageBoxResult::ok;
    int boxes = 0;
    std::function<void()> onYield;           ///< the host's work in a yield
    std::function<void(Byte result)> onStop; ///< the host sets a result code
    std::function<void(Form &)> onModal;     ///< a person's actions on an open form
    std::function<void()> onReenter;         ///< a call into the plug-in from a call of its own
};

class FaultyClock final : public Clock {
  public:
    float secondsSinceMidnight() override;
};

} // namespace kx3::torture
