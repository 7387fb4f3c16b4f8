#pragma once

#include "packages/PackageController.h"

#include <QNetworkAccessManager>
#include <QSharedPointer>
#include <QVector>

namespace Kavo::Benchmarks {

/// All of package management as the program assembles it, without a window, on an account and a
/// simulator folder of its own below a work folder. A web server at the address serves the "www"
/// folder there.
class MeasuredEngine final
{
public:
    MeasuredEngine(const QString &workFolder, const QString &address);

    Controllers::PackageController &controller() { return *m_controller; }
    QNetworkAccessManager &network() { return *m_network; }
    Models::PackagePointer package(int id) const { return m_controller->findPackage(id); }
    /// Path of an entry of the simulator's folder.
    QString simulator(const QString &entry) const;
    QString cacheFolder() const;

    /// Puts the bytes on the server as its catalogue.
    void serveCatalogue(const QByteArray &bytes);
    /// Fetches the catalogue. Returns the microseconds from the end of its transfer, when all but
    /// the last of its bytes are on disk, to the list.
    qint64 refresh();

    /// Has the packages INSTALLED in this version, in the database as well. All in one go, which
    /// is quicker than the program may be.
    void markInstalled(const QVector<int> &ids, const QString &version);

private:
    QString m_workFolder;
    QSharedPointer<Settings> m_settings;
    QSharedPointer<QNetworkAccessManager> m_network;
    QSharedPointer<Managers::DownloadManager> m_downloads;
    QSharedPointer<Controllers::PackageController> m_controller;
};

/// Writes `count` small files of a fixed content, spread over folders as scenery has them, into a
/// folder, which is made when missing.
void makeTree(const QString &folder, int count);

/// Writes what is still on its way to the disk, so that one measurement does not pay for another.
void settleDisk();

} // namespace Kavo::Benchmarks
