#pragma once

#include "downloads/FolderTrim.h"

#include <QNetworkCacheMetaData>
#include <QNetworkDiskCache>

class QNetworkReply;

namespace Kavo::Managers {

/// Keeps what servers have answered for the next time, so that a server is asked no more than
/// whether it has changed, or is not asked at all while it has said that it will not.
///
/// The network access manager reads here by itself and does not write: it keeps bodies that were
/// cut short, and two answers of one address get in each other's way. Transfers hand over what came
/// whole (keep()).
///
/// The folder costs nothing but time when something is wrong with it. An entry is given out only
/// when its checksum is right, and is removed otherwise; where the folder cannot be written nothing
/// is kept. Main thread.
class AnswerCache final : public QNetworkDiskCache
{
    Q_OBJECT

public:
    /// Whether the server is asked even while its answer is still fresh.
    enum class Asking { WhenStale, Always };

    /// A folder of the user's cache location, of our own.
    static QString defaultFolder();

    explicit AnswerCache(const QString &folder, QObject *parent = nullptr);

    /// Keeps a body that lies in a file and came whole with this answer. Does nothing when the
    /// answer was read here, and when its server does not want it to be kept or says nothing by
    /// which it could be asked again. `checksum` is that of the bytes that came; a file with others
    /// is not kept.
    void keep(const QNetworkReply &answer, const QString &file, const QByteArray &checksum,
              Asking asking);

    QIODevice *data(const QUrl &url) override;
    void updateMetaData(const QNetworkCacheMetaData &told) override;
    void clear() override;

protected:
    qint64 expire() override;

private:
    void insertBody(const QNetworkCacheMetaData &head, const QByteArray &body);

    FolderTrim m_trim;
    bool m_isWritable = true;
};

} // namespace Kavo::Managers
