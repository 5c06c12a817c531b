#include "dialog.h"

#include "base/text.h"

#include <algorithm>
#include <fmt/format.h>
#include <utility>

namespace kx3console::config {

namespace {

void require(kx3_status status, std::string_view what) {
    if (status != KX3_OK) throw pluginFailure(what);
}

/// A form that is being shown.
class OpenForm {
  public:
    explicit OpenForm(kx3_form *form) : form_(form) {}

    [[nodiscard]] std::int32_t controlOf(const Field &field) const {
        std::int32_t control = -1;
        require(kx3_form_find(form_, field.control.c_str(), field.controlIndex, &control), "looking for a field");
        return control;
    }

    [[nodiscard]] kx3_control_info at(std::int32_t control) const {
        kx3_control_info info{};
        require(kx3_form_control(form_, control, &info), "looking at a field");
        return info;
    }
    [[nodiscard]] kx3_control_info at(const Field &field) const { return at(controlOf(field)); }

    [[nodiscard]] FieldState stateOf(const Field &field) const {
        const kx3_control_info info = at(field);
        return {info.list_index, info.checked != 0, textOf(info.text), info.enabled != 0 && info.visible != 0};
    }

    /// Make an entry; false when the control takes none now.
    [[nodiscard]] bool enter(const Assignment &assignment) const {
        const Field &field = *assignment.field;
        const std::int32_t control = controlOf(field);
        const kx3_control_info info = at(control);
        if (info.enabled == 0 || info.visible == 0) return false;
        switch (field.kind) {
        case KX3_FIELD_LIST:
            require(kx3_form_choose(form_, control, assignment.entry.item, nullptr), "choosing");
            break;
        case KX3_FIELD_CHECK:
            if ((info.checked != 0) != assignment.entry.checked)
                require(kx3_form_click(form_, control, nullptr), "clicking");
            break;
        default: replaceText(control, info, assignment);
        }
        return true;
    }

    /// Press OK or Cancel.
    void press(bool ok) const {
        kx3_form_info form{};
        require(kx3_form_describe(form_, &form), "looking at the editor");
        for (std::int32_t i = 0; i < form.controls; ++i) {
            const kx3_control_info info = at(i);
            if ((ok ? info.is_default : info.is_cancel) == 0) continue;
            require(kx3_form_click(form_, i, nullptr), "pressing a button");
            return;
        }
        throw Failure(Exit::failed, "the editor has no OK or Cancel button");
    }

    [[nodiscard]] bool loaded() const { return kx3_form_loaded(form_) != 0; }

    [[nodiscard]] std::string message() const {
        kx3_form_info info{};
        require(kx3_form_describe(form_, &info), "looking at the editor");
        return textOf(info.message);
    }

  private:
    /// Paste over all of the box's text. A box that changes what is pasted would store something else.
    void replaceText(std::int32_t control, const kx3_control_info &before, const Assignment &assignment) const {
        const std::u16string text = kx3::fromUtf8(assignment.entry.text);
        const auto oldLength = static_cast<std::int32_t>(before.text.length);
        require(kx3_form_select_text(form_, control, 0, oldLength, nullptr), "selecting a text");
        require(
            kx3_form_paste(form_, control, reinterpret_cast<const std::uint16_t *>(text.data()), text.size(), nullptr),
            "pasting a text");
        const std::string kept = textOf(at(control).text);
        if (kept == assignment.entry.text) return;
        throw Failure(Exit::usage,
                      fmt::format(R"({}: "{}" does not fit: the box makes "{}" of it)", assignment.field->fullName(),
                                  assignment.value, kept),
                      "Give a shorter hexadecimal number.");
    }

    kx3_form *form_;
};

/// Make all entries. One may enable the control of another, so those that cannot be made are tried
/// again as long as others can.
void enterAll(const OpenForm &form, const std::vector<Assignment> &assignments) {
    std::vector<const Assignment *> waiting;
    waiting.reserve(assignments.size());
    for (const Assignment &assignment : assignments)
        waiting.push_back(&assignment);
    while (!waiting.empty()) {
        const auto made = std::erase_if(waiting, [&form](const Assignment *each) { return form.enter(*each); });
        if (made != 0) continue;
        throw Failure(Exit::usage,
                      fmt::format("{} cannot be changed on this device", waiting.front()->field->fullName()),
                      "The editor greys this field, or another one must be set first.");
    }
}

/// Whether the entry that OK refused is one of ours, not one that the image brought along.
bool refusedOurEntry(const OpenForm &form, const std::vector<Assignment> &assignments) {
    return std::any_of(assignments.begin(), assignments.end(),
                       [&form](const Assignment &each) { return form.at(*each.field).marked != 0; });
}

std::vector<std::string> linesOf(const std::string &prompt) {
    std::vector<std::string> lines;
    std::size_t start = 0;
    for (std::size_t end = 0; end != std::string::npos; start = end + 1) {
        end = prompt.find('\r', start);
        lines.push_back(prompt.substr(start, end == std::string::npos ? end : end - start));
    }
    return lines;
}

} // namespace

void Dialogs::Release::operator()(kx3_mpu *mpu) const noexcept {
    kx3_mpu_freesharebuffermpu6(mpu);
    kx3_mpu_release(mpu);
}

Dialogs::Dialogs(const SharedBlocks &blocks) {
    kx3_ui ui{};
    ui.struct_size = sizeof ui;
    ui.context = this;
    ui.message_box = messageBox;
    ui.show_form = showForm;
    require(kx3_set_ui(&ui), "handing over the callbacks");
    kx3_mpu *mpu = nullptr;
    require(kx3_mpu_create(&mpu), "creating the plug-in's entry object");
    mpu_.reset(mpu);
    std::int16_t instance = blocks.instance();
    require(kx3_mpu_bufcommpu6(mpu, &instance), "attaching the shared blocks");
}

Dialogs::~Dialogs() {
    mpu_.reset();
    kx3_set_ui(nullptr);
}

std::vector<FieldState> Dialogs::look(const Editor &editor) {
    std::vector<FieldState> states;
    openEditor([&](kx3_form *shown) {
        const OpenForm form(shown);
        for (const Field &field : editor.fields)
            states.push_back(form.stateOf(field));
        form.press(false);
    });
    return states;
}

void Dialogs::edit(const std::vector<Assignment> &assignments) {
    openEditor([&assignments](kx3_form *shown) {
        const OpenForm form(shown);
        enterAll(form, assignments);
        form.press(true);
        if (!form.loaded()) return;
        const bool ours = refusedOurEntry(form, assignments);
        throw Failure(ours ? Exit::usage : Exit::badFile, fmt::format("the editor refuses OK: {}", form.message()),
                      ours ? "Correct the value." : "Set this field, too: what the image holds there is no good.");
    });
}

bool Dialogs::letEdit(const Window &window) {
    bool accepted = false;
    openEditor([&](kx3_form *form) { accepted = window.show(form); });
    return accepted;
}

void Dialogs::writeDefaults() { require(kx3_mpu_sinitmpu6(mpu_.get()), "writing the default configuration bytes"); }

std::optional<Note> Dialogs::note(std::uint8_t number) {
    note_.reset();
    const kx3_status status = kx3_mpu_mpu6warn(mpu_.get(), &number);
    if (failure_) std::rethrow_exception(std::exchange(failure_, nullptr));
    require(status, "showing the device note");
    return std::exchange(note_, std::nullopt);
}

void Dialogs::openEditor(Presenter presenter) {
    presenter_ = std::move(presenter);
    const kx3_status status = kx3_mpu_editfigmpu6(mpu_.get());
    presenter_ = nullptr;
    if (failure_) std::rethrow_exception(std::exchange(failure_, nullptr));
    require(status, "opening the configuration editor");
}

/// No exception may cross the plug-in's interface; it goes on when the plug-in's call has ended.
template <class Action> kx3_status Dialogs::guarded(Action action) noexcept {
    try {
        action();
        return KX3_OK;
    } catch (...) {
        failure_ = std::current_exception();
        return KX3_INTERNAL;
    }
}

kx3_status Dialogs::showForm(void *context, kx3_form *form) {
    Dialogs &dialogs = *static_cast<Dialogs *>(context);
    return dialogs.guarded([&] { dialogs.presenter_(form); });
}

kx3_status Dialogs::messageBox(void *context, const std::uint16_t *prompt, std::size_t promptLength, std::int32_t style,
                               const std::uint16_t *title, std::size_t titleLength, std::int32_t *button) {
    Dialogs &dialogs = *static_cast<Dialogs *>(context);
    *button = KX3_BUTTON_OK;
    return dialogs.guarded([&] {
        dialogs.note_ = Note{textOf(title, titleLength), linesOf(textOf(prompt, promptLength)), style};
    });
}

} // namespace kx3console::config
