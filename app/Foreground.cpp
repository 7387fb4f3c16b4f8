#include "app/Foreground.h"

#include "ui/window/ApplicationWindow.h"

#include <QApplication>
#include <QSplashScreen>
#include <QWindow>

namespace Kavo {

namespace {

void raise(QWidget &widget)
{
    widget.raise();
    widget.activateWindow();
}

} // namespace

void bringToFront(const QByteArray &token)
{
    // The platform plug-in reads it there.
    constexpr const char *variable = "XDG_ACTIVATION_TOKEN";
    if (!token.isEmpty())
        qputenv(variable, token);
    const QWidgetList widgets = QApplication::topLevelWidgets();
    for (QWidget *widget : widgets) {
        if (!widget->isVisible())
            continue;
        if (auto *window = qobject_cast<Ui::ApplicationWindow *>(widget))
            window->present();
        else if (qobject_cast<QSplashScreen *>(widget))
            raise(*widget);
    }
    if (QWidget *dialog = QApplication::activeModalWidget())
        raise(*dialog);
    qunsetenv(variable);
}

void endLaunch()
{
    // Qt does this when a window is shown, but this window is never visible.
    QWindow window;
    window.setFlags(Qt::ToolTip | Qt::FramelessWindowHint | Qt::X11BypassWindowManagerHint);
    window.setGeometry(-2, -2, 1, 1);
    window.show();
}

} // namespace Kavo
