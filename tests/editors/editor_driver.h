// Opens editors on a plug-in of its own and acts on them as a person does.
#pragma once

#include "rig/apartment.h"
#include "rig/editor_modes.h"
#include "rig/person.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>

namespace kx3::test {

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
    std::vector<Byte> image() { return plugin.buffer(); }
    void restore(const std::vector<Byte> &bytes) { plugin.setBuffer(bytes); }
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
