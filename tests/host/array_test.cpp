// Arrays, and binding them to foreign memory.
#include "blocks/safe_array.h"
#include "error_of.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>

namespace kx3::test {
namespace {

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
    Array<Long> array{"test"};
    decltype(stateOf(array)) before;
    clsSafeArray binder;
};

TEST(Array, HasNoElementUntilItIsResetToOneZero) {
    Array<Double> array{"test"};
    EXPECT_EQ(errorOf([&] { (void)array(0); }), ErrorNumber::subscript);
    EXPECT_EQ(errorOf([&] { (void)array.range(0, 0); }), ErrorNumber::subscript);
    array.reset();
    array(0) = 1.5;
    array.reset();
    EXPECT_EQ(array.count(), 1U);
    EXPECT_EQ(array(0), 0.0);
    EXPECT_EQ(array.descriptor().fFeatures, 0);
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

TEST_F(BoundArray, ReleaseRestoresTheDescriptorExactly) {
    EXPECT_EQ(errorOf([&] { array.reset(); }), ErrorNumber::arrayLocked);
    EXPECT_EQ(errorOf([&] { binder.Features(32768); }), ErrorNumber::overflow);
    binder.Features(-2);
    binder.SizeofElements(99);
    binder.Locks(12);
    binder.LowerBound(1, -4);
    binder.Dimensions(2);
    EXPECT_EQ(binder.Dimensions(), 1) << "no more dimensions than at binding";
    binder.Dimensions(0);
    const std::tuple<Long, Long, Long, Long, Long> set = {-2, 99, 12, -4, 0};
    EXPECT_EQ(std::tuple(binder.Features(), binder.SizeofElements(), binder.Locks(), binder.LowerBound(),
                         Long{binder.Dimensions()}),
              set);
    binder.ReleaseArray();
    EXPECT_EQ(stateOf(array), before);
    EXPECT_EQ(array(0), 77);
    EXPECT_EQ(memory[0], 10);
    EXPECT_FALSE(errorOf([&] { array.reset(); }));
}

TEST_F(BoundArray, AnotherBindingAndTheEndOfTheBinderRelease) {
    Array<Byte> second{"test"};
    second.reset();
    const auto secondBefore = stateOf(second);
    {
        clsSafeArray temporary;
        temporary.AttachToArray(byReference(second));
        EXPECT_NE(stateOf(second), secondBefore);
    }
    EXPECT_EQ(stateOf(second), secondBefore);
    binder.AttachToArray(byReference(second));
    EXPECT_EQ(stateOf(array), before);
    EXPECT_EQ(second.descriptor().cLocks, 1U);
    binder.ReleaseArray(); // which lives longer than the second array
}

TEST_F(BoundArray, ADimensionThatIsNoneIsZeroAndKeepsNothing) {
    for (const Long dimension : {-1, 0, 2}) {
        binder.CountOfElements(dimension, 3);
        binder.LowerBound(dimension, 3);
        EXPECT_EQ(binder.CountOfElements(dimension), 0) << dimension;
        EXPECT_EQ(binder.LowerBound(dimension), 0) << dimension;
    }
    EXPECT_EQ(array.count(), 8U);
    EXPECT_EQ(binder.LowerBound(1), 0);
    const clsSafeArray unbound;
    EXPECT_EQ(unbound.CountOfElements(1), 0);
    EXPECT_EQ(errorOf([&] { (void)unbound.PointerToData(); }), ErrorNumber::subscript);
}

TEST(SafeArray, TakesAnArrayOrTheAddressOfOne) {
    Array<Integer> array{"test"};
    array.reset();
    const auto address = reinterpret_cast<std::intptr_t>(array.variable());
    ArrayDescriptor *unset = nullptr;
    Variant text, null, zero, far;
    text.type = variantString;
    null.type = variantNull;
    zero.type = far.type = variantDouble;
    zero.real = 0;
    far.real = 1e10;
    const std::tuple<const char *, Variant, std::uint32_t, std::optional<ErrorNumber>> cases[] = {
        {"an array", Variant::ofArray(*array.variable(), variantInteger), 1, {}},
        {"an array by reference", Variant::ofArrayVariable(array.variable(), variantInteger), 1, {}},
        {"an unset array by reference", Variant::ofArrayVariable(&unset, variantInteger), 0, {}},
        {"its address in a Long", Variant::ofNumber(address), 1, {}},
        {"address 0 in a Double", zero, 0, {}},
        {"an address that is none", far, 0, ErrorNumber::overflow},
        {"nothing", Variant{}, 0, {}},
        {"a text", text, 0, {}},
        {"null", null, 0, ErrorNumber::typeMismatch},
    };
    for (const auto &[name, variant, locks, error] : cases) {
        clsSafeArray binder;
        EXPECT_EQ(errorOf([&, v = variant] { binder.AttachToArray(v); }), error) << name;
        EXPECT_EQ(array.descriptor().cLocks, locks) << name;
    }
}

TEST(SafeArray, FurtherDimensionsAreSavedToo) {
    struct TwoDimensions {
        ArrayDescriptor head;
        ArrayBound second;
    } array{};
    array.head.cDims = 2;
    const auto secondBound = [&array] {
        ArrayBound bound;
        std::memcpy(&bound, static_cast<void *>(array.head.rgsabound + 1), sizeof bound);
        return std::pair(bound.cElements, bound.lLbound);
    };
    clsSafeArray binder;
    binder.AttachToArray(Variant::ofArray(&array.head, variantByte));
    binder.CountOfElements(2, 9);
    binder.LowerBound(2, -9);
    EXPECT_EQ(secondBound(), std::pair(9U, -9));
    EXPECT_EQ(binder.CountOfElements(3), 0);
    binder.ReleaseArray();
    EXPECT_EQ(secondBound(), std::pair(0U, 0));
}

} // namespace
} // namespace kx3::test
