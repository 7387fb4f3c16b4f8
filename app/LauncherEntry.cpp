#include "app/LauncherEntry.h"

#include "app/DesktopBus.h"

#include <QDBusMessage>
#include <QGuiApplication>
#include <QVariantMap>

namespace Kavo {

namespace {

/// Any number that is constant for one program.
quint32 numberOf(const QString &text)
{
    quint32 number = 5381;
    for (const char character : text.toUtf8())
        number = number * 33 + static_cast<quint8>(character);
    return number;
}

} // namespace

LauncherEntry::~LauncherEntry()
{
    clear();
}

void LauncherEntry::show(int count, double progress)
{
    m_isVisible = true;
    update(count, progress, true);
}

void LauncherEntry::clear()
{
    if (!m_isVisible)
        return;
    m_isVisible = false;
    update(0, 0, false);
}

void LauncherEntry::update(int count, double progress, bool visible)
{
    const QString program = QStringLiteral("application://") + QGuiApplication::desktopFileName() +
                            QStringLiteral(".desktop");
    const QVariantMap properties{{QStringLiteral("count"), qint64(count)},
                                 {QStringLiteral("count-visible"), visible},
                                 {QStringLiteral("progress"), progress},
                                 {QStringLiteral("progress-visible"), visible}};
    QDBusMessage message = QDBusMessage::createSignal(
        QStringLiteral("/com/canonical/unity/launcherentry/%1").arg(numberOf(program)),
        QStringLiteral("com.canonical.Unity.LauncherEntry"), QStringLiteral("Update"));
    message << program << properties;
    m_bus.send(message);
}

} // namespace Kavo
