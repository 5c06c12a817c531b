// A line edit whose text belongs to the form: every key and every paste goes to the model, and the
// box shows what the model makes of it.
#pragma once

#include "form_model.h"

#include <QLineEdit>

class QAction;

namespace kx3qt {

class ModelEdit final : public QLineEdit {
  public:
    ModelEdit(FormModel &model, int32_t control, QWidget *parent);

    /// Take over text, selection and mark of the model. `message` is why the entry was refused.
    void show(const kx3_control_info &info, const QString &message);

  protected:
    void keyPressEvent(QKeyEvent *event) override;
    void inputMethodEvent(QInputMethodEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;

  private:
    [[nodiscard]] bool keyToModel(const QKeyEvent &event);
    void type(const QString &characters);
    void paste(const QString &text);
    void pasteClipboard();
    void selectionToModel();
    void mark(bool marked, const QString &message);

    FormModel &model_;
    int32_t control_;
    QAction *warning_ = nullptr; ///< icon inside the box while its entry is refused
    bool showing_ = false;
};

} // namespace kx3qt
