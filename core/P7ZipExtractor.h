#pragma once

#include "core/SevenZipProcess.h"

#include <QObject>
#include <QSharedPointer>
#include <QStringList>

namespace Kavo::Extractors {

/// Unpacks archives with the 7-Zip command-line program.
///
/// An object runs one extraction at a time, on the thread that created it; extract() blocks that
/// thread until 7-Zip ends. What a failed extraction has unpacked is left behind. 7-Zip never waits
/// for input and does not outlive the thread that started it.
class P7ZipExtractor final : public QObject
{
    Q_OBJECT

public:
    explicit P7ZipExtractor(QObject *parent = nullptr);
    /// Uses another program instead of "/usr/bin/7z".
    explicit P7ZipExtractor(const QString &program, QObject *parent = nullptr);

    /// Unpacks `archive` with full paths into the folder `destination` and replaces existing files.
    /// Returns whether 7-Zip ended with exit code 0. A failure is logged with the exit code: the
    /// number of the signal if 7-Zip was killed, 255 if it could not be started. Fails if `archive`
    /// is a folder or a name has wildcards.
    bool extract(const QString &archive, const QString &destination);

    /// The lines that the last failed extraction wrote to standard error, without empty ones.
    QStringList complaints() const { return m_complaints; }

signals:
    /// The order is fixed, see docs/compatibility.md.
    void finished();
    void error();

private:
    /// Runs the program until it ends and returns its exit code, which is never 0 if it did not
    /// start.
    int run(const QStringList &arguments);
    /// Announces that the program did not start and returns the exit code for that.
    int refuse();
    void announce(int exitCode);

    QSharedPointer<SevenZipProcess> m_process;
    QStringList m_complaints;
};

} // namespace Kavo::Extractors
