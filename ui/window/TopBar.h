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

/// The bar at the top of the frameless window: logo, launcher of the simulator, search field,
/// buttons and window buttons. Dragging it moves the window, and a double click maximises or
/// restores it.
class TopBar final : public Components::StyledWidget
{
    Q_OBJECT

public:
    explicit TopBar(const QSharedPointer<Controllers::TopbarController> &controller,
                    QWidget *parent = nullptr);

    /// Sets the focus to the Refresh button.
    void focusRefresh();

    /// Shows the search field with the focus in it. `typed` is appended to its text; if it is
    /// empty, the text is selected.
    void beginSearch(const QString &typed = QString());
    /// Clears the search field. In a narrow window field and button are hidden.
    void endSearch();
    /// Sets the description of the search result for screen readers.
    void describeSearch(const QString &result);

signals:
    /// The text in the search field has changed.
    void searched(const QString &text);
    /// The focus should move to the search result.
    void searchConfirmed();
    /// The search field has the focus and is about to be hidden.
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
