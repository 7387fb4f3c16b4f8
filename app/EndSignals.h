#pragma once

#include <QObject>

#include <memory>

class QSocketNotifier;

namespace Kavo {

/// Hears the signals by which the system asks a program to end: SIGTERM, SIGINT and SIGHUP, the
/// last one unless it was to be ignored, as with nohup. As long as the object lives they do nothing
/// else; programs that this one starts do not inherit that. One object at a time. Main thread.
class EndSignals final : public QObject
{
    Q_OBJECT

public:
    explicit EndSignals(QObject *parent = nullptr);
    ~EndSignals() override;

    /// Whether one has come. Tells the moment it has, also where no events are handled.
    bool isRequested() const;

signals:
    /// One or more have come. From the event loop.
    void requested();

private:
    void read();

    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace Kavo
