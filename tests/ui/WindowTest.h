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

/// Base of tests in the real window with its style sheet and fonts. The test makes the catalogue.
class WindowTest : public WidgetTest
{
    Q_OBJECT

protected slots:
    void initTestCase();

protected:
    void tearDown() override;

    /// Adds "package-<id>" in the versions 2.0 and 1.0, with this many banners, to the catalogue.
    void offer(int id, int banners = 0);
    /// Makes the window, which requests the catalogue.
    void makeWindow();
    /// Shows the window. Returns whether it is active and shows the list.
    bool open(bool filter = false, const QSize &size = QSize(1320, 800));
    /// The same after offer() for the packages from 1 to this number.
    bool openWith(int packages, bool filter = false);

    Controllers::ApplicationController &application() const { return *m_application; }
    Ui::ApplicationWindow &window() const { return *m_window; }
    Components::WidgetList &list() const;
    /// The card's button of this object name.
    QPushButton *cardButton(int row, const char *objectName) const;
    /// Opens the detail view with the button of the card.
    void openDetail(int row);
    bool showsDetail() const;
    void turnTo(int page) const; ///< of the detail view
    void setState(int id, Package::State state, bool update = false);

    /// Presses a key. The focused widget receives it.
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) const;

private:
    QSharedPointer<Controllers::ApplicationController> m_application;
    std::unique_ptr<Ui::ApplicationWindow> m_window;
};

/// The same in another window.
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

/// Presses Tab, or Shift+Tab, until the focus returns to the first widget. Returns the widgets that
/// had the focus. Stops after a thousand steps.
QList<QWidget *> walkAround(QWidget &window, bool backwards = false);

} // namespace Kavo::Testing
