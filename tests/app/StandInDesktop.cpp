#include "tests/app/StandInDesktop.h"
#include "tests/support/Literals.h"

namespace Kavo::Testing {

namespace {

QString connectionName()
{
    return "stand-in desktop"_s;
}

} // namespace

StandInDesktop::StandInDesktop(const QString &address)
    : m_bus(QDBusConnection::connectToBus(address, connectionName()))
{
    m_isReady = m_bus.registerObject("/org/freedesktop/Notifications"_s, this,
                                     QDBusConnection::ExportScriptableSlots |
                                         QDBusConnection::ExportAllSlots) &&
                m_bus.registerService("org.freedesktop.Notifications"_s) &&
                m_bus.connect(QString(), QString(), "com.canonical.Unity.LauncherEntry"_s,
                              "Update"_s, this, SLOT(onUpdate(QString, QVariantMap)));
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
