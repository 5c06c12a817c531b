#include "plugin.h"

#include "base/error.h"
#include "base/text.h"

#include <new>
#include <utility>

namespace kx3console {

namespace {

std::vector<std::string> linesOf(const std::string &prompt) {
    std::vector<std::string> lines{""};
    for (const char c : prompt)
        if (c == '\r')
            lines.emplace_back();
        else if (c != '\t')
            lines.back() += c;
    return lines;
}

} // namespace

kx3_status callbackFailure() noexcept {
    try {
        throw;
    } catch (const kx3::Error &error) {
        kx3_fail_with(kx3::toUtf8(error.description()).c_str());
        return static_cast<kx3_status>(error.number());
    } catch (const std::bad_alloc &) {
        return KX3_OUT_OF_MEMORY;
    } catch (const std::exception &error) {
        kx3_fail_with(error.what());
        return KX3_INTERNAL;
    }
}

std::string utf8(const std::uint16_t *units, std::size_t length) {
    if (units == nullptr) return {};
    return kx3::toUtf8({reinterpret_cast<const char16_t *>(units), length});
}

std::string shownText(const kx3_text &text) {
    std::string shown = utf8(text.units, text.length);
    std::erase(shown, '\t');
    return shown;
}

void Plugin::Release::operator()(kx3_mpu *mpu) const noexcept {
    kx3_mpu_freesharebuffermpu6(mpu);
    kx3_mpu_release(mpu);
}

Plugin::Plugin(const SharedBlocks &blocks, Callbacks callbacks) : callbacks_(std::move(callbacks)) {
    kx3_ui ui = kx3_ui_init();
    ui.context = this;
    ui.yield = [](void *context) {
        Plugin &plugin = *static_cast<Plugin *>(context);
        return plugin.callbacks_.yield ? plugin.remembering(plugin.callbacks_.yield) : KX3_OK;
    };
    ui.message_box = [](void *context, const std::uint16_t *prompt, std::size_t promptLength, std::int32_t style,
                        const std::uint16_t *title, std::size_t titleLength, std::int32_t *button) {
        Plugin &plugin = *static_cast<Plugin *>(context);
        *button = KX3_BUTTON_OK;
        return plugin.remembering([&] {
            if (plugin.callbacks_.ask)
                *button = plugin.callbacks_.ask(utf8(title, titleLength), utf8(prompt, promptLength), style);
        });
    };
    ui.show_form = [](void *context, kx3_form *form) {
        Plugin &plugin = *static_cast<Plugin *>(context);
        return plugin.remembering([&] { plugin.present_(form); });
    };
    finish(kx3_set_ui(&ui), "handing over the callbacks");
    kx3_mpu *mpu = nullptr;
    finish(kx3_mpu_create(&mpu), "creating the plug-in's entry object");
    mpu_.reset(mpu);
    std::int16_t instance = blocks.instance();
    finish(kx3_mpu_bufcommpu6(mpu, &instance), "attaching the shared blocks");
}

Plugin::~Plugin() {
    mpu_.reset();
    kx3_set_ui(nullptr);
}

std::optional<std::string> Plugin::run() {
    std::int16_t unused = 0;
    const kx3_status status = kx3_mpu_runMpu6Prg(mpu_.get(), &unused);
    failure_ = nullptr; // the session has ended as the plug-in ends it, with whatever was thrown
    if (status == KX3_OK) return std::nullopt;
    return kx3_last_error();
}

void Plugin::writeDefaults() { finish(kx3_mpu_sinitmpu6(mpu_.get()), "writing the default configuration bytes"); }

void Plugin::openEditor(std::function<void(kx3_form *)> present) {
    present_ = std::move(present);
    finish(kx3_mpu_editfigmpu6(mpu_.get()), "opening the configuration editor");
}

std::optional<Note> Plugin::note(std::uint8_t number) {
    std::optional<Note> note;
    callbacks_.ask = [&note](const std::string &title, const std::string &prompt, std::int32_t style) {
        note = Note{title, linesOf(prompt), style};
        std::erase(note->title, '\t');
        return KX3_BUTTON_OK;
    };
    finish(kx3_mpu_mpu6warn(mpu_.get(), &number), "showing the device note");
    callbacks_.ask = nullptr;
    return note;
}

/// An exception goes on when the plug-in's call has ended.
template <class Action> kx3_status Plugin::remembering(Action action) noexcept {
    return guarded([&] {
        try {
            action();
        } catch (...) {
            failure_ = std::current_exception();
            throw;
        }
    });
}

void Plugin::finish(kx3_status status, std::string_view what) {
    if (failure_) std::rethrow_exception(std::exchange(failure_, nullptr));
    if (status != KX3_OK) throw pluginFailure(what);
}

} // namespace kx3console
