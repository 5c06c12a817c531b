// A host that opens the editor of any mode on blocks of its own, for pictures and tests.
#pragma once

#include <kx3mpu6.h>

#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <unistd.h>

namespace kx3qt {

inline void require(kx3_status status, const std::string &what) {
    if (status != KX3_OK) throw std::runtime_error(what + ": " + kx3_last_error());
}

class EditorHost {
  public:
    static constexpr std::int32_t deviceBytes = 9000;

    EditorHost() {
        ::setenv("KX3MPU6_NAMESPACE", ("qt" + std::to_string(::getpid())).c_str(), 1);
        for (std::int32_t i = 0; i < kx3_block_count(); ++i)
            createBlock(i);
        store<std::int32_t>("buflength", deviceBytes);
        kx3_mpu *mpu = nullptr;
        require(kx3_mpu_create(&mpu), "creating the entry object");
        mpu_.reset(mpu);
        std::int16_t instance = 1;
        require(kx3_mpu_bufcommpu6(mpu, &instance), "attaching the blocks");
    }

    void selectDevice(std::uint8_t mode, std::int32_t length, std::int16_t pins = 20) {
        store<std::uint8_t>("prgmode", mode);
        store<std::int32_t>("tlength", length);
        store<std::int16_t>("chippin", pins);
    }
    /// Language block: 0, 3000 ... 33000.
    void selectLanguage(std::int32_t language) { store<std::int32_t>("Language", language); }

    /// Open the editor with `show` as the presenter.
    [[nodiscard]] kx3_status openEditor(kx3_status (*show)(void *, kx3_form *), void *context = nullptr) {
        kx3_ui ui = kx3_ui_init();
        ui.context = context;
        ui.show_form = show;
        require(kx3_set_ui(&ui), "handing over the presenter");
        return kx3_mpu_editfigmpu6(mpu_.get());
    }

    [[nodiscard]] std::span<std::uint8_t> buffer() const {
        const auto &block = blocks_.at("ibuffer");
        return {static_cast<std::uint8_t *>(kx3_block_data(block.get())), kx3_block_size(block.get())};
    }

  private:
    struct Release {
        void operator()(kx3_block *block) const { kx3_block_close(block); }
        void operator()(kx3_mpu *mpu) const {
            kx3_mpu_freesharebuffermpu6(mpu);
            kx3_mpu_release(mpu);
        }
    };

    void createBlock(std::int32_t index) {
        kx3_block_info info = kx3_block_info_init();
        require(kx3_block_describe(index, &info), "describing a block");
        const std::string name = std::string("tamsel") + info.root + (info.numbered != 0 ? "1" : "");
        kx3_block *block = nullptr;
        require(kx3_block_create(name.c_str(), info.bytes != 0 ? info.bytes : deviceBytes + 2200, &block), name);
        blocks_[info.root].reset(block);
    }
    template <class T> void store(const char *root, T value) {
        *static_cast<T *>(kx3_block_data(blocks_.at(root).get())) = value;
    }

    std::map<std::string, std::unique_ptr<kx3_block, Release>> blocks_;
    std::unique_ptr<kx3_mpu, Release> mpu_;
};

/// Every mode that has an editor, with the editor's name.
inline std::map<std::uint8_t, std::string> editorModes() {
    std::map<std::uint8_t, std::string> modes;
    kx3_device device = kx3_device_init();
    device.tlength = 4096;
    device.chippin = 20;
    do {
        kx3_editor *editor = nullptr;
        if (kx3_editor_describe(&device, 0, &editor) == KX3_OK) modes[device.prgmode] = kx3_editor_name(editor);
        kx3_editor_free(editor);
    } while (++device.prgmode != 0);
    return modes;
}

} // namespace kx3qt
