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

/// Base of tests in the real window with its style sheet and fonts, on a catalogue of the test's
/// own.
class WindowTest : public WidgetTest
{
    Q_OBJECT

protected slots:
    void initTestCase();
    void cleanup();

protected:
    /// Adds "package-<id>" in the versions 2.0 and 1.0, with so many banners, to the catalogue.
    void offer(int id, int banners = 0);
    /// Adds the packages 1 to count.
    void offerSome(int count);
    /// Makes the window, which asks for the catalogue by itself.
    void makeWindow();
    /// Shows the window and tells whether it is active with the list in it.
    bool open(bool filter = false, const QSize &size = QSize(1320, 800));

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

    /// Presses a key as the keyboard does: it goes to whatever has the focus.
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) const;

private:
    QSharedPointer<Controllers::ApplicationController> m_application;
    std::unique_ptr<Ui::ApplicationWindow> m_window;
};

/// The same key in another window.
void pressIn(QWidget &window, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);

/// What a screen reader calls a widget; empty for none.
QString spokenName(QWidget *widget);
QStringList spokenNames(const QList<QWidget *> &widgets);
/// What it calls the widget with the keyboard.
QString focusedName();

/// The spoken names of what stands in the window, in reading order.
QStringList topBar(bool search = false);
QStringList filter();
QStringList cards(int count);

/// Walks once around with Tab, or with Shift and Tab, from the first widget on, and returns the
/// widgets that had the focus. Ends after a thousand steps at the latest.
QList<QWidget *> walkAround(QWidget &window, bool backwards = false);

} // namespace Kavo::Testing
