#include "forms/form.h"

#include "base/error.h"

#include <algorithm>
#include <utility>

namespace kx3 {

// Control

std::u16string_view Control::text() const noexcept {
    if (kind_ != ControlKind::comboBox) return text_;
    if (listIndex_ < 0) return {};
    return items()[static_cast<std::size_t>(listIndex_)];
}

const std::vector<std::u16string> &Control::items() const noexcept {
    static const std::vector<std::u16string> none;
    return items_ ? *items_ : none;
}

void Control::touch() noexcept { revision_ = form_.touch(); }

void Control::touchStructure() noexcept {
    touch();
    form_.structureRevision_ = revision_;
}

void Control::setCaption(std::u16string_view caption) {
    caption_ = caption;
    touchStructure();
}

void Control::setItems(ItemList items) {
    items_ = std::move(items);
    listIndex_ = -1;
    touchStructure();
}

void Control::setEnabled(bool enabled) noexcept {
    enabled_ = enabled;
    touch();
}

void Control::setVisible(bool visible) noexcept {
    visible_ = visible;
    touchStructure();
}

void Control::setMaxLength(Long maxLength) noexcept {
    maxLength_ = maxLength;
    touch();
}

void Control::setSelection(Long start, Long length) noexcept {
    const auto size = static_cast<Long>(text_.size());
    selectionStart_ = std::clamp(start, 0, size);
    selectionLength_ = std::clamp(length, 0, size - selectionStart_);
    touch();
}

void Control::setListIndex(Long index) {
    if (index < -1 || index >= static_cast<Long>(items().size())) raise(ErrorNumber::invalidCall);
    if (index == listIndex_) return;
    listIndex_ = index;
    touch();
    form_.onClick(*this);
}

void Control::setChecked(bool checked) {
    if (checked == checked_) return;
    checked_ = checked;
    touch();
    form_.onClick(*this);
}

void Control::setText(std::u16string_view text) {
    if (maxLength_ > 0) text = text.substr(0, static_cast<std::size_t>(maxLength_));
    const bool differs = text != text_;
    text_ = text;
    setSelection(0, 0);
    if (differs) form_.onChange(*this);
}

/// Replace part of the text as a person does: the caret goes behind the new part.
void Control::replaceText(Long start, Long length, std::u16string_view inserted) {
    const std::u16string old = text_;
    text_.replace(static_cast<std::size_t>(start), static_cast<std::size_t>(length), inserted);
    setSelection(start + static_cast<Long>(inserted.size()), 0);
    if (text_ == old) return;
    if (marked_) form_.clearRefusal();
    form_.onChange(*this);
}

// Form: what presenters see

const Control *Form::find(std::string_view name, Integer index) const noexcept {
    const auto found = std::find_if(controls_.begin(), controls_.end(), [&](const Control &candidate) {
        return candidate.index() == index && candidate.name() == name;
    });
    return found == controls_.end() ? nullptr : &*found;
}

const Control *Form::defaultButton() const noexcept {
    const auto found = std::find_if(controls_.begin(), controls_.end(), [](const Control &c) { return c.isDefault(); });
    return found == controls_.end() ? nullptr : &*found;
}

const Control *Form::cancelButton() const noexcept {
    const auto found = std::find_if(controls_.begin(), controls_.end(), [](const Control &c) { return c.isCancel(); });
    return found == controls_.end() ? nullptr : &*found;
}

bool Form::isShown(const Control &control) const noexcept {
    return control.visible() && (control.parent() == nullptr || isShown(*control.parent()));
}

bool Form::isEnabled(const Control &control) const noexcept {
    return control.enabled() && (control.parent() == nullptr || isEnabled(*control.parent()));
}

std::uint64_t Form::revisionOf(const Control &control) const noexcept {
    const std::uint64_t around = control.parent() == nullptr ? 0 : revisionOf(*control.parent());
    return std::max(control.revision_, around);
}

std::vector<FormRow> Form::rows(const Control *frame) const {
    const auto labelsField = [&](const Control &candidate) {
        return candidate.kind() == ControlKind::label &&
               std::any_of(controls_.begin(), controls_.end(),
                           [&](const Control &c) { return c.label() == &candidate; });
    };
    std::vector<FormRow> rows;
    for (const Control &candidate : controls_) {
        if (candidate.parent() != frame || !candidate.visible() || labelsField(candidate)) continue;
        rows.push_back({candidate.label(), &candidate});
    }
    return rows;
}

// Form: life

void Form::load() {
    if (loaded_) raise(ErrorNumber::invalidCall, u"The form is already shown");
    controls_.clear();
    focus_ = nullptr;
    message_.clear();
    failure_ = nullptr;
    accepted_ = false;
    ++generation_;
    touchStructure();
    loaded_ = true;
    try {
        onLoad();
    } catch (...) {
        unload();
        throw;
    }
}

void Form::unload() noexcept {
    loaded_ = false;
    touch();
}

void Form::rethrowFailure() {
    if (failure_) std::rethrow_exception(std::exchange(failure_, nullptr));
}

// Form: a person's actions

template <class Action> bool Form::guarded(Action action) noexcept {
    try {
        return action();
    } catch (...) {
        failure_ = std::current_exception();
        unload();
        return false;
    }
}

template <class Action> bool Form::act(const Control &control, ControlKind kind, Action action) noexcept {
    if (!loaded_ || !owns(control) || control.kind() != kind || !isShown(control) || !isEnabled(control)) return false;
    return guarded([&] { return action(mutableControl(control)); });
}

bool Form::owns(const Control &control) const noexcept {
    return &control.form_ == this && control.position() < controls_.size() &&
           &controls_[control.position()] == &control;
}

bool Form::choose(const Control &control, Long index) noexcept {
    return act(control, ControlKind::comboBox, [&](Control &box) {
        if (index < 0 || index >= static_cast<Long>(box.items().size())) return false;
        box.setListIndex(index);
        return true;
    });
}

bool Form::click(const Control &control) noexcept {
    if (control.kind() == ControlKind::checkBox) return check(control, !control.checked());
    return act(control, ControlKind::commandButton, [&](Control &button) {
        focus_ = &button;
        onClick(button);
        accepted_ = button.isDefault() && !loaded_;
        return true;
    });
}

bool Form::check(const Control &control, bool checked) noexcept {
    return act(control, ControlKind::checkBox, [&](Control &box) {
        box.setChecked(checked);
        return true;
    });
}

bool Form::moveCaret(Control &box, Integer keyCode) noexcept {
    const Long start = box.selectionStart();
    const Long end = start + box.selectionLength();
    switch (keyCode) {
    case keyHome: box.setSelection(0, 0); return true;
    case keyEnd: box.setSelection(static_cast<Long>(box.text_.size()), 0); return true;
    case keyLeft: box.setSelection(start == end ? start - 1 : start, 0); return true;
    case keyRight: box.setSelection(start == end ? end + 1 : end, 0); return true;
    default: return false;
    }
}

bool Form::keyDown(const Control &control, Integer keyCode) noexcept {
    return act(control, ControlKind::textBox, [&](Control &box) {
        Integer code = keyCode;
        onKeyDown(box, code);
        if (code == 0) return false;
        if (code != keyDelete) return moveCaret(box, code);
        const Long rest = static_cast<Long>(box.text_.size()) - box.selectionStart();
        box.replaceText(box.selectionStart(), std::min(std::max(box.selectionLength(), 1), rest), {});
        return true;
    });
}

/// Replace the selection by as much of `inserted` as the box takes; false when that is nothing.
bool Form::enter(Control &box, std::u16string_view inserted) {
    if (box.maxLength() > 0) {
        const Long kept = static_cast<Long>(box.text_.size()) - box.selectionLength();
        inserted = inserted.substr(0, static_cast<std::size_t>(std::max(box.maxLength() - kept, 0)));
    }
    if (inserted.empty() && box.selectionLength() == 0) return false;
    box.replaceText(box.selectionStart(), box.selectionLength(), inserted);
    return true;
}

bool Form::keyPress(const Control &control, char16_t character) noexcept {
    return act(control, ControlKind::textBox, [&](Control &box) {
        char16_t accepted = character;
        onKeyPress(box, accepted);
        if (accepted == charBackspace) {
            const Long length = box.selectionLength() > 0 ? box.selectionLength() : std::min(box.selectionStart(), 1);
            if (length == 0) return false;
            const Long start = box.selectionLength() > 0 ? box.selectionStart() : box.selectionStart() - 1;
            box.replaceText(start, length, {});
            return true;
        }
        return accepted >= u' ' && enter(box, {&accepted, 1});
    });
}

bool Form::type(const Control &control, std::u16string_view characters) noexcept {
    return std::all_of(characters.begin(), characters.end(), [&](char16_t c) { return keyPress(control, c); });
}

bool Form::paste(const Control &control, std::u16string_view text) noexcept {
    return act(control, ControlKind::textBox, [&](Control &box) { return enter(box, text); });
}

bool Form::selectText(const Control &control, Long start, Long length) noexcept {
    return act(control, ControlKind::textBox, [&](Control &box) {
        box.setSelection(start, length);
        return true;
    });
}

bool Form::setFocus(const Control &control) noexcept {
    return act(control, control.kind(), [&](Control &target) {
        if (target.kind() == ControlKind::frame || target.kind() == ControlKind::label) return false;
        focus_ = &target;
        touch();
        return true;
    });
}

bool Form::close() noexcept {
    if (!loaded_) return false;
    unload();
    return true;
}

// Form: the form's own code

Control &Form::add(ControlKind kind, std::string_view name, Integer index, std::u16string_view caption,
                   const Control *parent) {
    Control &added = controls_.emplace_back(*this, controls_.size(), kind, name, index);
    added.setParent(parent);
    added.setCaption(caption);
    return added;
}

Control &Form::control(std::string_view name, Integer index) {
    const Control *found = find(name, index);
    if (found == nullptr) raise(ErrorNumber::internal, u"A form lacks one of its controls");
    return mutableControl(*found);
}

void Form::setCaption(std::u16string_view caption) {
    caption_ = caption;
    touchStructure();
}

void Form::refuse(Control &box, const Control &focus, std::u16string message) noexcept {
    clearRefusal();
    box.marked_ = true;
    box.touch();
    focus_ = &focus;
    message_ = std::move(message);
}

void Form::clearRefusal() noexcept {
    for (Control &each : controls_)
        if (std::exchange(each.marked_, false)) each.touch();
    message_.clear();
    touchStructure();
}

} // namespace kx3
