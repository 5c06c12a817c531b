// The plug-in's outside components, each call of which can fail.
#pragma once

#include "injector.h"
#include "outside/clock.h"
#include "outside/programmer_io.h"
#include "doorstep/programmer_libraries.h"
#include "outside/ui.h"
#include "simulator/session_host.h"

#include <functional>
#include <memory>

namespace kx3::torture {

/// What the faults of several components need of the scene around them.
class Scene {
  public:
    virtual ~Scene() = default;
    virtual sharemap &hostBlocks() = 0;
    /// The host's work in a yield.
    virtual void duringYield() = 0;
    /// A person's actions on an open form.
    virtual void actOn(Form &form) = 0;
    /// Call into the plug-in from a call of its own.
    virtual void reenter() = 0;
};

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
    FaultyHost(std::shared_ptr<kx3sim::SessionHost> real, Scene &scene) : real_(std::move(real)), scene_(scene) {}

    void EndOperation() override;
    void SetVcc(Long millivolts) override;
    void SetGndPin(Byte pin, Byte state) override;
    void PowerStep(Long step) override;
    void SignalPass(Long value) override;
    void SignalFail(Long value) override;
    [[nodiscard]] Long StartCheck() override;
    void Delay(Long milliseconds) override;
    [[nodiscard]] bool PollStatus(Long request) override;
    void ReportStartFailure() override;
    [[nodiscard]] Long PrepareChip(Byte figmode) override;
    [[nodiscard]] Long PrepareDevice32f(Byte figmode, Byte zero) override;
    [[nodiscard]] Long PrepareDevice(Byte figmode, Byte zero) override;
    [[nodiscard]] Long CompareWord(Byte low, Byte high, Long address, Long mode, Long mask) override;
    [[nodiscard]] Long CompareByte(Byte data, Long address, Long mode) override;
    void AlgorithmLoaded(Long length) override;

  private:
    std::shared_ptr<kx3sim::SessionHost> real_;
    Scene &scene_;
};

class FaultyUi final : public Ui {
  public:
    explicit FaultyUi(Scene &scene) : scene_(scene) {}
    MessageBoxResult messageBox(std::u16string_view prompt, Long style,
                                std::optional<std::u16string_view> title) override;
    void yield() override;
    void showModal(Form &form) override;

    MessageBoxResult usualAnswer = MessageBoxResult::ok;
    int boxes = 0;

  private:
    Scene &scene_;
};

class FaultyClock final : public Clock {
  public:
    float secondsSinceMidnight() override;
};

} // namespace kx3::torture
