// Opens editors on a plug-in of its own and acts on them as a person does.
#pragma once

#include "forms/form.h"
#include "support/test_apartment.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <stdexcept>
#include <string_view>

namespace kx3::test {

inline constexpr Byte editorModes[] = {1,  2,  3,  4,  6,  10, 12, 13, 14, 15, 18, 22, 23, 24, 25, 26, 30, 31, 32, 39,
                                       40, 41, 43, 44, 45, 46, 47, 48, 49, 50, 51, 55, 56, 58, 59, 60, 61, 62, 64};

/// A person before an open form. Every action must have an effect.
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

/// A host with a device buffer and an editor session at a time.
class EditorTest : public ::testing::Test {
  protected:
    void device(Byte mode, Long tlength = 2048, Integer pins = 20, Byte figvol = 0) {
        if (plugin.host.ibuffer.count() < 2) plugin.attach(9000);
        plugin.host.prgmode(0) = mode;
        plugin.host.tlength(0) = tlength;
        plugin.host.chippin(0) = pins;
        plugin.host.figvol(0) = figvol;
    }
    void open(const std::function<void(Person &)> &script) {
        plugin.ui->onModal = [&](Form &form) {
            Person person(form);
            script(person);
        };
        plugin.mpu.editfigmpu6();
    }
    void poke(Long address, std::initializer_list<int> values) {
        for (const int value : values)
            plugin.host.ibuffer(address++) = static_cast<Byte>(value);
    }
    std::vector<int> peek(Long address, Long count) {
        std::vector<int> values;
        for (const Byte value : plugin.host.ibuffer.range(address, count))
            values.push_back(value);
        return values;
    }
    std::vector<Byte> image() {
        const auto all = plugin.host.ibuffer.range(0, static_cast<Long>(plugin.host.ibuffer.count()));
        return {all.begin(), all.end()};
    }
    void restore(const std::vector<Byte> &bytes) {
        std::copy(bytes.begin(), bytes.end(), plugin.host.ibuffer.range(0, static_cast<Long>(bytes.size())).begin());
    }
    /// The number of the error that opening raises, 0 when it raises none.
    int openError(const std::function<void(Person &)> &script = [](Person &) {}) {
        try {
            open(script);
        } catch (const Error &error) {
            return static_cast<int>(error.number());
        }
        return 0;
    }

    TestApartment plugin;
};

} // namespace kx3::test
