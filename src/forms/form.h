// The toolkit-free model of a window: controls with properties, and what a person can do with them.
//
// A form fills itself on load and reacts to events; presenters (native dialogs, the C ABI, the
// console, scripted tests) only show the model and pass on what the person does. Lengths are twips.
#pragma once

#include "base/types.h"
#include "forms/control_facts.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kx3 {

class Form;

enum class ControlKind : Byte { frame, label, comboBox, checkBox, textBox, commandButton };

/// Key codes that a form or the model itself understands.
enum KeyCode : Integer { keyEnd = 35, keyHome = 36, keyLeft = 37, keyRight = 39, keyDelete = 46 };
inline constexpr char16_t charBackspace = 8;

/// Place and size inside the form or frame, in twips, where the design gives one.
struct Bounds {
    Long left = 0;
    Long top = 0;
    Long width = 0;
    Long height = 0;
};

/// One control. Presenters see it read-only; its form changes it by the setters, which mark the form
/// as changed and fire the events that such a change fires.
class Control {
  public:
    Control(Form &form, std::size_t position, ControlKind kind, std::string_view name, Integer index)
        : form_(form), position_(position), kind_(kind), name_(name), index_(index) {}
    Control(const Control &) = delete;
    Control &operator=(const Control &) = delete;

    /// Position in `Form::controls()`.
    [[nodiscard]] std::size_t position() const noexcept { return position_; }
    [[nodiscard]] ControlKind kind() const noexcept { return kind_; }
    [[nodiscard]] const std::string &name() const noexcept { return name_; }
    /// Element of the control array `name`, or `noIndex`.
    [[nodiscard]] Integer index() const noexcept { return index_; }
    /// The frame around the control, or null when it stands on the form itself.
    [[nodiscard]] const Control *parent() const noexcept { return parent_; }
    /// The label beside a field, or null.
    [[nodiscard]] const Control *label() const noexcept { return label_; }
    [[nodiscard]] const std::optional<Bounds> &bounds() const noexcept { return bounds_; }
    /// Frames: number of rows that stand side by side, filled line by line.
    [[nodiscard]] Byte columns() const noexcept { return columns_; }

    [[nodiscard]] const std::u16string &caption() const noexcept { return caption_; }
    /// Text of a text box; of a combo box the selected item, empty when none is selected.
    [[nodiscard]] std::u16string_view text() const noexcept;
    [[nodiscard]] const std::vector<std::u16string> &items() const noexcept;
    /// Selected item, -1 for none.
    [[nodiscard]] Long listIndex() const noexcept { return listIndex_; }
    [[nodiscard]] bool checked() const noexcept { return checked_; }
    /// The control's own setting; `Form::isEnabled` and `Form::isShown` respect the frames, too.
    [[nodiscard]] bool enabled() const noexcept { return enabled_; }
    [[nodiscard]] bool visible() const noexcept { return visible_; }
    /// Text boxes: longest text that a person can enter, 0 for no limit.
    [[nodiscard]] Long maxLength() const noexcept { return maxLength_; }
    [[nodiscard]] Long selectionStart() const noexcept { return selectionStart_; }
    [[nodiscard]] Long selectionLength() const noexcept { return selectionLength_; }
    /// The entry is refused; `Form::message` says why.
    [[nodiscard]] bool marked() const noexcept { return marked_; }
    /// Buttons: pressed by Enter, by Escape.
    [[nodiscard]] bool isDefault() const noexcept { return isDefault_; }
    [[nodiscard]] bool isCancel() const noexcept { return isCancel_; }

    void setParent(const Control *frame) noexcept { parent_ = frame; }
    void setLabel(const Control *label) noexcept { label_ = label; }
    void setBounds(Bounds bounds) noexcept { bounds_ = bounds; }
    void setColumns(Byte columns) noexcept { columns_ = columns; }
    void setDefault() noexcept { isDefault_ = true; }
    void setCancel() noexcept { isCancel_ = true; }
    void setCaption(std::u16string_view caption);
    void setItems(ItemList items);
    void setEnabled(bool enabled) noexcept;
    void setVisible(bool visible) noexcept;
    void setMaxLength(Long maxLength) noexcept;
    void setSelection(Long start, Long length) noexcept;
    /// Select item `index` (-1 none); fires click when that changes it. An index beyond the list is
    /// the invalid-call error.
    void setListIndex(Long index);
    /// Fires click when it changes the state.
    void setChecked(bool checked);
    /// Text of a text box, cut to the maximum length; the caret goes to its start. Fires change when
    /// the text differs from the old one.
    void setText(std::u16string_view text);

  private:
    friend class Form;
    void touch() noexcept;
    void touchStructure() noexcept;
    void replaceText(Long start, Long length, std::u16string_view inserted);

    Form &form_;
    std::size_t position_;
    ControlKind kind_;
    std::string name_;
    Integer index_;
    const Control *parent_ = nullptr;
    const Control *label_ = nullptr;
    std::optional<Bounds> bounds_;
    Byte columns_ = 1;
    std::u16string caption_;
    std::u16string text_;
    ItemList items_;
    Long listIndex_ = -1;
    Long maxLength_ = 0;
    Long selectionStart_ = 0;
    Long selectionLength_ = 0;
    bool checked_ = false;
    bool enabled_ = true;
    bool visible_ = true;
    bool marked_ = false;
    bool isDefault_ = false;
    bool isCancel_ = false;
    std::uint64_t revision_ = 0; ///< the form's, at the control's last change
};

/// A field with its label, or a control that stands alone (then `label` is null).
struct FormRow {
    const Control *label = nullptr;
    const Control *field = nullptr;
};

/// A window: properties, controls in layout and tab order, life and events.
///
/// A person's actions return whether they had an effect; a control that is hidden, disabled or of
/// another kind, and a form that is not loaded, refuse. An action never throws: an exception of an
/// event handler unloads the form and is kept for `rethrowFailure`.
class Form {
  public:
    explicit Form(std::string_view name, StartPosition startPosition = StartPosition::centerScreen)
        : name_(name), startPosition_(startPosition) {}
    Form(const Form &) = delete;
    Form &operator=(const Form &) = delete;
    virtual ~Form() = default;

    [[nodiscard]] const std::string &name() const noexcept { return name_; }
    [[nodiscard]] const std::u16string &caption() const noexcept { return caption_; }
    [[nodiscard]] StartPosition startPosition() const noexcept { return startPosition_; }
    /// Design-time client area (left and top 0) where there is one; else the content decides.
    [[nodiscard]] const std::optional<Bounds> &clientArea() const noexcept { return clientArea_; }
    /// Why the last OK was refused, in one line; empty when it was not.
    [[nodiscard]] const std::u16string &message() const noexcept { return message_; }
    /// The control with the focus; null leaves it to the presenter (the first one that takes it).
    [[nodiscard]] const Control *focus() const noexcept { return focus_; }
    /// Counts every change of the form or a control; a presenter refreshes when it differs.
    [[nodiscard]] std::uint64_t revision() const noexcept { return revision_; }
    /// The revision that last changed the structure: captions, lists, what is shown, or the message.
    [[nodiscard]] std::uint64_t structureRevision() const noexcept { return structureRevision_; }
    /// The revision that last changed the control or a frame around it.
    [[nodiscard]] std::uint64_t revisionOf(const Control &control) const noexcept;
    /// Counts the loads; controls of another load are gone.
    [[nodiscard]] std::uint64_t generation() const noexcept { return generation_; }

    /// Controls in layout and tab order, a frame before its content. They stay readable after the
    /// unload, up to the next load.
    [[nodiscard]] const std::deque<Control> &controls() const noexcept { return controls_; }
    /// The control of that name and index, or null.
    [[nodiscard]] const Control *find(std::string_view name, Integer index = noIndex) const noexcept;
    [[nodiscard]] const Control *defaultButton() const noexcept;
    [[nodiscard]] const Control *cancelButton() const noexcept;
    /// Whether the control and all frames around it are visible, are enabled.
    [[nodiscard]] bool isShown(const Control &control) const noexcept;
    [[nodiscard]] bool isEnabled(const Control &control) const noexcept;
    /// Shown rows that stand directly in `frame` (null: on the form itself), in order. An inner frame
    /// is a row of its own.
    [[nodiscard]] std::vector<FormRow> rows(const Control *frame) const;

    /// Whether the form is open. A modal presenter runs its loop while this holds.
    [[nodiscard]] bool loaded() const noexcept { return loaded_; }
    /// Whether the default button has closed the form.
    [[nodiscard]] bool accepted() const noexcept { return accepted_; }
    /// Build the controls and fill them. A loaded form refuses with the invalid-call error; an error
    /// while loading leaves the form unloaded.
    void load();
    /// Close the form; ends modality.
    void unload() noexcept;
    /// Throw the exception that ended the form, once. Whoever had the form shown calls this.
    void rethrowFailure();

    /// Select item `index` of a combo box.
    bool choose(const Control &control, Long index) noexcept;
    /// Press a command button or toggle a check box.
    bool click(const Control &control) noexcept;
    bool check(const Control &control, bool checked) noexcept;
    /// A key goes down in a text box: the handler may swallow it; else Delete, Left, Right, Home and
    /// End act. True when the key is dealt with, false leaves it to the presenter.
    bool keyDown(const Control &control, Integer keyCode) noexcept;
    /// A character arrives at a text box: the handler may cancel it; else Backspace deletes and a
    /// printable character replaces the selection. A full box takes no further character.
    bool keyPress(const Control &control, char16_t character) noexcept;
    /// Press the key of each character in turn; false when one of them had no effect.
    bool type(const Control &control, std::u16string_view characters) noexcept;
    /// Replace the selection by `text`, past the key filter, cut to the maximum length.
    bool paste(const Control &control, std::u16string_view text) noexcept;
    /// Select `length` characters from `start` (cut to the text); length 0 places the caret.
    bool selectText(const Control &control, Long start, Long length) noexcept;
    bool setFocus(const Control &control) noexcept;
    /// Close by the window's frame.
    bool close() noexcept;

  protected:
    /// Add a control behind the others. `caption` is a frame's, label's, check box's or button's.
    Control &add(ControlKind kind, std::string_view name, Integer index = noIndex, std::u16string_view caption = {},
                 const Control *parent = nullptr);
    /// The control of that name and index, for the form's own code. Raises "internal" when missing.
    [[nodiscard]] Control &control(std::string_view name, Integer index = noIndex);
    /// A control of this form, for the form's own code.
    [[nodiscard]] Control &mutableControl(const Control &control) noexcept { return controls_[control.position_]; }
    void setCaption(std::u16string_view caption);
    void setClientArea(Long width, Long height) noexcept { clientArea_ = Bounds{0, 0, width, height}; }
    /// Mark `box`, give `focus` the focus and show `message`.
    void refuse(Control &box, const Control &focus, std::u16string message) noexcept;
    /// Take back the message and all marks.
    void clearRefusal() noexcept;

    /// Events. Code that changes a check box, list or text fires them like a person does.
    virtual void onLoad() = 0;
    virtual void onClick(Control & /*control*/) {}
    virtual void onChange(Control & /*control*/) {}
    /// Set `character` to 0 to cancel it.
    virtual void onKeyPress(Control & /*control*/, char16_t & /*character*/) {}
    /// Set `keyCode` to 0 to swallow it.
    virtual void onKeyDown(Control & /*control*/, Integer & /*keyCode*/) {}

  private:
    friend class Control;
    template <class Action> bool act(const Control &control, ControlKind kind, Action action) noexcept;
    template <class Action> bool guarded(Action action) noexcept;
    [[nodiscard]] bool owns(const Control &control) const noexcept;
    static bool moveCaret(Control &box, Integer keyCode) noexcept;
    static bool enter(Control &box, std::u16string_view inserted);
    std::uint64_t touch() noexcept { return ++revision_; }
    void touchStructure() noexcept { structureRevision_ = touch(); }

    std::string name_;
    StartPosition startPosition_;
    std::u16string caption_;
    std::optional<Bounds> clientArea_;
    std::deque<Control> controls_;
    const Control *focus_ = nullptr;
    std::u16string message_;
    std::exception_ptr failure_;
    std::uint64_t revision_ = 0;
    std::uint64_t structureRevision_ = 0;
    std::uint64_t generation_ = 0;
    bool loaded_ = false;
    bool accepted_ = false;
};

/// Closes a form at the end of a scope, however that is left.
class UnloadAtEnd {
  public:
    explicit UnloadAtEnd(Form &form) noexcept : form_(form) {}
    UnloadAtEnd(const UnloadAtEnd &) = delete;
    UnloadAtEnd &operator=(const UnloadAtEnd &) = delete;
    ~UnloadAtEnd() { form_.unload(); }

  private:
    Form &form_;
};

} // namespace kx3
