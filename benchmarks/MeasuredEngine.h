#pragma once

#include "packages/PackageController.h"

#include <QNetworkAccessManager>
#include <QSharedPointer>
#include <QVector>

namespace Kavo::Benchmarks {

/// Runs the program's package management without a window. The account and the simulator's folder
/// are below a work folder. A web server at `address`, which the caller has to start, serves the
/// "www" folder there.
class MeasuredEngine final
{
public:
    MeasuredEngine(const QString &workFolder, const QString &address);

    Controllers::PackageController &controller() { return *m_controller; }
    QNetworkAccessManager &network() { return *m_network; }
    Models::PackagePointer package(int id) const { return m_controller->findPackage(id); }
    /// Path of an entry in the simulator's folder.
    QString simulator(const QString &entry) const;
    QString cacheFolder() const;

    /// Writes these bytes as the catalogue that the server serves.
    void serveCatalogue(const QByteArray &bytes);
    /// Fetches the catalogue and waits for the list. Returns the microseconds from the end of the
    /// transfer, when almost all bytes are on disk, to the list.
    qint64 refresh();

    /// Marks the packages as INSTALLED in this version and records that in the database. Uses one
    /// transaction for all, for speed, unlike the program.
    void markInstalled(const QVector<int> &ids, const QString &version);

private:
    QString m_workFolder;
    QSharedPointer<Settings> m_settings;
    QSharedPointer<QNetworkAccessManager> m_network;
    QSharedPointer<Managers::DownloadManager> m_downloads;
    QSharedPointer<Controllers::PackageController> m_controller;
};

/// Writes `count` small files of fixed content to a folder, which is created if missing. They are
/// spread over subfolders like the files of scenery.
void makeTree(const QString &folder, int count);

/// Flushes pending writes to the disk, so that one measurement does not pay for another.
void settleDisk();

} // namespace Kavo::Benchmarks
