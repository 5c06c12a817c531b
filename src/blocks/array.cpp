#include "blocks/array.h"

#include "base/text.h"
#include "platform/strings.h"

#include <cstring>

namespace kx3 {

ArrayBase::ArrayBase(ElementType type) noexcept : type_(type) { descriptor_.cbElements = elementWidth(type); }

ArrayBase::~ArrayBase() { freeOwnText(); }

void ArrayBase::reset() {
    if (descriptor_.cLocks != 0) raise(ErrorNumber::arrayLocked);
    freeOwnText();
    std::memset(own_, 0, sizeof own_);
    descriptor_.cDims = 1;
    descriptor_.fFeatures = 0;
    descriptor_.cbElements = elementWidth(type_);
    descriptor_.pvData = own_;
    descriptor_.rgsabound[0] = {1, 0};
    variable_ = &descriptor_;
}

void ArrayBase::freeOwnText() noexcept {
    if (type_ != ElementType::string) return;
    String text;
    std::memcpy(&text, own_, sizeof text);
    platform::freeString(text);
}

std::u16string readText(const Array<String> &array, Long index) { return platform::readString(array(index)); }

void storeText(Array<String> &array, Long index, std::u16string_view text) {
    String &element = array(index);
    const String fresh = platform::allocateString(text);
    const String old = element;
    element = fresh;
    platform::freeString(old);
}

void appendText(Array<String> &array, Long index, std::u16string_view text) {
    storeText(array, index, join(readText(array, index), text));
}

} // namespace kx3
