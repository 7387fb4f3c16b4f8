// Starts the program until its window is painted, or a bare window with one line of text in the
// same fonts and with the same style sheet. Prints the processor time in microseconds.
//
//     bench_start program ADDRESS   uses the settings of the account
//     bench_start bare

#include "app/Environment.h"
#include "app/StartUp.h"
#include "benchmarks/Process.h"
#include "components/IconFont.h"
#include "core/ApplicationController.h"

#include <QApplication>
#include <QEvent>
#include <QLabel>
#include <QMainWindow>
#include <QTextStream>

#include <cstdlib>

using namespace Kavo;

namespace {

/// Ends the process after a main window was painted.
class PaintedWindow final : public QObject
{
protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        const auto *window = qobject_cast<QMainWindow *>(watched);
        if (window && event->type() == QEvent::Paint) {
            QTextStream(stdout) << Benchmarks::processorTime() << '\n' << Qt::flush;
            std::_Exit(0);
        }
        return QObject::eventFilter(watched, event);
    }
};

int showBareWindow(QApplication &application)
{
    Components::iconFont()->initFontAwesome();
    loadFonts();
    Controllers::ApplicationController style;
    QObject::connect(&style, &Controllers::ApplicationController::styleChanged, &application,
                     &QApplication::setStyleSheet);
    style.loadStyle();
    QMainWindow window;
    window.setCentralWidget(new QLabel(QStringLiteral("Kavo Suite"), &window));
    window.resize(1320, 800);
    window.show();
    return QApplication::exec();
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    PaintedWindow painted;
    application.installEventFilter(&painted);
    if (arguments.size() == 3 && arguments.at(1) == QLatin1String("program"))
        return StartUp(application, {arguments.at(2), PackageEnvironment::standard().extractor})
            .run();
    if (arguments.size() == 2 && arguments.at(1) == QLatin1String("bare"))
        return showBareWindow(application);
    return 2;
}
