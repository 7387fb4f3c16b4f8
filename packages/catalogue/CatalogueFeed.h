#pragma once

#include <QObject>
#include <QSharedPointer>
#include <QString>

namespace Kavo {
class Settings;
}

namespace Kavo::Managers {
class DownloadManager;
}

namespace Kavo::Models {

/// The most bytes that a server's catalogue may have. Far more than any has; to read one takes
/// several times its size of memory.
constexpr qint64 LargestCatalogue = Q_INT64_C(512) * 1024 * 1024;

/// Where the bytes of the catalogue come from: the catalogue server, or in local-repository mode
/// the executable's folder. Main thread.
class CatalogueFeed final : public QObject
{
    Q_OBJECT

public:
    /// Where this server has its catalogue.
    static QString addressOn(const QString &server);

    /// A catalogue of the server that has more than `largestSize` bytes fails.
    CatalogueFeed(const QSharedPointer<Settings> &settings,
                  const QSharedPointer<Managers::DownloadManager> &downloads, QString server,
                  qint64 largestSize, QObject *parent = nullptr);

    /// Asks for the catalogue. Every request ends, never at once, in one available() or one
    /// failed(), as far as the server answers at all.
    void request();

signals:
    /// The catalogue lies in this file of the download manager's folder, or of the executable's;
    /// there it may be missing. The next request replaces the file.
    void available(const QString &path);
    void failed(const QString &message);

private:
    void requestFromServer();

    QSharedPointer<Settings> m_settings;
    QSharedPointer<Managers::DownloadManager> m_downloads;
    QString m_server;
    qint64 m_largestSize;
};

} // namespace Kavo::Models
