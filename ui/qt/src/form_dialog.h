// A form of the plug-in as a modal dialog of Qt widgets.
#pragma once

#include "form_model.h"

#include <QDialog>
#include <array>
#include <cstdint>
#include <vector>

class QAbstractButton;
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
    /// What a layout depends on: shown, column, block, line, cell and part.
    using Place = std::array<int32_t, 6>;

    void createWidgets();
    QWidget *createWidget(int32_t control, const kx3_control_info &info, QWidget *parent);
    QWidget *createCombo(int32_t control, const kx3_control_info &info, QWidget *parent);
    QWidget *createButton(int32_t control, QAbstractButton *button);
    void createMessageLine();
    void setTabOrders();

    /// Act on the form, then show what has become of it.
    template <class Action> void act(Action action);
    void follow();
    void refresh();
    void showTitle(const QString &title);
    void refreshControl(int32_t control, const QString &message);
    void refreshFocus(int32_t focus);
    void arrange();
    void arrangeButtons();

    [[nodiscard]] int32_t count() const { return static_cast<int32_t>(widgets_.size()); }
    [[nodiscard]] QWidget *widgetOf(int32_t control) const { return widgets_.at(static_cast<std::size_t>(control)); }

    FormModel &model_;
    std::vector<QWidget *> widgets_; ///< one a control
    std::vector<int32_t> kinds_;     ///< beside them
    ScrollBody *body_;
    QWidget *buttons_;
    QWidget *messageLine_ = nullptr;
    QLabel *message_ = nullptr;
    std::vector<Place> arranged_; ///< the places that the layouts stand for
    uint64_t revision_ = 0;
    int32_t cancel_ = -1;
    bool refreshing_ = false;
};

} // namespace kx3qt
