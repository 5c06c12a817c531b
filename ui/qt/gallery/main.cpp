// kx3-qt-gallery FOLDER: a picture of every editor in every mode, in three languages, as the Qt
// presenter draws it. Needs a display, or QT_QPA_PLATFORM=offscreen.

#include "editor_host.h"

#include <kx3mpu6-qt.h>

#include <QApplication>
#include <QDialog>
#include <QTimer>
#include <exception>
#include <iostream>
#include <stdexcept>

namespace {

constexpr struct {
    const char *name;
    std::int32_t block;
} languages[] = {{"en", 0}, {"zh-cn", 3000}, {"ru", 33000}};

struct Picture {
    QString file;
    bool saved = false;
};

/// Draw the form, save what stands on the screen, and close it.
kx3_status showAndSave(void *context, kx3_form *form) {
    QTimer shown;
    shown.setSingleShot(true);
    shown.callOnTimeout([&picture = *static_cast<Picture *>(context)] {
        QWidget *dialog = QApplication::activeModalWidget();
        picture.saved = dialog != nullptr && dialog->grab().save(picture.file);
        if (dialog != nullptr) dialog->close();
    });
    shown.start();
    return kx3_qt_show_form(nullptr, form);
}

void makeGallery(const QString &folder) {
    if (const char *reason = kx3_qt_start()) throw std::runtime_error(reason);
    kx3qt::EditorHost host;
    for (const auto &[language, block] : languages)
        for (const auto &[mode, editor] : kx3qt::editorModes()) {
            Picture picture{QStringLiteral("%1/%2-mode%3-%4.png")
                                .arg(folder, QString::fromStdString(editor))
                                .arg(mode, 2, 10, QLatin1Char('0'))
                                .arg(QLatin1String(language))};
            host.selectLanguage(block);
            host.selectDevice(mode, 4096);
            kx3qt::require(host.openEditor(showAndSave, &picture), editor);
            if (!picture.saved) throw std::runtime_error("cannot write " + picture.file.toStdString());
        }
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 2) {
        std::cerr << "usage: kx3-qt-gallery FOLDER\n";
        return 2;
    }
    try {
        makeGallery(QString::fromLocal8Bit(argv[1]));
        return 0;
    } catch (const std::exception &error) {
        std::cerr << "kx3-qt-gallery: " << error.what() << '\n';
        return 1;
    }
}
