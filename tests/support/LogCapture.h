#pragma once

#include <QMutex>
#include <QString>
#include <QStringList>
#include <QtGlobal>

namespace Kavo::Testing {

/// Collects every Qt message as long as it lives, in the place of the handler before it. Messages
/// may come from any thread. Captures nest: the latest gets the messages.
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

    /// Runs the event loop until contains(line); false when that takes longer than the limit.
    bool waitFor(const QString &line, int milliseconds = 5000) const;

private:
    static void handle(QtMsgType type, const QMessageLogContext &context, const QString &message);

    mutable QMutex m_mutex;
    QStringList m_lines;
    QtMessageHandler m_handlerBefore;
    LogCapture *m_captureBefore;
};

} // namespace Kavo::Testing
