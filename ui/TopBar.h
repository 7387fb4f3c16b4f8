#pragma once

#include "components/StyledWidget.h"

#include <QPoint>
#include <QSharedPointer>

class QHBoxLayout;
class QLineEdit;
class QPushButton;

namespace Kavo::Controllers {
class TopbarController;
}

namespace Kavo::Ui {

/// The strip at the top of the frameless window: logo, launcher of the simulator, search field,
/// buttons and window buttons. The window is dragged by it.
class TopBar final : public Components::StyledWidget
{
    Q_OBJECT

public:
    explicit TopBar(const QSharedPointer<Controllers::TopbarController> &controller,
                    QWidget *parent = nullptr);

    /// Gives the keyboard to the Refresh button.
    void focusRefresh();

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    void drag(const QPoint &position);

    void addLogo(QHBoxLayout &layout);
    void addRepositoryLabel(QHBoxLayout &layout);
    void addLauncher(QHBoxLayout &layout);
    void addSearch(QHBoxLayout &layout);
    void addButtons(QHBoxLayout &layout);
    void addWindowControl(QHBoxLayout &layout);
    QPushButton *makeButton(int glyph, const QString &description);

    void runSimulator();
    void openSettings();
    void askForReset();

    QSharedPointer<Controllers::TopbarController> m_controller;
    bool m_dragging = false;
    QPoint m_pressed;
    QLineEdit *m_searchField = nullptr;
    QPushButton *m_searchButton = nullptr;
    QPushButton *m_refreshButton = nullptr;
};

} // namespace Kavo::Ui
