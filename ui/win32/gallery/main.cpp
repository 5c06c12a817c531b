// win32_gallery FOLDER [DPI]: a picture of every editor in every mode, in three languages, and of an entry
// that OK has refused, as the Windows presenter draws them.

#include "doorstep/programmer_libraries.h"
#include "doorstep/system_clock.h"
#include "forms/form.h"
#include "host/apartment.h"
#include "host/mpu.h"
#include "platform/win32/wide.h"
#include "win32/form_dialog.h"

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <propidl.h>
#include <stdexcept>

#include <gdiplus.h> // needs propidl.h

namespace kx3::win32 {
namespace {

constexpr struct {
    const char *name;
    Long block;
} languages[] = {{"en", 0}, {"zh-cn", 3000}, {"ru", 33000}};

constexpr CLSID pngEncoder{0x557CF406, 0x1A04, 0x11D3, {0x9A, 0x73, 0x00, 0x00, 0xF8, 0x1E, 0xF3, 0x2E}};

/// Save the window as the screen shows it.
void savePicture(HWND window, const std::string &file) {
    ::RedrawWindow(window, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW | RDW_ALLCHILDREN | RDW_FRAME);
    RECT place{};
    ::GetWindowRect(window, &place);
    Gdiplus::Bitmap picture(place.right - place.left, place.bottom - place.top, PixelFormat24bppRGB);
    Gdiplus::Graphics graphics(&picture);
    HDC target = graphics.GetHDC();
    HDC screen = ::GetWindowDC(window);
    ::BitBlt(target, 0, 0, place.right - place.left, place.bottom - place.top, screen, 0, 0, SRCCOPY);
    ::ReleaseDC(window, screen);
    graphics.ReleaseHDC(target);
    if (picture.Save(platform::wide(fromUtf8(file)), &pngEncoder, nullptr) != Gdiplus::Ok)
        throw std::runtime_error("cannot write " + file);
}

class GalleryUi final : public Ui {
  public:
    std::function<void(Form &)> show;

    MessageBoxResult messageBox(std::u16string_view, Long, std::optional<std::u16string_view>) override {
        return MessageBoxResult::ok;
    }
    void yield() override {}
    void showModal(Form &form) override { show(form); }
};

constexpr int modeOfWords = 64; ///< its editor has boxes of eight digits

/// OK with an entry that is none.
void beRefused(Form &form) {
    const Control *box = form.find("Text1", 3);
    form.selectText(*box, 0, 100);
    form.paste(*box, u"12 45678");
    form.click(*form.defaultButton());
}

void makeGallery(const std::string &folder, int dpi) {
    ULONG_PTR gdiplus = 0; // stays started until the program ends
    const Gdiplus::GdiplusStartupInput input;
    Gdiplus::GdiplusStartup(&gdiplus, &input, nullptr);
    auto made = std::make_unique<GalleryUi>();
    GalleryUi &ui = *made;
    Apartment plugin({std::make_unique<ProgrammerLibraries>(), [] { return nullptr; }, std::move(made),
                      std::make_unique<SystemClock>()});
    sharemap &blocks = plugin.blocks();
    blocks.MapSharedBlocks(1, ui);
    blocks.buflength(0) = 9000;
    blocks.MapDeviceBuffer(9000 + deviceBufferExtra, ui);
    blocks.tlength(0) = 2048;
    clsMPU mpu(plugin);
    const auto open = [&](int mode, const std::function<void(Form &)> &show) {
        blocks.prgmode(0) = static_cast<Byte>(mode);
        ui.show = show;
        mpu.editfigmpu6();
    };
    for (const auto &[language, block] : languages) {
        const auto save = [&](Form &form, const std::string &name) {
            FormDialog dialog(form, dpi);
            dialog.show();
            savePicture(dialog.window(), folder + '/' + name + '-' + language + ".png");
        };
        blocks.Language(0) = block;
        for (int mode = 0; mode <= 0xFF; ++mode) {
            const std::string number = (mode < 10 ? "0" : "") + std::to_string(mode);
            open(mode, [&](Form &form) { save(form, form.name() + "-mode" + number); });
        }
        open(modeOfWords, [&](Form &form) { beRefused(form), save(form, "refused"); });
    }
}

} // namespace
} // namespace kx3::win32

int main(int argc, char **argv) {
    if (argc < 2) {
        std::fputs("usage: win32_gallery FOLDER [DPI]\n", stderr);
        return 2;
    }
    try {
        kx3::win32::makeGallery(argv[1], argc > 2 ? std::atoi(argv[2]) : kx3::win32::designDpi);
        return 0;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "win32_gallery: %s\n", error.what());
        return 1;
    }
}
