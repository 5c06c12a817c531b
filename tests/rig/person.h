// A person before an open form.
#pragma once

#include "forms/form.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string_view>

namespace kx3::test {

/// Every action must have an effect.
class Person {
  public:
    explicit Person(Form &shown) : form(shown) {}

    const Control &at(std::string_view name, Integer index = noIndex) const {
        const Control *found = form.find(name, index);
        if (found == nullptr) throw std::runtime_error("no control " + std::string(name));
        return *found;
    }
    void choose(std::string_view name, Integer index, Long item) { EXPECT_TRUE(form.choose(at(name, index), item)); }
    void chooseAll(std::string_view name, Long item) {
        for (const Control &control : form.controls())
            if (control.name() == name && form.isShown(control) && form.isEnabled(control)) form.choose(control, item);
    }
    void check(std::string_view name, Integer index, bool on) { EXPECT_TRUE(form.check(at(name, index), on)); }
    void paste(std::string_view name, Integer index, std::u16string_view text) {
        const Control &box = at(name, index);
        EXPECT_TRUE(form.selectText(box, 0, 1000));
        EXPECT_TRUE(form.paste(box, text));
    }
    void ok() { EXPECT_TRUE(form.click(*form.defaultButton())); }
    void cancel() { EXPECT_TRUE(form.click(*form.cancelButton())); }

    Form &form;
};

} // namespace kx3::test
