#pragma once

#include "core/SevenZipProcess.h"

#include <QObject>
#include <QSharedPointer>
#include <QStringList>

namespace Kavo::Extractors {

/// Unpacks an archive with the 7-Zip command-line program.
///
/// One object owns one process and runs one extraction at a time, on the thread that created it;
/// extract() blocks that thread until 7-Zip ends. What is left of a failed extraction is not
/// cleaned up. 7-Zip neither waits for an answer nor outlives the thread that started it.
class P7ZipExtractor final : public QObject
{
    Q_OBJECT

public:
    explicit P7ZipExtractor(QObject *parent = nullptr);
    /// Runs another program in the place of "/usr/bin/7z".
    explicit P7ZipExtractor(const QString &program, QObject *parent = nullptr);

    /// Unpacks `archive` with full paths into the folder `destination`, replacing files that stand
    /// there. Returns whether 7-Zip ended with exit code 0. A failure is logged with the exit code:
    /// with the number of the signal when 7-Zip was killed, with 255 when it did not run. A folder
    /// in the place of the archive and names with wildcards fail.
    bool extract(const QString &archive, const QString &destination);

    /// The lines that the last failed extraction has written to its standard error, without the
    /// empty ones.
    QStringList complaints() const { return m_complaints; }

signals:
    /// The order is fixed, see docs/compatibility.md.
    void finished();
    void error();

private:
    /// Runs the program to its end and returns its exit code, never 0 when it did not run.
    int run(const QStringList &arguments);
    /// Announces that the program did not run and returns the exit code for that.
    int refuse();
    void announce(int exitCode);

    QSharedPointer<SevenZipProcess> m_process;
    QStringList m_complaints;
};

} // namespace Kavo::Extractors
