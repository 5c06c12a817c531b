// A form drawn up in one line of text.
#pragma once

#include "base/error.h"
#include "base/text.h"
#include "forms/form.h"

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

namespace kx3::test {

/// Controls in order, with a blank between them and "_" for a blank inside a caption: "[Caption" opens a
/// frame, "[3Caption" one with three rows side by side, "]" ends it; "Caption:" is a text box and "Caption?"
/// a list, each behind its label; "'Caption" is a label, "(Caption" a button, anything else a check box. "-"
/// in front hides a control. Its caption is its name; that of a field's label has a "'" in front.
class Sketch final : public Form {
  public:
    explicit Sketch(std::string text) : Form("sketch"), text_(std::move(text)) { load(); }

    std::vector<std::string> events;
    std::function<void(Control &)> clicked = [](Control &) {};
    bool failOnLoad = false;

    using Form::clearRefusal;
    using Form::control;
    using Form::refuse;
    using Form::setCaption;
    const Control &at(std::string_view name) { return control(name); }

  private:
    void onLoad() override {
        const Control *around = nullptr;
        for (std::string_view rest = text_; !rest.empty();) {
            const std::size_t end = std::min(rest.find(' '), rest.size());
            if (rest.front() == ']')
                around = around->parent();
            else if (const Control &added = addWord(std::string(rest.substr(0, end)), around);
                     added.kind() == ControlKind::frame)
                around = &added;
            rest.remove_prefix(std::min(end + 1, rest.size()));
        }
        events.clear();
        if (failOnLoad) raise(ErrorNumber::overflow);
    }
    Control &addWord(std::string word, const Control *around) {
        std::ranges::replace(word, '_', ' ');
        const bool hidden = word.front() == '-';
        word.erase(0, hidden ? 1 : 0);
        constexpr std::string_view fronts = "[('";
        constexpr std::string_view backs = ":?";
        constexpr ControlKind kinds[] = {ControlKind::frame,   ControlKind::commandButton, ControlKind::label,
                                         ControlKind::textBox, ControlKind::comboBox,      ControlKind::checkBox};
        const std::size_t front = std::min(fronts.find(word.front()), fronts.size());
        const std::size_t back = std::min(backs.find(word.back()), backs.size());
        const bool labelled = front == fronts.size() && back < backs.size();
        const ControlKind kind = kinds[front < fronts.size() ? front : fronts.size() + back];
        word.erase(0, front < fronts.size() ? 1 : 0);
        const Byte columns = kind == ControlKind::frame && word.front() == '3' ? 3 : 1;
        word.erase(0, columns > 1 ? 1 : 0);
        const Control *label =
            labelled ? &add(ControlKind::label, "'" + word, noIndex, fromUtf8(word), around) : nullptr;
        Control &added = add(kind, word, noIndex, labelled ? u"" : fromUtf8(word), around);
        added.setLabel(label);
        added.setColumns(columns);
        added.setVisible(!hidden);
        if (kind == ControlKind::comboBox)
            added.setItems(std::make_shared<ItemList::element_type>(ItemList::element_type{u"one", u"two"}));
        return added;
    }
    void onClick(Control &control) override {
        events.push_back("click " + control.name());
        clicked(control);
    }
    void onChange(Control &control) override { events.push_back("change " + control.name()); }

    std::string text_;
};

} // namespace kx3::test
