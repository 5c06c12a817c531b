// The C interface: walking and driving a form that is being shown.

#include "thread_state.h"

#include "base/checked.h"
#include "forms/form.h"

#include <algorithm>

using namespace kx3;
using native::guarded;
using native::required;
using native::ShownForm;
using native::textOf;
using native::threadState;

static_assert(KX3_FRAME == static_cast<int>(ControlKind::frame));
static_assert(KX3_COMMAND_BUTTON == static_cast<int>(ControlKind::commandButton));
static_assert(KX3_PART_FIELD == static_cast<int>(CellPart::field));
static_assert(KX3_BUTTON_ROW == buttonRow);

namespace {

ShownForm *findForm(const kx3_form *handle) {
    std::vector<ShownForm> &forms = threadState().callbacks.shownForms;
    const auto found = std::find_if(forms.begin(), forms.end(), [handle](const ShownForm &shown) {
        return shown.form == reinterpret_cast<const Form *>(handle);
    });
    return found == forms.end() ? nullptr : &*found;
}

ShownForm &shownForm(const kx3_form *handle) {
    ShownForm *shown = findForm(handle);
    if (shown == nullptr) raise(ErrorNumber::objectNotSet, u"No form that this thread is showing");
    return *shown;
}

Form &formOf(const kx3_form *handle) { return *shownForm(handle).form; }

kx3_placement placementOf(ShownForm &shown, const Control &control) {
    const Placement *place = shown.view.layout().find(control);
    if (place == nullptr) return {};
    return {
        .struct_size = {},
        .shown = 1,
        .column = place->column,
        .block = place->block,
        .line = place->line,
        .cell = place->cell,
        .part = static_cast<std::int32_t>(place->part),
        .access_key = place->accessKey ? static_cast<std::int32_t>(*place->accessKey) : -1,
        .marked_caption = textOf(place->markedCaption),
        .accessible_name = textOf(place->accessibleName),
    };
}

const Control &controlAt(const Form &form, std::int32_t position) {
    const std::deque<Control> &controls = form.controls();
    if (position < 0 || static_cast<std::size_t>(position) >= controls.size()) raise(ErrorNumber::subscript);
    return controls[static_cast<std::size_t>(position)];
}

std::int32_t positionOf(const Control *control) {
    return control == nullptr ? -1 : static_cast<std::int32_t>(control->position());
}

/// Act on a control and tell whether that had an effect.
template <class Action>
kx3_status act(const kx3_form *handle, std::int32_t position, std::int32_t *done, Action action) noexcept {
    return guarded([&] {
        Form &form = formOf(handle);
        const bool effect = action(form, controlAt(form, position));
        if (done != nullptr) *done = effect ? 1 : 0;
    });
}

} // namespace

extern "C" {

kx3_status kx3_form_describe(const kx3_form *form, kx3_form_info *info) {
    return guarded([&] {
        const Form &shown = formOf(form);
        native::fill(info, u"info",
                     kx3_form_info{
                         .struct_size = {},
                         .name = shown.name().c_str(),
                         .caption = textOf(shown.caption()),
                         .message = textOf(shown.message()),
                         .loaded = shown.loaded() ? 1 : 0,
                         .on_screen = shown.startPosition() == StartPosition::centerScreen ? 1 : 0,
                         .controls = static_cast<std::int32_t>(shown.controls().size()),
                         .focus = positionOf(shown.focus()),
                         .revision = shown.revision(),
                         .structure_revision = shown.structureRevision(),
                     });
    });
}

int32_t kx3_form_loaded(const kx3_form *form) {
    const ShownForm *shown = findForm(form);
    return shown != nullptr && shown->form->loaded() ? 1 : 0;
}

int32_t kx3_form_accepted(const kx3_form *form) {
    const ShownForm *shown = findForm(form);
    return shown != nullptr && shown->form->accepted() ? 1 : 0;
}

kx3_status kx3_form_control(const kx3_form *form, int32_t control, kx3_control_info *info) {
    return guarded([&] {
        const Form &shown = formOf(form);
        const Control &found = controlAt(shown, control);
        native::fill(info, u"info",
                     kx3_control_info{
                         .struct_size = {},
                         .name = found.name().c_str(),
                         .index = found.index(),
                         .kind = static_cast<std::int32_t>(found.kind()),
                         .parent = positionOf(found.parent()),
                         .label = positionOf(found.label()),
                         .columns = found.columns(),
                         .caption = textOf(found.caption()),
                         .text = textOf(found.text()),
                         .items = static_cast<std::int32_t>(found.items().size()),
                         .list_index = found.listIndex(),
                         .checked = found.checked() ? 1 : 0,
                         .enabled = shown.isEnabled(found) ? 1 : 0,
                         .visible = shown.isShown(found) ? 1 : 0,
                         .max_length = found.maxLength(),
                         .selection_start = found.selectionStart(),
                         .selection_length = found.selectionLength(),
                         .marked = found.marked() ? 1 : 0,
                         .is_default = found.isDefault() ? 1 : 0,
                         .is_cancel = found.isCancel() ? 1 : 0,
                         .revision = shown.revisionOf(found),
                     });
    });
}

kx3_status kx3_form_item(const kx3_form *form, int32_t control, int32_t item, kx3_text *text) {
    return guarded([&] {
        const std::vector<std::u16string> &items = controlAt(formOf(form), control).items();
        if (item < 0 || static_cast<std::size_t>(item) >= items.size()) raise(ErrorNumber::subscript);
        required(text, u"text") = textOf(items[static_cast<std::size_t>(item)]);
    });
}

kx3_status kx3_form_place(const kx3_form *form, int32_t control, kx3_placement *placement) {
    return guarded([&] {
        ShownForm &shown = shownForm(form);
        native::fill(placement, u"placement", placementOf(shown, controlAt(*shown.form, control)));
    });
}

kx3_status kx3_form_find(const kx3_form *form, const char *name, int32_t index, int32_t *control) {
    return guarded([&] {
        const Control *found = formOf(form).find(&required(name, u"name"), narrow<Integer>(index));
        if (found == nullptr) raise(ErrorNumber::subscript, join(u"The form has no control ", fromUtf8(name)));
        required(control, u"control") = positionOf(found);
    });
}

kx3_status kx3_form_choose(kx3_form *form, int32_t control, int32_t item, int32_t *done) {
    return act(form, control, done, [&](Form &shown, const Control &box) { return shown.choose(box, item); });
}

kx3_status kx3_form_click(kx3_form *form, int32_t control, int32_t *done) {
    return act(form, control, done, [](Form &shown, const Control &button) { return shown.click(button); });
}

kx3_status kx3_form_key_down(kx3_form *form, int32_t control, int16_t key_code, int32_t *done) {
    return act(form, control, done, [&](Form &shown, const Control &box) { return shown.keyDown(box, key_code); });
}

kx3_status kx3_form_key_press(kx3_form *form, int32_t control, uint16_t character, int32_t *done) {
    return act(form, control, done,
               [&](Form &shown, const Control &box) { return shown.keyPress(box, static_cast<char16_t>(character)); });
}

kx3_status kx3_form_paste(kx3_form *form, int32_t control, const uint16_t *text, size_t length, int32_t *done) {
    return act(form, control, done, [&](Form &shown, const Control &box) {
        if (length != 0) (void)required(text, u"text");
        return shown.paste(box, {reinterpret_cast<const char16_t *>(text), length});
    });
}

kx3_status kx3_form_select_text(kx3_form *form, int32_t control, int32_t start, int32_t length, int32_t *done) {
    return act(form, control, done,
               [&](Form &shown, const Control &box) { return shown.selectText(box, start, length); });
}

kx3_status kx3_form_focus(kx3_form *form, int32_t control, int32_t *done) {
    return act(form, control, done, [](Form &shown, const Control &target) { return shown.setFocus(target); });
}

kx3_status kx3_form_close(kx3_form *form, int32_t *done) {
    return guarded([&] {
        const bool effect = formOf(form).close();
        if (done != nullptr) *done = effect ? 1 : 0;
    });
}

} // extern "C"
