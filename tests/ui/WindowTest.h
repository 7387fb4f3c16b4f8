#pragma once

#include "core/ApplicationController.h"
#include "tests/ui/WidgetTest.h"
#include "ui/window/ApplicationWindow.h"

#include <QSize>
#include <QStringList>

namespace Kavo::Components {
class WidgetList;
}

namespace Kavo::Testing {

/// Base class of tests in the real window with its style sheet and fonts. The test fills the
/// catalogue.
class WindowTest : public WidgetTest
{
    Q_OBJECT

protected slots:
    void initTestCase();

protected:
    void tearDown() override;

    /// Adds "package-<id>" in the versions 2.0 and 1.0, with this many banners, to the catalogue.
    void offer(int id, int banners = 0);
    /// Creates the window, which requests the catalogue.
    void makeWindow();
    /// Shows the window. Returns whether it is active and shows the list.
    bool open(bool filter = false, const QSize &size = QSize(1320, 800));
    /// Like open(), after offer() for the packages from 1 to this number.
    bool openWith(int packages, bool filter = false);

    Controllers::ApplicationController &application() const { return *m_application; }
    Ui::ApplicationWindow &window() const { return *m_window; }
    Components::WidgetList &list() const;
    /// The card's button with this object name.
    QPushButton *cardButton(int row, const char *objectName) const;
    /// Opens the detail view with the button of the card.
    void openDetail(int row);
    bool showsDetail() const;
    void turnTo(int page) const; ///< selects a tab of the detail view
    void setState(int id, Package::State state, bool update = false);

    /// Presses a key. The focused widget receives it.
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) const;

private:
    QSharedPointer<Controllers::ApplicationController> m_application;
    std::unique_ptr<Ui::ApplicationWindow> m_window;
};

/// Presses a key in any window. The focused widget receives it.
void pressIn(QWidget &window, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);

/// The accessible name of a widget; empty for none.
QString spokenName(QWidget *widget);
QStringList spokenNames(const QList<QWidget *> &widgets);
/// The accessible name of the focused widget.
QString focusedName();

/// The accessible names of parts of the window, in reading order.
QStringList topBar(bool search = false);
QStringList filter();
QStringList cards(int count);

/// Clears the focus and presses Tab, or Shift+Tab, until a widget gets the focus again. Returns the
/// widgets in the order in which they had the focus, at most a thousand.
QList<QWidget *> walkAround(QWidget &window, bool backwards = false);

} // namespace Kavo::Testing
