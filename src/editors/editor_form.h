// The one form behind all editor dialogs: it loads, composes and writes what a description says.
#pragma once

#include "editors/layout.h"
#include "forms/form.h"

#include <cstdint>
#include <string>
#include <vector>

namespace kx3 {

struct Context;
struct EditorDescription;

/// An editor dialog. What it depends on (device, addresses, bytes) is read once, by the load; OK
/// writes to the same places.
class EditorForm final : public Form {
  public:
    EditorForm(const Context &context, const EditorDescription &editor);

    /// Mode of the next load.
    void setMode(Byte mode) noexcept { mode_ = mode; }
    /// Take back what the load has written, for a form that could not be shown.
    void undoLoad();

  protected:
    void onLoad() override;
    void onClick(Control &control) override;
    void onChange(Control &control) override;
    void onKeyPress(Control &control, char16_t &character) override;
    void onKeyDown(Control &control, Integer &keyCode) override;

  private:
    void addFrames(std::vector<Control *> &frames);
    void addField(const Field &field, Control &frame);
    void addButtons();
    void readBytes();
    void showField(const Field &field, Control &control);
    void mirrorByte();
    void enableFollowers(const Control &checkBox);

    void acceptEntries();
    [[nodiscard]] bool refuseBadEntry();
    [[nodiscard]] std::u16string complaint(const Field &field) const;
    [[nodiscard]] std::vector<Byte> compose() const;
    void composeField(const Field &field, const Control &control, std::vector<Byte> &values) const;
    void write(const std::vector<Byte> &values);

    [[nodiscard]] Byte bitsOf(const Field &field) const;
    [[nodiscard]] std::uint32_t numberOf(const Field &field) const;
    [[nodiscard]] const Field *fieldOf(const Control &control) const noexcept;
    [[nodiscard]] Long address(const ConfigByte &byte) const;

    const Context &context_;
    const EditorDescription &editor_;
    Byte mode_ = 0;
    DeviceTraits device_;
    bool chinese_ = false;
    EditorLayout layout_;
    std::vector<Control *> controls_; ///< beside `layout_.fields`
    std::vector<Byte> loaded_;        ///< beside `layout_.bytes`
    Byte mirroredBefore_ = 0;         ///< the mirrored byte's copy before the load
};

} // namespace kx3
