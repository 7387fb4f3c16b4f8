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

/// The largest catalogue that is accepted from a server, in bytes. Parsing takes several times as
/// much memory; no catalogue is nearly as large.
constexpr qint64 LargestCatalogue = Q_INT64_C(512) * 1024 * 1024;

/// Fetches the catalogue file: from the catalogue server, or in local-repository mode from the
/// executable's folder. Main thread.
class CatalogueFeed final : public QObject
{
    Q_OBJECT

public:
    /// The address of the catalogue on this server.
    static QString addressOn(const QString &server);

    /// Fails for a catalogue of the server with more than `largestSize` bytes.
    CatalogueFeed(const QSharedPointer<Settings> &settings,
                  const QSharedPointer<Managers::DownloadManager> &downloads, QString server,
                  qint64 largestSize, QObject *parent = nullptr);

    /// Requests the catalogue. Every request ends in one available() or one failed(), never before
    /// this call has returned. Without an answer from the server it does not end.
    void request();

signals:
    /// The path of the catalogue file, in the download manager's folder or in the executable's,
    /// where it may be missing. The next request replaces the file.
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
