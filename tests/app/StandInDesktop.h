#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <QVector>

namespace Kavo::Testing {

/// A stand-in for the desktop on a message bus. It records notifications, and the counts and
/// progress that programs show on their icons. Main thread.
class StandInDesktop final : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    struct Notification
    {
        QString program;
        uint replaces;
        QString icon;
        QString title;
        QString text;
        QStringList actions;
        QVariantMap hints;
        int timeout; ///< in milliseconds, -1 for the desktop's default
    };
    struct Entry
    {
        QString program;
        QVariantMap properties;

        int count() const { return properties.value(QStringLiteral("count")).toInt(); }
        double progress() const { return properties.value(QStringLiteral("progress")).toDouble(); }
        bool isVisible() const
        {
            return properties.value(QStringLiteral("progress-visible")).toBool() &&
                   properties.value(QStringLiteral("count-visible")).toBool();
        }
    };

    explicit StandInDesktop(const QString &address);
    ~StandInDesktop() override;

    bool isReady() const { return m_isReady; }
    const QVector<Notification> &notifications() const { return m_notifications; }
    const QVector<Entry> &entries() const { return m_entries; }

public slots:
    // The interface on the bus requires this name.
    // NOLINTNEXTLINE(readability-identifier-naming)
    uint Notify(const QString &program, uint replaces, const QString &icon, const QString &title,
                const QString &text, const QStringList &actions, const QVariantMap &hints,
                int timeout);
    void onUpdate(const QString &program, const QVariantMap &properties);

private:
    QDBusConnection m_bus;
    bool m_isReady = false;
    QVector<Notification> m_notifications;
    QVector<Entry> m_entries;
};

} // namespace Kavo::Testing
