// A host of the C interface.
#pragma once

#include "kx3mpu6.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <unistd.h>

namespace kx3::test {

inline const std::uint16_t *units(std::u16string_view text) {
    return reinterpret_cast<const std::uint16_t *>(text.data());
}
inline std::u16string_view view(const std::uint16_t *units, std::size_t length) {
    return {reinterpret_cast<const char16_t *>(units), length};
}
inline std::u16string_view view(const kx3_text &text) { return view(text.units, text.length); }

/// The blocks of host instance 1, an entry object, and callbacks that a test puts in.
class NativeHost {
  public:
    NativeHost() { ::setenv("KX3MPU6_NAMESPACE", ("native" + std::to_string(::getpid())).c_str(), 1); }
    ~NativeHost() {
        (void)kx3_mpu_freesharebuffermpu6(mpu);
        kx3_mpu_release(mpu);
        for (const auto &[root, block] : blocks_)
            kx3_block_close(block);
        kx3_set_ui(nullptr);
        kx3_set_session_host(nullptr);
    }
    NativeHost(const NativeHost &) = delete;
    NativeHost &operator=(const NativeHost &) = delete;

    void createMpu() { ASSERT_EQ(kx3_mpu_create(&mpu), KX3_OK); }
    /// Create all blocks and attach an entry object to them.
    void attach(std::int32_t bufferLength) {
        for (std::int32_t i = 0; i < kx3_block_count(); ++i) {
            kx3_block_info info = kx3_block_info_init();
            ASSERT_EQ(kx3_block_describe(i, &info), KX3_OK);
            const std::string name = std::string("tamsel") + info.root + (info.numbered != 0 ? "1" : "");
            const std::int32_t bytes = info.bytes != 0 ? info.bytes : bufferLength + 2200;
            ASSERT_EQ(kx3_block_create(name.c_str(), bytes, &blocks_[info.root]), KX3_OK) << name;
        }
        at<std::int32_t>("buflength") = bufferLength;
        createMpu();
        ASSERT_EQ(kx3_mpu_bufcommpu6(mpu, &instance), KX3_OK) << kx3_last_error();
        buffer = {&at<std::uint8_t>("ibuffer"), static_cast<std::size_t>(bufferLength) + 2200};
    }
    template <class T> T &at(const std::string &root, std::size_t index = 0) {
        return static_cast<T *>(kx3_block_data(blocks_.at(root)))[index];
    }

    /// Have forms and message boxes shown by the two members below.
    void setUi() {
        kx3_ui ui = kx3_ui_init();
        ui.context = this;
        ui.show_form = [](void *context, kx3_form *form) -> kx3_status {
            return static_cast<NativeHost *>(context)->onForm(form), KX3_OK;
        };
        ui.message_box = [](void *context, const std::uint16_t *prompt, std::size_t promptLength, std::int32_t style,
                            const std::uint16_t *title, std::size_t titleLength, std::int32_t *button) -> kx3_status {
            std::optional<std::u16string_view> caption;
            if (title != nullptr) caption = view(title, titleLength);
            *button = KX3_BUTTON_OK;
            return static_cast<NativeHost *>(context)->onBox(view(prompt, promptLength), style, caption);
        };
        ASSERT_EQ(kx3_set_ui(&ui), KX3_OK);
    }
    std::function<void(kx3_form *)> onForm;
    std::function<kx3_status(std::u16string_view prompt, std::int32_t style, std::optional<std::u16string_view> title)>
        onBox;

    kx3_mpu *mpu = nullptr;
    std::int16_t instance = 1;
    std::span<std::uint8_t> buffer; ///< device data and configuration bytes

  private:
    std::map<std::string, kx3_block *> blocks_;
};

} // namespace kx3::test
