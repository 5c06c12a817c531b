// Arrays, and binding them to foreign memory.
#include "error_of.h"
#include "blocks/safe_array.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>

namespace kx3 {
namespace {

using test::errorOf;

Variant byReference(ArrayBase &array) { return Variant::ofArrayVariable(array.variable(), variantEmpty); }

/// Everything in a descriptor that a binding may touch.
auto stateOf(const ArrayBase &array) {
    const ArrayDescriptor &d = array.descriptor();
    return std::tuple(d.cDims, d.fFeatures, d.cbElements, d.cLocks, d.pvData, d.rgsabound[0].cElements,
                      d.rgsabound[0].lLbound);
}

/// An array with one element of its own, bound to eight Longs elsewhere.
class BoundArray : public testing::Test {
  protected:
    BoundArray() {
        array.reset();
        array(0) = 77;
        before = stateOf(array);
        binder.AttachToArray(byReference(array));
        binder.CountOfElements(1, 8);
        binder.PointerToData(memory.data());
    }
    std::array<Long, 8> memory{10, 11, 12, 13, 14, 15, 16, 17};
    Array<Long> array;
    decltype(stateOf(array)) before;
    clsSafeArray binder;
};

TEST(Array, UnsetArraysHaveNoElement) {
    Array<Byte> array;
    EXPECT_EQ(array.count(), 0U);
    EXPECT_EQ(errorOf([&] { (void)array(0); }), ErrorNumber::subscript);
    EXPECT_EQ(errorOf([&] { (void)array.range(0, 0); }), ErrorNumber::subscript);
}

TEST(Array, ResetGivesOneZeroElement) {
    Array<Double> array;
    array.reset();
    array(0) = 1.5;
    array.reset();
    EXPECT_EQ(array.count(), 1U);
    EXPECT_EQ(array(0), 0.0);
    EXPECT_EQ(errorOf([&] { (void)array(1); }), ErrorNumber::subscript);
}

TEST_F(BoundArray, ShowsTheForeignMemoryInPlace) {
    EXPECT_EQ(array(7), 17);
    array(3) = -1;
    EXPECT_EQ(memory[3], -1);
    for (const Long index : {-1, 8, INT32_MAX, INT32_MIN})
        EXPECT_EQ(errorOf([&] { (void)array(index); }), ErrorNumber::subscript) << index;
    binder.LowerBound(1, 5);
    EXPECT_EQ(array(5), 10);
    EXPECT_EQ(errorOf([&] { (void)array(4); }), ErrorNumber::subscript);
}

TEST_F(BoundArray, ARangeLiesInsideAsAWhole) {
    EXPECT_EQ(array.range(2, 6).data(), &memory[2]);
    EXPECT_EQ(array.range(7, 0).size(), 0U);
    const std::pair<Long, Long> bad[] = {{2, 7}, {8, 0}, {-1, 2}, {0, -1}, {INT32_MAX, INT32_MAX}, {7, INT32_MAX}};
    for (const auto &[first, length] : bad)
        EXPECT_EQ(errorOf([&, f = first, l = length] { (void)array.range(f, l); }), ErrorNumber::subscript)
            << first << ' ' << length;
}

TEST_F(BoundArray, IsLockedUntilReleased) {
    EXPECT_EQ(binder.Locks(), 1);
    EXPECT_EQ(errorOf([&] { array.reset(); }), ErrorNumber::arrayLocked);
    binder.ReleaseArray();
    EXPECT_FALSE(errorOf([&] { array.reset(); }));
}

TEST_F(BoundArray, ReleaseRestoresTheDescriptorExactly) {
    binder.Features(-2);
    binder.SizeofElements(99);
    binder.Locks(12);
    binder.LowerBound(1, -4);
    binder.Dimensions(0);
    binder.ReleaseArray();
    EXPECT_EQ(stateOf(array), before);
    EXPECT_EQ(array(0), 77);
    EXPECT_EQ(memory[0], 10);
}

TEST_F(BoundArray, TheEndOfTheBinderReleases) {
    Array<Long> other;
    other.reset();
    const auto otherBefore = stateOf(other);
    {
        clsSafeArray temporary;
        temporary.AttachToArray(byReference(other));
        EXPECT_NE(stateOf(other), otherBefore);
    }
    EXPECT_EQ(stateOf(other), otherBefore);
}

TEST_F(BoundArray, AttachingAnotherArrayReleasesTheFirst) {
    Array<Byte> second;
    second.reset();
    binder.AttachToArray(byReference(second));
    EXPECT_EQ(stateOf(array), before);
    EXPECT_EQ(binder.SizeofElements(), 1);
    EXPECT_EQ(second.descriptor().cLocks, 1U);
    binder.ReleaseArray(); // which lives longer than the second array
    EXPECT_EQ(second.descriptor().cLocks, 0U);
}

TEST_F(BoundArray, PropertiesFollowTheirRules) {
    binder.Dimensions(2);
    EXPECT_EQ(binder.Dimensions(), 1) << "no more dimensions than at binding";
    EXPECT_EQ(binder.CountOfElements(), 8);
    for (const Long dimension : {-1, 0, 2}) {
        EXPECT_EQ(binder.CountOfElements(dimension), 0) << dimension;
        EXPECT_EQ(binder.LowerBound(dimension), 0) << dimension;
        binder.CountOfElements(dimension, 3);
        binder.LowerBound(dimension, 3);
    }
    EXPECT_EQ(array.count(), 8U);
    EXPECT_EQ(binder.LowerBound(1), 0);

    binder.Features(-32768);
    EXPECT_EQ(binder.Features(), -32768);
    EXPECT_EQ(errorOf([&] { binder.Features(32768); }), ErrorNumber::overflow);
    EXPECT_EQ(binder.PointerToData(), memory.data());
}

TEST(SafeArray, WithoutABindingOnlyTheBoundsAreQuiet) {
    clsSafeArray binder;
    binder.ReleaseArray();
    binder.CountOfElements(1, 5);
    EXPECT_EQ(binder.CountOfElements(1), 0);
    EXPECT_EQ(errorOf([&] { (void)binder.PointerToData(); }), ErrorNumber::subscript);
    EXPECT_EQ(errorOf([&] { binder.Locks(1); }), ErrorNumber::subscript);
}

TEST(SafeArray, TakesAnArrayOrTheAddressOfOne) {
    Array<Integer> array;
    array.reset();
    auto *const descriptor = *array.variable();
    const auto address = reinterpret_cast<std::intptr_t>(array.variable());
    ArrayDescriptor *unset = nullptr;
    struct Case {
        const char *name;
        Variant variant;
        bool binds;
    };
    Variant text, zero, far;
    text.type = variantString;
    zero.type = far.type = variantDouble;
    zero.real = 0;
    far.real = 1e10;
    const Case cases[] = {
        {"an array", Variant::ofArray(descriptor, variantInteger), true},
        {"an array by reference", Variant::ofArrayVariable(array.variable(), variantInteger), true},
        {"an unset array by reference", Variant::ofArrayVariable(&unset, variantInteger), false},
        {"its address in a Long", Variant::ofNumber(address), true},
        {"its address in an Integer", Variant::ofNumber(address, variantInteger), true},
        {"address 0", Variant::ofNumber(0), false},
        {"address 0 in a Double", zero, false},
        {"nothing", Variant{}, false},
        {"a text", text, false},
    };
    for (const Case &c : cases) {
        clsSafeArray binder;
        binder.AttachToArray(c.variant);
        EXPECT_EQ(array.descriptor().cLocks, c.binds ? 1U : 0U) << c.name;
    }
    Variant null;
    null.type = variantNull;
    EXPECT_EQ(errorOf([&] { clsSafeArray().AttachToArray(null); }), ErrorNumber::typeMismatch);
    EXPECT_EQ(errorOf([&] { clsSafeArray().AttachToArray(far); }), ErrorNumber::overflow);
}

TEST(SafeArray, FurtherDimensionsAreSavedToo) {
    struct TwoDimensions {
        ArrayDescriptor head;
        ArrayBound second;
    } array{};
    array.head.cDims = 2;
    array.head.rgsabound[0] = {3, 1};
    std::memcpy(static_cast<void *>(&array.head.rgsabound[0] + 1), &array.head.rgsabound[0], sizeof(ArrayBound));
    clsSafeArray binder;
    binder.AttachToArray(Variant::ofArray(&array.head, variantByte));
    binder.CountOfElements(2, 9);
    binder.LowerBound(2, -9);
    EXPECT_EQ(binder.CountOfElements(2), 9);
    EXPECT_EQ(binder.CountOfElements(3), 0);
    binder.Dimensions(1);
    EXPECT_EQ(array.head.cDims, 1);
    binder.ReleaseArray();
    EXPECT_EQ(array.head.cDims, 2);
    ArrayBound restored{};
    std::memcpy(&restored, &array.head.rgsabound[0] + 1, sizeof restored);
    EXPECT_EQ(restored.cElements, 3U);
    EXPECT_EQ(restored.lLbound, 1);
}

} // namespace
} // namespace kx3
