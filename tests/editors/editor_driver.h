// Opens editors on a plug-in of its own and acts on them as a person does.
#pragma once

#include "host/error_of.h"
#include "rig/apartment.h"
#include "rig/editor_modes.h"
#include "rig/person.h"

#include <gtest/gtest.h>

namespace kx3::test {

/// A host that opens one editor at a time, on which a person acts.
class EditorTest : public testing::Test {
  protected:
    static constexpr Long tlength = 2048;

    void device(Byte mode, Long length = tlength, Integer pins = 20) {
        if (plugin.host.ibuffer.count() < 2) plugin.attach(9000);
        plugin.host.prgmode(0) = mode;
        plugin.host.tlength(0) = length;
        plugin.host.chippin(0) = pins;
    }
    void open(const std::function<void(Person &)> &script) {
        plugin.ui->onModal = [&](Form &form) {
            Person person(form);
            script(person);
        };
        plugin.mpu.editfigmpu6();
    }
    /// The error that opening raises.
    std::optional<ErrorNumber> openError(const std::function<void(Person &)> &script = [](Person &) {}) {
        return errorOf([&] { open(script); });
    }
    Byte &at(Long address) { return plugin.host.ibuffer(address); }
    std::vector<int> peek(Long address, Long count) {
        const std::span<Byte> bytes = plugin.host.ibuffer.range(address, count);
        return {bytes.begin(), bytes.end()};
    }

    TestApartment plugin;
};

} // namespace kx3::test
