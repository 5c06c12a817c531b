// Any actions on the editors, in every mode.
#include "host.h"

namespace kx3::fuzz {
namespace {

std::u16string textFrom(Input &input) {
    constexpr std::u16string_view mostly = u"0123456789abcdefABCDEF xg\x7F\u00E4";
    std::u16string text;
    for (std::size_t count = input.below(10); count > 0; --count)
        text += mostly[input.below(mostly.size())];
    return text;
}

void act(Form &form, Input &input) {
    const Control &control = form.controls()[input.below(form.controls().size())];
    switch (input.below(10)) {
    case 0: form.click(control); break;
    case 1: form.check(control, input.below(2) != 0); break;
    case 2: form.keyDown(control, input.number<Integer>()); break;
    case 3: form.keyPress(control, input.number<char16_t>()); break;
    case 4: form.type(control, textFrom(input)); break;
    case 5: form.paste(control, textFrom(input)); break;
    case 6: form.selectText(control, input.number<Long>(), input.number<Long>()); break;
    case 7: form.setFocus(control); break;
    case 8: form.choose(control, input.number<Long>()); break;
    default: form.choose(control, static_cast<Long>(input.below(40)) - 1); break;
    }
}

} // namespace

void forms(Input input) {
    Host &t = Host::fresh();
    constexpr Long lengths[] = {64, 2048, 0x1000, -1, INT32_MAX, 0};
    t.host.prgmode(0) = input.number();
    t.host.tlength(0) = lengths[input.below(std::size(lengths))];
    t.host.chippin(0) = static_cast<Integer>(input.number());
    t.host.figvol(0) = input.number();
    t.host.Language(0) = static_cast<Long>(3000 * input.below(13));
    for (Long i = t.host.tlength(0) < 0x2000 ? t.host.tlength(0) : 0; i >= 0 && i < 0x2000 && !input.empty(); i += 3)
        t.host.ibuffer(i) = input.number();
    bool accepted = false;
    t.ui->onModal = [&](Form &form) {
        while (form.loaded() && !input.empty())
            act(form, input);
        if (form.loaded()) accepted = form.click(*form.defaultButton()) && !form.loaded();
        form.close();
    };
    if (!Host::succeeds([&] { t.mpu.editfigmpu6(); }) || !accepted) return;
    const std::vector<Byte> once = t.buffer();
    t.ui->onModal = Host::clickOk;
    promise(Host::succeeds([&] { t.mpu.editfigmpu6(); }), "an editor opens again");
    promise(t.buffer() == once, "OK twice is OK once");
}

} // namespace kx3::fuzz
