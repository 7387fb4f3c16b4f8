#pragma once

#include <QByteArray>
#include <QString>

namespace Kavo::Tools {

/// A catalogue file that is read, changed and written back. While the object exists, other runs of
/// the program wait before they read a catalogue in the same folder. Blocks; for one thread.
///
/// The kernel holds the lock of the folder and releases it with the process, so it never becomes
/// stale. Where folders cannot be locked, as on some network disks, only the comparison in
/// replace() protects against a second run.
class CatalogueFile final
{
public:
    /// If `path` is a link, its target is used.
    explicit CatalogueFile(const QString &path);
    ~CatalogueFile();
    Q_DISABLE_COPY_MOVE(CatalogueFile)

    bool isRead() const { return m_isRead; }
    const QByteArray &bytes() const { return m_bytes; }

    /// Replaces the content of the file in one step, keeping its permissions. Returns the reason of
    /// a failure as a sentence, in which case the file is unchanged; empty on success.
    QString replace(const QByteArray &content);

    /// Creates a new file. Returns the reason of a failure as a sentence, empty on success.
    static QString make(const QString &path, const QByteArray &content);

private:
    QString m_path;
    QByteArray m_bytes;
    bool m_isRead = false;
    int m_folder = -1; ///< descriptor with the lock
};

} // namespace Kavo::Tools
