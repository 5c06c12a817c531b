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
        kx3_ui ui{};
        ui.struct_size = sizeof ui;
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
        kx3_block_info info{};
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
inline constexpr struct {
    std::uint8_t mode;
    const char *editor;
} editorModes[] = {
    {1, "edit_figmpu62"},   {2, "edit_figmpu62"},   {3, "edit_figmpu63"},   {4, "edit_figmpu63"},
    {6, "edit_figmpu63"},   {10, "edit_figmpu63"},  {12, "edit_figmpu64"},  {13, "edit_figmpu65"},
    {14, "edit_figmpu65"},  {15, "edit_figmpu65"},  {18, "edit_figmpu65"},  {30, "edit_figmpu65"},
    {31, "edit_figmpu65"},  {32, "edit_figmpu65"},  {55, "edit_figmpu65"},  {56, "edit_figmpu65"},
    {58, "edit_figmpu65"},  {59, "edit_figmpu65"},  {60, "edit_figmpu65"},  {61, "edit_figmpu65"},
    {62, "edit_figmpu65"},  {22, "edit_figmpu66"},  {26, "edit_figmpu66"},  {23, "edit_figmpu67"},
    {24, "edit_figmpu67"},  {25, "edit_figmpu67"},  {39, "edit_figmpu68"},  {40, "edit_figmpu68"},
    {41, "edit_figmpu68"},  {43, "edit_figmpu68"},  {44, "edit_figmpu68"},  {45, "edit_figmpu69"},
    {46, "edit_figmpu69"},  {47, "edit_figmpu69"},  {48, "edit_figmpu69"},  {49, "edit_figmpu69"},
    {50, "edit_figmpu600"}, {51, "edit_figmpu601"}, {64, "edit_figmpu602"},
};

} // namespace kx3qt
