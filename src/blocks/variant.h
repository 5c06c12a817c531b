// The few variants that the array binder takes.
#pragma once

#include "base/error.h"
#include "base/types.h"
#include "blocks/array.h"

#include <cstdint>
#include <string>

namespace kx3 {

/// Type numbers of the automation library's variants that matter here.
enum VariantType : std::uint16_t {
    variantEmpty = 0,
    variantNull = 1,
    variantInteger = 2,
    variantLong = 3,
    variantDouble = 5,
    variantString = 8,
    variantBoolean = 11,
    variantByte = 17,
    variantArray = 0x2000,
    variantByReference = 0x4000,
};

/// A tagged value, an array, or a reference to an array variable.
struct Variant {
    std::uint16_t type = variantEmpty;
    union {
        std::intptr_t number = 0; ///< Byte, Boolean, Integer, Long (widened to an address's width)
        Double real;
        ArrayDescriptor *array;
        ArrayDescriptor **arrayVariable;
    };

    /// A variant that holds an array.
    [[nodiscard]] static Variant ofArray(ArrayDescriptor *array, std::uint16_t elementType) {
        Variant v;
        v.type = static_cast<std::uint16_t>(variantArray | elementType);
        v.array = array;
        return v;
    }
    /// A variant that holds an array variable by reference.
    [[nodiscard]] static Variant ofArrayVariable(ArrayDescriptor **variable, std::uint16_t elementType) {
        Variant v;
        v.type = static_cast<std::uint16_t>(variantByReference | variantArray | elementType);
        v.arrayVariable = variable;
        return v;
    }
    /// A number: Integer, Long, or any other type number whose value stands in `number`.
    [[nodiscard]] static Variant ofNumber(std::intptr_t number, std::uint16_t type = variantLong) {
        Variant v;
        v.type = type;
        v.number = number;
        return v;
    }
};

} // namespace kx3
