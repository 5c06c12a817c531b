// Saves a picture of every editor in every programming mode, in some languages.
//
//   win32_gallery FOLDER [DPI]
//
// Files are FOLDER/EDITOR-modeMODE-LANGUAGE.bmp. Exit code 1 when one could not be written.

#include "editors/editor_driver.h"
#include "win32/form_dialog.h"

#include <cstdio>
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
    info.bmiHeader = {.biSize = sizeof(BITMAPINFOHEADER),
                      .biWidth = width,
                      .biHeight = height,
                      .biPlanes = 1,
                      .biBitCount = 24,
                      .biCompression = BI_RGB,
                      .biSizeImage = lineBytes * static_cast<DWORD>(height),
                      .biXPelsPerMeter = 0,
                      .biYPelsPerMeter = 0,
                      .biClrUsed = 0,
                      .biClrImportant = 0};
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

bool showAndSave(Form &form, int dpi, const std::string &path) {
    win32::FormDialog dialog(form, dpi);
    dialog.show();
    ::RedrawWindow(dialog.window(), nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW | RDW_ALLCHILDREN | RDW_FRAME);
    return savePicture(dialog.window(), path);
}

int saveAll(const std::string &folder, int dpi) {
    TestApartment plugin;
    plugin.attach(9000);
    plugin.host.tlength(0) = 2048;
    int failures = 0;
    for (const Language &language : languages)
        for (const Byte mode : editorModes) {
            plugin.host.Language(0) = language.block;
            plugin.host.prgmode(0) = mode;
            plugin.ui->onModal = [&](Form &form) {
                std::array<char, 64> name{};
                std::snprintf(name.data(), name.size(), "/%s-mode%02d-%s.bmp", form.name().c_str(), mode,
                              language.name);
                if (!showAndSave(form, dpi, folder + name.data())) ++failures;
            };
            plugin.mpu.editfigmpu6();
        }
    return failures;
}

} // namespace
} // namespace kx3::test

int main(int argc, char **argv) {
    if (argc < 2) {
        std::fputs("usage: win32_gallery FOLDER [DPI]\n", stderr);
        return 2;
    }
    const int dpi = argc > 2 ? std::atoi(argv[2]) : kx3::win32::designDpi;
    return kx3::test::saveAll(argv[1], dpi) == 0 ? 0 : 1;
}
