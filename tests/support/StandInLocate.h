#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

namespace Kavo::Testing {

/// Replaces the program `locate` by a shell script, which is first on PATH while the object exists.
/// Main thread.
class StandInLocate final
{
public:
    /// The script prints the lines and exits with this code.
    explicit StandInLocate(const QStringList &lines, int exitCode = 0);
    ~StandInLocate();
    Q_DISABLE_COPY_MOVE(StandInLocate)

    /// Replaces the commands of the script.
    void setScript(const QByteArray &text);
    /// Removes `locate` altogether: PATH then contains no program at all.
    void setMissing();

    /// The arguments of the last run; empty if `locate` was not run.
    QStringList arguments() const;

private:
    QTemporaryDir m_folder;
    QByteArray m_pathBefore;
};

} // namespace Kavo::Testing
