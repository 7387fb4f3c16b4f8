#pragma once

#include <QMutex>
#include <QString>
#include <QStringList>
#include <QtGlobal>

namespace Kavo::Testing {

/// Collects every Qt message while it exists, instead of the former handler. Messages may come from
/// any thread. Captures nest: the latest one gets the messages.
class LogCapture final
{
public:
    LogCapture();
    ~LogCapture();
    Q_DISABLE_COPY_MOVE(LogCapture)

    QStringList lines() const;
    /// Whether one message is exactly this.
    bool contains(const QString &line) const;
    /// Number of messages that begin with the text.
    int count(const QString &beginning) const;
    void clear();

private:
    static void handle(QtMsgType type, const QMessageLogContext &context, const QString &message);

    mutable QMutex m_mutex;
    QStringList m_lines;
    QtMessageHandler m_handlerBefore;
    LogCapture *m_captureBefore;
};

} // namespace Kavo::Testing
