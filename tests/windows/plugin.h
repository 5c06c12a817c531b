// An object of the built library, for one test.
#pragma once

#include "base/types.h"
#include "windows/host.h"

#include <gtest/gtest.h>

namespace kx3::test {

class Plugin : public ::testing::Test {
  protected:
    ~Plugin() override {
        EXPECT_EQ(mpu->freesharebuffermpu6(), S_OK);
        EXPECT_FALSE(blockExists("tamselibuffer66"));
    }

    const ComThread com;
    const Library plugIn;
    com::ComPtr<::_clsMPU> mpu = plugIn.create();
};

} // namespace kx3::test
