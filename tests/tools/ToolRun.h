#pragma once

#include <QByteArray>
#include <QStringList>

namespace Kavo::Testing {

/// Runs kavo-catalogue and holds its exit status and output.
class ToolRun final
{
public:
    /// Runs the program in `folder`, or in the current folder if that is empty, and waits for its
    /// end. Kills it after a minute.
    explicit ToolRun(const QStringList &arguments, const QString &folder = QString());

    /// The exit status, negative if the program did not start, crashed or was killed.
    int status() const { return m_status; }
    /// The standard output.
    QByteArray output() const { return m_output; }
    /// The standard error output.
    QByteArray complaints() const { return m_complaints; }

private:
    int m_status = -1;
    QByteArray m_output;
    QByteArray m_complaints;
};

} // namespace Kavo::Testing
