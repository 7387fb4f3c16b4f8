#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

namespace Kavo::Testing {

/// A stand-in for the program `locate`, first on PATH while the object exists. Main thread.
class StandInLocate final
{
public:
    /// Prints the lines and ends with the exit code.
    explicit StandInLocate(const QStringList &lines, int exitCode = 0);
    ~StandInLocate();
    Q_DISABLE_COPY_MOVE(StandInLocate)

    /// Runs this shell text in the place of printing lines.
    void setScript(const QByteArray &text);
    /// Takes the program away: there is no `locate` on PATH at all.
    void setMissing();

    /// Arguments of the last run, one text each; empty when it was not run.
    QStringList arguments() const;

private:
    QTemporaryDir m_folder;
    QByteArray m_pathBefore;
};

} // namespace Kavo::Testing
