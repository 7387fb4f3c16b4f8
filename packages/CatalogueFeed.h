#pragma once

#include <QObject>
#include <QSharedPointer>
#include <QString>
#include <QVector>
#include <QWeakPointer>

namespace Kavo {
class Settings;
}

namespace Kavo::Managers {
class DownloadManager;
}

namespace Kavo::Models {

class Download;

/// Where the bytes of the catalogue come from: the catalogue server, or in local-repository mode
/// the executable's folder. Main thread.
class CatalogueFeed final : public QObject
{
    Q_OBJECT

public:
    CatalogueFeed(const QSharedPointer<Settings> &settings,
                  const QSharedPointer<Managers::DownloadManager> &downloads, QString server,
                  QObject *parent = nullptr);

    /// Asks for the catalogue. Every request ends, never at once, in one available() or one
    /// failed(), as far as the server answers at all.
    void request();

signals:
    /// The catalogue lies in this file, if it could be had at all.
    void available(const QString &path);
    void failed(const QString &message);

private:
    void requestFromServer();
    QString freePath();

    QSharedPointer<Settings> m_settings;
    QSharedPointer<Managers::DownloadManager> m_downloads;
    QString m_server;
    QVector<QWeakPointer<Download>> m_requested;
};

} // namespace Kavo::Models
