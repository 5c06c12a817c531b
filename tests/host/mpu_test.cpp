#include "support/test_apartment.h"

#include <gtest/gtest.h>

namespace kx3 {
namespace {

using test::TestApartment;

TEST(Mpu, AttachSetsBuflgAndTheDeviceBuffer) {
    TestApartment t;
    t.attach(1000);
    EXPECT_EQ(t.mpu.buflg, 1000);
    EXPECT_EQ(t.apartment.blocks().ibuffer.count(), 3200U);
    EXPECT_TRUE(t.ui->boxes.empty());
}

} // namespace
} // namespace kx3
