// A form of the plug-in as a modal dialog of Qt widgets.
#pragma once

#include "form_model.h"

#include <QDialog>
#include <cstdint>
#include <vector>

class QLabel;

namespace kx3qt {

class ScrollBody;

class FormDialog final : public QDialog {
  public:
    /// A dialog of all controls of `model`, which must outlive it.
    FormDialog(FormModel &model, QWidget *owner);

    /// Escape: presses the form's Cancel.
    void reject() override;

  protected:
    void showEvent(QShowEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

  private:
    void createWidgets();
    QWidget *createWidget(int32_t control, const kx3_control_info &info, QWidget *parent);
    void createMessageLine();

    /// Show what the form has become, or end with it.
    void follow();
    void refresh();
    void arrange(const kx3_form_info &form);
    void showTitle(const QString &title);
    void showCaption(int32_t control, const kx3_placement &place);
    void showState(int32_t control, const QString &message);

    [[nodiscard]] QWidget *widgetOf(int32_t control) const { return widgets_.at(static_cast<std::size_t>(control)); }

    FormModel &model_;
    std::vector<QWidget *> widgets_; ///< one a control
    ScrollBody *body_;
    QWidget *buttons_;
    QWidget *messageLine_ = nullptr;
    QLabel *message_ = nullptr;
    uint64_t revision_ = 0;  ///< that is shown
    uint64_t structure_ = 0; ///< revision of the structure that is shown
    int32_t cancel_ = -1;
    bool refreshing_ = false;
};

} // namespace kx3qt
