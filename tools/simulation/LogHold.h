#pragma once

#include <QStringList>
#include <QtGlobal>

namespace Kavo::Tools {

/// Captures the log of the engine during its lifetime, instead of printing it. One at a time, for
/// one thread.
class LogHold final
{
public:
    LogHold();
    ~LogHold();
    Q_DISABLE_COPY_MOVE(LogHold)

    void clear() { m_lines.clear(); }

    /// The first error line of 7-Zip, empty if there is none.
    QString complaint() const;

private:
    static void handle(QtMsgType type, const QMessageLogContext &context, const QString &message);

    QStringList m_lines;
    QtMessageHandler m_handlerBefore;
};

} // namespace Kavo::Tools
