#pragma once

#include <QByteArray>
#include <QString>

namespace Kavo::Tools {

/// A catalogue that is read, changed and written back. As long as the object lives, other runs of
/// the program wait before they read the catalogues of that folder. Blocks; for one thread.
///
/// The kernel holds the lock of the folder and lets go of it with the process, so that nothing of
/// it is ever left behind. Where folders cannot be locked, as on some network disks, only the
/// comparison in replace() stands between two runs.
class CatalogueFile final
{
public:
    /// A link leads to the file that is meant.
    explicit CatalogueFile(const QString &path);
    ~CatalogueFile();
    Q_DISABLE_COPY_MOVE(CatalogueFile)

    bool isRead() const { return m_isRead; }
    const QByteArray &bytes() const { return m_bytes; }

    /// Puts other content in the place of the file, at once and whole, with its permissions.
    /// Returns a sentence on why it did not, in which case the file is as it was; empty otherwise.
    QString replace(const QByteArray &content);

    /// Makes a file that is not there yet. Returns a sentence on why it did not, empty otherwise.
    static QString make(const QString &path, const QByteArray &content);

private:
    QString m_path;
    QByteArray m_bytes;
    bool m_isRead = false;
    int m_folder = -1; ///< the descriptor that the lock is on
};

} // namespace Kavo::Tools
