// Any calls of the C interface in any order, with arguments that a careful host would not pass.
#include "input.h"

#include "kx3mpu6.h"
#include "rig/blocks.h"
#include "rig/fakes.h"
#include "rig/own_blocks.h"

#include <array>

namespace kx3::fuzz {
namespace {

/// What a host has in hand.
struct Host {
    explicit Host(Input &itsInput) : input(itsInput) {}
    ~Host() {
        kx3_set_ui(nullptr);
        kx3_set_session_host(nullptr);
        std::ranges::for_each(objects, kx3_mpu_release);
        std::ranges::for_each(blocks, kx3_block_close);
        std::ranges::for_each(strings, kx3_string_free);
    }
    Host(const Host &) = delete;
    Host &operator=(const Host &) = delete;

    /// A good object, one that is released, or none.
    kx3_mpu *object() {
        if (objects.empty() || input.below(8) == 0) return nullptr;
        return input.below(8) == 0 && released != nullptr ? released : objects[input.below(objects.size())];
    }
    std::uint32_t string() {
        return strings.empty() || input.below(4) == 0 ? input.number<std::uint32_t>()
                                                      : strings[input.below(strings.size())];
    }
    std::array<std::uint16_t, 12> units() {
        std::array<std::uint16_t, 12> text{};
        for (std::uint16_t &unit : text)
            unit = input.number<std::uint16_t>();
        return text;
    }

    Input &input;
    std::vector<kx3_mpu *> objects;
    kx3_mpu *released = nullptr;
    std::vector<kx3_block *> blocks;
    std::vector<std::uint32_t> strings;
    int depth = 0;
    int callbacks = 0;
};

void callOnce(Host &host);

kx3_status callback(void *context) {
    Host &host = *static_cast<Host *>(context);
    constexpr int mostCallbacks = 300;
    if (++host.callbacks > mostCallbacks) return KX3_DEVICE_IO;
    if (host.depth < 3 && host.input.below(4) == 0) callOnce(host);
    if (host.input.below(8) != 0) return KX3_OK;
    if (host.input.below(2) == 0) kx3_fail_with("ordered");
    return host.input.number<std::int32_t>();
}
template <class... Arguments> kx3_status operation(void *context, Arguments... arguments) {
    [[maybe_unused]] const auto fill = [&](auto last) {
        if constexpr (std::is_pointer_v<decltype(last)>)
            *last = static_cast<std::int32_t>(static_cast<Host *>(context)->input.below(3));
    };
    (fill(arguments), ...);
    return callback(context);
}
/// The operation that has this type.
template <class... Arguments> auto operationLike(kx3_status (* /*member*/)(void *, Arguments...)) {
    return operation<Arguments...>;
}
kx3_status answer(void *context, const std::uint16_t *, std::size_t, std::int32_t, const std::uint16_t *, std::size_t,
                  std::int32_t *button) {
    *button = static_cast<std::int32_t>(static_cast<Host *>(context)->input.below(7));
    return callback(context);
}

kx3_status showForm(void *context, kx3_form *form) {
    Host &host = *static_cast<Host *>(context);
    Input &input = host.input;
    for (int i = 0; i < 60 && !input.empty() && kx3_form_loaded(form) != 0; ++i) {
        const auto control =
            input.below(16) == 0 ? input.number<std::int32_t>() : static_cast<std::int32_t>(input.below(90));
        const auto value = input.number<std::int32_t>();
        const auto units = host.units();
        std::int32_t done = 0;
        kx3_form_info info = kx3_form_info_init();
        kx3_control_info shown = kx3_control_info_init();
        kx3_text text{};
        switch (input.below(12)) {
        case 0: kx3_form_describe(form, &info); break;
        case 1: kx3_form_control(form, control, &shown); break;
        case 2: kx3_form_item(form, control, value, &text); break;
        case 3: kx3_form_find(form, input.below(2) != 0 ? "Combo1" : nullptr, value, &done); break;
        case 4: kx3_form_choose(form, control, value % 40, &done); break;
        case 5: kx3_form_click(form, control, nullptr); break;
        case 6: kx3_form_key_down(form, control, static_cast<std::int16_t>(value), &done); break;
        case 7: kx3_form_key_press(form, control, units[0], &done); break;
        case 8: kx3_form_paste(form, control, units.data(), units.size(), &done); break;
        case 9: kx3_form_select_text(form, control, value, value / 3, &done); break;
        case 10: kx3_form_focus(form, control, &done); break;
        default: callback(context); break;
        }
    }
    return input.below(4) == 0 ? callback(context) : kx3_form_close(form, nullptr);
}

void setUi(Host &host) {
    kx3_ui ui{sizeof(kx3_ui), &host, callback, answer, showForm};
    const std::size_t sizes[] = {sizeof ui, sizeof ui - sizeof(void *), sizeof(std::size_t), 0, sizeof ui - 1};
    ui.struct_size = sizes[host.input.below(std::size(sizes))];
    kx3_set_ui(host.input.below(8) == 0 ? nullptr : &ui);
}

void setSessionHost(Host &host) {
    kx3_session_host session = kx3_session_host_init();
    session.context = &host;
#define KX3_OPERATION(name, result, parameters, arguments) session.name = operationLike(session.name);
#include "outside/session_host_operations.inc"
    if (host.input.below(8) == 0) session.struct_size = host.input.below(sizeof session);
    kx3_set_session_host(host.input.below(8) == 0 ? nullptr : &session);
}

/// Instance 0 of all blocks, kept over all runs because making them is slow.
class StandingBlocks {
  public:
    StandingBlocks() {
        test::useOwnNamespace();
        test::FakeUi ui;
        blocks_.MapSharedBlocks(0, ui);
        blocks_.MapDeviceBuffer(4096, ui);
        promise(ui.boxes.empty(), "every block can be made");
        rows_ = test::allBlocks(blocks_);
    }
    /// Zeros at each start; the large blocks hold data, which nothing depends on.
    void clear() {
        for (const test::Block &block : rows_) {
            for (Long i = 0; block.texts != nullptr && i < static_cast<Long>(block.texts->count()); ++i)
                kx3_string_free((*block.texts)(i).handle);
            std::ranges::fill(block.bytes.first(std::min<std::size_t>(block.bytes.size(), 512)), std::byte{0});
        }
    }
    std::span<std::byte> any(Input &input) { return rows_[input.below(rows_.size())].bytes; }

  private:
    sharemap blocks_;
    std::vector<test::Block> rows_;
};

StandingBlocks &standingBlocks() {
    static StandingBlocks blocks;
    return blocks;
}

/// Fill a block's view, most often with the small values that choose devices and operations.
void fill(Host &host) {
    const std::span<std::byte> block = standingBlocks().any(host.input);
    const auto bytes = host.input.take(1 + host.input.below(16));
    overwrite(block.subspan(host.input.below(std::min<std::size_t>(block.size(), 64))), bytes);
}

void createOrOpen(Host &host) {
    static constexpr const char *names[] = {"tamselibuf19", "tamselprgmode0", "", nullptr, "../x",
                                            "a b",          "tamselibuffer"};
    const char *name = names[host.input.below(std::size(names))];
    kx3_block *block = nullptr;
    const auto bytes = static_cast<std::int32_t>(host.input.below(0x3000)) - 2;
    const kx3_status status =
        host.input.below(2) != 0 ? kx3_block_create(name, bytes, &block) : kx3_block_open(name, &block);
    promise((status == KX3_OK) == (block != nullptr), "a block exactly on success");
    if (block != nullptr) host.blocks.push_back(block);
}

void describeEditor(Host &host) {
    Input &input = host.input;
    const kx3_device device{sizeof(kx3_device), input.number<std::int32_t>(), input.number<std::int16_t>(),
                            input.number(), input.number()};
    std::array<std::int32_t, 4> addresses{};
    std::array<std::uint8_t, 4> values{};
    std::size_t count = 0;
    (void)kx3_default_bytes(&device, addresses.data(), values.data(), device.prgmode % 5, &count);
    kx3_editor *editor = nullptr;
    if (kx3_editor_describe(&device, static_cast<std::int32_t>(3000 * input.below(14)), &editor) != KX3_OK) return;
    kx3_field_info field = kx3_field_info_init();
    kx3_config_byte_info byte = kx3_config_byte_info_init();
    kx3_text text{};
    for (std::int32_t i = -1; i <= kx3_editor_field_count(editor); ++i)
        if (kx3_editor_field(editor, i, &field) == KX3_OK)
            promise(kx3_editor_item(editor, i, field.items, &text) != KX3_OK, "no item behind the last");
    for (std::int32_t i = -1; i <= kx3_editor_byte_count(editor); ++i)
        (void)kx3_editor_byte(editor, i, &byte); // an address can be an Overflow
    (void)kx3_editor_name(editor);
    (void)kx3_editor_mirror(editor);
    kx3_editor_free(editor);
}

void strings(Host &host) {
    const auto units = host.units();
    std::uint32_t handle = 0;
    if (kx3_string_alloc(units.data(), host.input.below(units.size() + 1), &handle) == KX3_OK)
        host.strings.push_back(handle);
    std::array<std::uint16_t, 4> some{};
    std::size_t length = 0;
    kx3_string_read(host.string(), some.data(), host.input.below(some.size() + 1), &length);
    if (host.input.below(2) != 0) kx3_string_free(host.string());
}

void callObject(Host &host) {
    kx3_mpu *object = host.object();
    Input &input = host.input;
    auto number = static_cast<std::int16_t>(input.below(8) == 0 ? 1 : 0);
    auto note = input.number();
    std::int32_t value = 0;
    switch (input.below(9)) {
    case 0: kx3_mpu_bufcommpu6(object, input.below(8) == 0 ? nullptr : &number); break;
    case 1: kx3_mpu_freesharebuffermpu6(object); break;
    case 2: kx3_mpu_sinitmpu6(object); break;
    case 3: kx3_mpu_mpu6warn(object, &note); break;
    case 4: kx3_mpu_editfigmpu6(object); break;
    case 5: kx3_mpu_get_buflg(object, &value); break;
    case 6: kx3_mpu_put_buflg(object, input.number<std::int32_t>()); break;
    default: kx3_mpu_runMpu6Prg(object, input.below(8) == 0 ? nullptr : &number); break;
    }
}

void callOnce(Host &host) {
    ++host.depth;
    kx3_mpu *object = nullptr;
    std::int16_t number = 0;
    switch (host.input.below(12)) {
    case 0:
        if (kx3_mpu_create(host.input.below(8) == 0 ? nullptr : &object) == KX3_OK) host.objects.push_back(object);
        break;
    case 1:
        if (host.depth > 1 || host.objects.empty()) break;
        host.released = host.objects.back();
        host.objects.pop_back();
        kx3_mpu_release(host.released);
        break;
    case 2: setUi(host); break;
    case 3: setSessionHost(host); break;
    case 4: fill(host); break;
    case 5: kx3_mpu_bufcommpu6(host.object(), &number); break;
    case 6: createOrOpen(host); break;
    case 7: describeEditor(host); break;
    case 8: strings(host); break;
    case 9: kx3_findnum(host.input.below(4) == 0 ? nullptr : &number); break;
    default: callObject(host); break;
    }
    const char *explanation = nullptr;
    (void)kx3_session_outcome(&explanation);
    promise(kx3_last_error() != nullptr && explanation != nullptr, "texts are never missing");
    --host.depth;
}

} // namespace

void calls(Input input) {
    standingBlocks().clear();
    Host host(input);
    for (int i = 0; i < 100 && !input.empty(); ++i)
        callOnce(host);
}

} // namespace kx3::fuzz
