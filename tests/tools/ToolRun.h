#pragma once

#include <QByteArray>
#include <QStringList>

namespace Kavo::Testing {

/// A run of kavo-catalogue to its end.
class ToolRun final
{
public:
    /// In `folder`, or in the present one. A run that does not end is killed after a minute.
    explicit ToolRun(const QStringList &arguments, const QString &folder = QString());

    /// Exit status, negative when the program did not end by itself.
    int status() const { return m_status; }
    QByteArray output() const { return m_output; }
    QByteArray complaints() const { return m_complaints; }

private:
    int m_status = -1;
    QByteArray m_output;
    QByteArray m_complaints;
};

} // namespace Kavo::Testing
