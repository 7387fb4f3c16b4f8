#pragma once

#include <QStringList>
#include <QtGlobal>

namespace Kavo::Tools {

/// Keeps what the engine writes to its log, as long as it lives, instead of having it on the
/// terminal. One at a time, for one thread.
class LogHold final
{
public:
    LogHold();
    ~LogHold();
    Q_DISABLE_COPY_MOVE(LogHold)

    void clear() { m_lines.clear(); }

    /// The first line that 7-Zip has complained with, empty when it has not.
    QString complaint() const;

private:
    static void handle(QtMsgType type, const QMessageLogContext &context, const QString &message);

    QStringList m_lines;
    QtMessageHandler m_handlerBefore;
};

} // namespace Kavo::Tools
