// Saves a picture of every editor in every programming mode, in some languages.
//
//   win32_gallery FOLDER [DPI]
//
// Files are FOLDER/EDITOR-modeMODE-LANGUAGE.bmp, and FOLDER/refused-LANGUAGE.bmp. Exit code 1 when one could not be
// written.

#include "editors/editor_driver.h"
#include "win32/form_dialog.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace kx3::test {
namespace {

struct Language {
    const char *name;
    Long block;
};
constexpr Language languages[] = {{"en", 0}, {"zh-cn", 3000}, {"ru", 33000}};

/// The window as the screen shows it, as a file of 24-bit pixels.
bool savePicture(HWND window, const std::string &path) {
    RECT place{};
    ::GetWindowRect(window, &place);
    const LONG width = place.right - place.left;
    const LONG height = place.bottom - place.top;
    const DWORD lineBytes = (static_cast<DWORD>(width) * 3 + 3) / 4 * 4;
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = height;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 24;
    info.bmiHeader.biSizeImage = lineBytes * static_cast<DWORD>(height);
    HDC screen = ::GetWindowDC(window);
    HDC memory = ::CreateCompatibleDC(screen);
    void *bits = nullptr;
    HBITMAP bitmap = ::CreateDIBSection(screen, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    HGDIOBJ old = ::SelectObject(memory, bitmap);
    ::BitBlt(memory, 0, 0, width, height, screen, 0, 0, SRCCOPY);
    ::GdiFlush();

    BITMAPFILEHEADER head{};
    head.bfType = 0x4D42;
    head.bfOffBits = sizeof head + sizeof info.bmiHeader;
    head.bfSize = head.bfOffBits + info.bmiHeader.biSizeImage;
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char *>(&head), sizeof head);
    file.write(reinterpret_cast<const char *>(&info.bmiHeader), sizeof info.bmiHeader);
    file.write(static_cast<const char *>(bits), static_cast<std::streamsize>(info.bmiHeader.biSizeImage));

    ::SelectObject(memory, old);
    ::DeleteObject(bitmap);
    ::DeleteDC(memory);
    ::ReleaseDC(window, screen);
    return file.good();
}

/// OK with an entry that is none.
void beRefused(Form &form) {
    Person person(form);
    person.paste("Text1", 3, u"12 45678");
    person.ok();
}

bool showAndSave(Form &form, int dpi, const std::string &path) {
    win32::FormDialog dialog(form, dpi);
    dialog.show();
    ::RedrawWindow(dialog.window(), nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW | RDW_ALLCHILDREN | RDW_FRAME);
    return savePicture(dialog.window(), path);
}

class Gallery {
  public:
    Gallery(std::string folder, int dpi) : folder_(std::move(folder)), dpi_(dpi) {
        plugin_.attach(9000);
        plugin_.host.tlength(0) = 2048;
    }

    /// All pictures; false when one could not be written.
    bool save() {
        for (const Language &language : languages) {
            plugin_.host.Language(0) = language.block;
            for (const Byte mode : editorModes)
                open(mode, [&](Form &form) { add(form, form.name() + "-mode" + twoDigits(mode), language); });
            open(64, [&](Form &form) {
                beRefused(form);
                add(form, "refused", language);
            });
        }
        return complete_;
    }

  private:
    static std::string twoDigits(Byte number) { return (number < 10 ? "0" : "") + std::to_string(number); }

    void open(Byte mode, const std::function<void(Form &)> &show) {
        plugin_.host.prgmode(0) = mode;
        plugin_.ui->onModal = show;
        plugin_.mpu.editfigmpu6();
    }
    void add(Form &form, const std::string &name, const Language &language) {
        complete_ = showAndSave(form, dpi_, folder_ + '/' + name + '-' + language.name + ".bmp") && complete_;
    }

    TestApartment plugin_;
    std::string folder_;
    int dpi_;
    bool complete_ = true;
};

} // namespace
} // namespace kx3::test

int main(int argc, char **argv) {
    if (argc < 2) {
        std::fputs("usage: win32_gallery FOLDER [DPI]\n", stderr);
        return 2;
    }
    const int dpi = argc > 2 ? std::atoi(argv[2]) : kx3::win32::designDpi;
    return kx3::test::Gallery(argv[1], dpi).save() ? 0 : 1;
}
