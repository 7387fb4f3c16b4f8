#pragma once

#include <QObject>

#include <memory>

class QSocketNotifier;

namespace Kavo {

/// Receives the signals that ask a program to end: SIGTERM, SIGINT and SIGHUP, the last one unless
/// it was ignored, as with nohup. While the object exists, they have no other effect; child
/// processes do not inherit that. One object at a time. Main thread.
class EndSignals final : public QObject
{
    Q_OBJECT

public:
    explicit EndSignals(QObject *parent = nullptr);
    ~EndSignals() override;

    /// Whether a signal has arrived. Works immediately, even without an event loop.
    bool isRequested() const;

signals:
    /// One or more signals have arrived. Emitted from the event loop.
    void requested();

private:
    void read();

    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace Kavo
