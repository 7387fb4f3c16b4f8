#pragma once

#include "core/ApplicationController.h"
#include "tests/packages/Engine.h"
#include "ui/window/ApplicationWindow.h"

#include <QPushButton>
#include <QSharedPointer>
#include <QSize>
#include <QStringList>

#include <memory>

namespace Kavo::Components {
class WidgetList;
}

namespace Kavo::Testing {

/// What a screen reader calls a widget; empty for none.
QString spokenName(QWidget *widget);

/// The real window with its style sheet and fonts, on a catalogue of the test's own.
class ShownWindow final
{
public:
    ShownWindow();
    ~ShownWindow();
    Q_DISABLE_COPY_MOVE(ShownWindow)

    /// Adds "package-<id>" in the versions 2.0 and 1.0, with so many banners, to the catalogue.
    void offer(int id, int banners = 0);
    /// Adds the packages 1 to count.
    void offerSome(int count);
    /// Shows the window and tells whether it is active with the list in it.
    bool open(bool filter = false, const QSize &size = QSize(1320, 800));

    Engine &engine() { return m_engine; }
    Ui::ApplicationWindow &window() { return *m_window; }
    Components::WidgetList &list() const;
    /// The card's button of this object name.
    QPushButton *cardButton(int row, const char *objectName) const;
    /// Opens the detail view with the button of the card.
    void openDetail(int row);
    bool showsDetail() const;

private:
    Engine m_engine;
    QSharedPointer<Controllers::ApplicationController> m_application;
    std::unique_ptr<Ui::ApplicationWindow> m_window;
};

/// Presses a key in a shown window as the keyboard does: it goes to whatever has the focus.
void press(QWidget &window, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);

/// Walks once around with Tab, or with Shift and Tab, from the first widget on, and returns the
/// widgets that had the focus. Ends after a thousand steps at the latest.
QList<QWidget *> walkAround(QWidget &window, bool backwards = false);

/// The spoken names of widgets.
QStringList spokenNames(const QList<QWidget *> &widgets);

} // namespace Kavo::Testing
