#pragma once

#include <QMutex>
#include <QString>
#include <QStringList>
#include <QtGlobal>

namespace Kavo::Testing {

/// Collects all Qt messages while it exists, in place of the previous message handler. Messages may
/// come from any thread. Captures may be nested; the latest one gets the messages.
class LogCapture final
{
public:
    LogCapture();
    ~LogCapture();
    Q_DISABLE_COPY_MOVE(LogCapture)

    QStringList lines() const;
    /// Whether any message equals this line.
    bool contains(const QString &line) const;
    /// The number of messages that begin with this text.
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
