#include "app/Notifications.h"

#include "app/DesktopBus.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QGuiApplication>
#include <QStringList>
#include <QVariantMap>

namespace Kavo {

namespace {

constexpr quint32 ReplacesNone = 0;
constexpr int TimeOfTheDesktop = -1;

} // namespace

void Notifications::notify(const QString &title, const QString &text)
{
    QDBusMessage message = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.Notifications"),
        QStringLiteral("/org/freedesktop/Notifications"),
        QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("Notify"));
    const QVariantMap hints{{QStringLiteral("desktop-entry"), QGuiApplication::desktopFileName()}};
    // Names from the catalogue may look like markup, which only the body may contain.
    message << QCoreApplication::applicationName() << ReplacesNone << QStringLiteral("kavo-suite")
            << title << text.toHtmlEscaped() << QStringList() << hints << TimeOfTheDesktop;
    m_bus.send(message);
}

} // namespace Kavo
