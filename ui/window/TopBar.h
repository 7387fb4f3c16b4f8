#pragma once

#include "components/StyledWidget.h"

#include <QPoint>
#include <QSharedPointer>

class QHBoxLayout;
class QPushButton;

namespace Kavo::Controllers {
class TopbarController;
}

namespace Kavo::Ui {

class SearchField;

/// The strip at the top of the frameless window: logo, launcher of the simulator, search field,
/// buttons and window buttons. The window is dragged by it, and maximised and restored by a double
/// click.
class TopBar final : public Components::StyledWidget
{
    Q_OBJECT

public:
    explicit TopBar(const QSharedPointer<Controllers::TopbarController> &controller,
                    QWidget *parent = nullptr);

    /// Gives the keyboard to the Refresh button.
    void focusRefresh();

    /// Shows the search with the keyboard in its field. What is typed goes behind the text there;
    /// without it that text is selected.
    void beginSearch(const QString &typed = QString());
    /// Empties the field. It is hidden with its button where they are not always there.
    void endSearch();
    /// What screen readers say of what was found.
    void describeSearch(const QString &result);

signals:
    /// The text in the search field has changed.
    void searched(const QString &text);
    /// The keyboard is to go to what was found.
    void searchConfirmed();
    /// The search field is about to be hidden, and has the keyboard.
    void searchLeft();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    void drag(const QPoint &position);
    void showSearch(bool shown);

    void addLogo(QHBoxLayout &layout);
    void addRepositoryLabel(QHBoxLayout &layout);
    void addLauncher(QHBoxLayout &layout);
    void addSearch(QHBoxLayout &layout);
    void addSearchKeys();
    void addButtons(QHBoxLayout &layout);
    void addWindowControl(QHBoxLayout &layout);
    QPushButton *makeBarButton(int glyph, const QString &description);

    void runSimulator();
    void openSettings();
    void askForReset();

    QSharedPointer<Controllers::TopbarController> m_controller;
    bool m_dragging = false;
    QPoint m_pressed;
    SearchField *m_searchField = nullptr;
    QPushButton *m_searchButton = nullptr;
    QPushButton *m_refreshButton = nullptr;
};

} // namespace Kavo::Ui
