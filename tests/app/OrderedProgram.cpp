// Runs the program with its window, with the server and the 7-Zip of the command line.
//
//     ordered_program SERVER EXTRACTOR [BUTTON]
//
// Presses all buttons with this object name or accessible name as soon as at least one of them is
// visible and enabled. Prints "asks" when it shows its first modal window.

#include "app/ScreenScale.h"
#include "app/StartUp.h"
#include "ui/window/ApplicationWindow.h"

#include <QApplication>
#include <QPushButton>
#include <QTextStream>
#include <QTimer>

#include <chrono>

using Kavo::Ui::ApplicationWindow;

namespace {

constexpr std::chrono::milliseconds LookInterval{5};

QVector<QPushButton *> buttonsOf(const QString &name)
{
    QVector<QPushButton *> found;
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (const QWidget *window : windows) {
        if (!qobject_cast<const ApplicationWindow *>(window))
            continue;
        const auto buttons = window->findChildren<QPushButton *>();
        for (QPushButton *button : buttons) {
            const bool isMeant = button->objectName() == name || button->accessibleName() == name;
            if (isMeant && button->isVisible() && button->isEnabled())
                found.append(button);
        }
    }
    return found;
}

/// Returns whether there are such buttons. Each click is a separate queued event.
bool press(const QString &name)
{
    const QVector<QPushButton *> buttons = buttonsOf(name);
    for (QPushButton *button : buttons)
        QMetaObject::invokeMethod(button, &QPushButton::click, Qt::QueuedConnection);
    return !buttons.isEmpty();
}

} // namespace

int main(int argc, char **argv)
{
    const auto application = Kavo::makeScaledApplication(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 3)
        return 2;
    bool isPressed = arguments.size() < 4;
    bool asks = false;
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, application.get(), [&] {
        isPressed = isPressed || press(arguments.at(3));
        if (!asks && QApplication::activeModalWidget()) {
            asks = true;
            QTextStream(stdout) << "asks\n" << Qt::flush;
        }
    });
    look.start(LookInterval);
    return Kavo::StartUp(*application, {arguments.at(1), arguments.at(2)}).run();
}
