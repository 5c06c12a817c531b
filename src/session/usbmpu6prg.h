// The programming-session window, for the non-ARM devices.
#pragma once

#include "context/context.h"
#include "forms/form.h"
#include "outside/ui.h"

#include <string>

namespace kx3 {

/// Runs the device operations of the non-ARM devices by announcing them to the host, which carries
/// them out while the window yields and leaves a result code in `prgresult`(0). The plug-in never
/// shows the window; its captions and its stop button are there for a host that does.
class usbmpu6prg final : public Form {
  public:
    explicit usbmpu6prg(Context &context);

    /// Perform one complete session and unload the window, also when an error ends the session. The
    /// outcome stands in `prgresult`(0) and the progress log.
    void wmpu0();

  private:
    enum class PowerUp : Byte { done, startRefused, chipRefused };
    enum class IdTest : Byte { goOn, aborted };
    struct ChipId {
        Byte maker, device1, device2;
    };

    void onLoad() override;
    void onClick(Control &control) override;

    void runSession();
    [[nodiscard]] PowerUp prgpowerup();
    void connectPower();

    [[nodiscard]] bool identifierAllowsOperations();
    [[nodiscard]] IdTest prgidtest();
    [[nodiscard]] ChipId readChipId();
    [[nodiscard]] bool isExpected(const ChipId &id) const;
    [[nodiscard]] std::u16string describe(const ChipId &id) const;
    [[nodiscard]] MessageBoxResult askAboutIdentifier(std::u16string_view identifier);

    void runOperations();
    void runSequence(Byte count);
    [[nodiscard]] bool userGoesOn();
    void signalOutcome();

    void prgstep(Integer operation);
    void clearLongLog();
    void showInCaption(std::u16string_view text);
    void logResult(Integer operation);
    [[nodiscard]] ResultCode result() const;
    void setResult(ResultCode code);

    Context &context_;
    bool ranOperation_ = false; ///< in this session
};

} // namespace kx3
