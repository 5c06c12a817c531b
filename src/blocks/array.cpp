#include "blocks/array.h"

#include "base/text.h"
#include "blocks/block_table.h"
#include "platform/strings.h"

#include <cstring>

namespace kx3 {

ArrayBase::ArrayBase(ElementType type, std::string_view root) noexcept : type_(type), root_(root) {
    descriptor_.cbElements = elementWidth(type);
}

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

void ArrayBase::refuse(std::int64_t index) const {
    raise(ErrorNumber::subscript,
          join(standardDescription(ErrorNumber::subscript), u": ", fromUtf8(blockPrefix), fromUtf8(root_), u"(",
               fromUtf8(std::to_string(index)), u") of ", fromUtf8(std::to_string(count()))));
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
