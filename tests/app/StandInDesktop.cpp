#include "tests/app/StandInDesktop.h"

namespace Kavo::Testing {

namespace {

QString connectionName()
{
    return QStringLiteral("stand-in desktop");
}

} // namespace

StandInDesktop::StandInDesktop(const QString &address)
    : m_bus(QDBusConnection::connectToBus(address, connectionName()))
{
    m_isReady =
        m_bus.registerObject(QStringLiteral("/org/freedesktop/Notifications"), this,
                             QDBusConnection::ExportScriptableSlots |
                                 QDBusConnection::ExportAllSlots) &&
        m_bus.registerService(QStringLiteral("org.freedesktop.Notifications")) &&
        m_bus.connect(QString(), QString(), QStringLiteral("com.canonical.Unity.LauncherEntry"),
                      QStringLiteral("Update"), this, SLOT(onUpdate(QString, QVariantMap)));
}

StandInDesktop::~StandInDesktop()
{
    QDBusConnection::disconnectFromBus(connectionName());
}

uint StandInDesktop::Notify(const QString &program, uint replaces, const QString &icon,
                            const QString &title, const QString &text, const QStringList &actions,
                            const QVariantMap &hints, int timeout)
{
    m_notifications.append({program, replaces, icon, title, text, actions, hints, timeout});
    return static_cast<uint>(m_notifications.size());
}

void StandInDesktop::onUpdate(const QString &program, const QVariantMap &properties)
{
    m_entries.append({program, properties});
}

} // namespace Kavo::Testing
