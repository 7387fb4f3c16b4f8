#pragma once

#include "downloads/FolderTrim.h"

#include <QNetworkCacheMetaData>
#include <QNetworkDiskCache>

class QNetworkReply;

namespace Kavo::Managers {

/// Keeps the answers of servers for later runs. A server is then only asked whether a file has
/// changed, or not asked at all while its answer is fresh.
///
/// The network access manager only reads this cache. Left to write it, it would keep truncated
/// bodies, and two answers for one address would disturb each other. Transfer stores complete
/// answers by keep().
///
/// Damage in the cache folder costs time only. An entry is used only if its checksum is right, and
/// is removed otherwise. If the folder cannot be written, nothing is kept. Main thread.
class AnswerCache final : public QNetworkDiskCache
{
    Q_OBJECT

public:
    /// Whether the server is asked even while its answer is fresh.
    enum class Asking { WhenStale, Always };

    /// Uses a folder of its own in the user's cache location.
    static QString defaultFolder();

    explicit AnswerCache(const QString &folder, QObject *parent = nullptr);

    /// Stores the body of an answer that arrived completely and is in a file. Does nothing if the
    /// answer came from this cache, if the server forbids keeping it, or if the answer has nothing
    /// to revalidate it by. `checksum` is that of the received bytes; a file with another checksum
    /// is not kept.
    void keep(const QNetworkReply &answer, const QString &file, const QByteArray &checksum,
              Asking asking);

    QNetworkCacheMetaData metaData(const QUrl &url) override;
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
