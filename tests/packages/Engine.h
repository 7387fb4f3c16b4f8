#pragma once

#include "packages/PackageController.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/ScratchProfile.h"
#include "tests/support/TestHttpServer.h"

#include <QHash>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QSharedPointer>
#include <QStringList>

#include <functional>
#include <initializer_list>

class QSqlQuery;

namespace Kavo::Testing {

/// One version of a package in the test catalogue. If `files` is empty, the archive contains one
/// file, Engine::fileOf(), which names the package and the version.
///
///     Offer{7}.needing({"8:1.0"_s}).removing({"plugin"_s})
struct Offer
{
    int id = 0;
    QString version = "1.0"_s;
    QStringList depends = {};
    Files files = {};
    QString extract = {};
    QStringList preserve = {};
    QStringList backup = {};
    QStringList remove = {};
    QStringList log = {};
    QString link = {};     ///< path of the archive on the server; empty for the default
    QJsonObject more = {}; ///< more JSON keys of the version; override those above

    Offer needing(const QStringList &entries) const { return with(&Offer::depends, entries); }
    Offer bringing(const Files &archived) const { return with(&Offer::files, archived); }
    Offer into(const QString &folder) const { return with(&Offer::extract, folder); }
    Offer keeping(const QStringList &paths) const { return with(&Offer::preserve, paths); }
    Offer backingUp(const QStringList &paths) const { return with(&Offer::backup, paths); }
    Offer removing(const QStringList &paths) const { return with(&Offer::remove, paths); }
    Offer telling(const QStringList &lines) const { return with(&Offer::log, lines); }
    Offer at(const QString &path) const { return with(&Offer::link, path); }
    Offer with(const QJsonObject &keys) const { return with(&Offer::more, keys); }

private:
    template<typename Value>
    Offer with(Value Offer::*member, const Value &value) const
    {
        Offer changed = *this;
        changed.*member = value;
        return changed;
    }
};

/// The package management with the same objects as in the program, but without a window. Uses a
/// temporary user account and its own catalogue server, and gives tests access to all of them. Main
/// thread.
class Engine final
{
public:
    Engine();
    ~Engine();
    Q_DISABLE_COPY_MOVE(Engine)

    ScratchProfile &profile() { return m_profile; }
    const ScratchProfile &profile() const { return m_profile; }
    TestHttpServer &server() { return m_server; }
    const QSharedPointer<Settings> &settings() const { return m_settings; }
    const QSharedPointer<Managers::DownloadManager> &downloads() const { return m_downloads; }
    Controllers::PackageController &controller() { return *m_controller; }

    /// The absolute path of an entry in the simulator's folder.
    QString simulator(const QString &path) const;
    /// The absolute path of an entry in the cache folder.
    QString cached(const QString &name) const;

    /// Adds a version to the catalogue and its archive to the server. Offers with the same id
    /// become versions of one package. Call serveCatalogue() afterwards.
    void offer(const Offer &offer);
    /// Adds a JSON object to the catalogue as it is. Call serveCatalogue() afterwards.
    void offerObject(const QJsonObject &package);
    void serveCatalogue();
    /// Calls offer() for each, then refresh().
    bool publish(std::initializer_list<Offer> offers);
    /// The server's resource for the archive of an offer without a link.
    HttpResource &archive(int id, const QString &version = "1.0"_s);
    /// Makes the server hold back that archive until release().
    void hold(int id, const QString &version = "1.0"_s) { archive(id, version).holdsGet = true; }
    void release(int id, const QString &version = "1.0"_s);
    /// Path of that archive in the cache folder.
    QString cachedArchive(int id, const QString &version = "1.0"_s) const;
    /// Makes the server pause after 10 bytes of that archive. After release(), it sends up to 20
    /// bytes in total and resets the connection.
    void holdAndBreak(int id, const QString &version = "1.0"_s);

    /// Creates the objects that exist during one run of the program. refresh() calls it if needed.
    void start();
    /// Destroys these objects, as at the end of the program.
    void stop();
    /// Calls stop() and refresh(), as if the program was started again.
    bool restart();
    /// Sets the 7-Zip executable that the next start() uses.
    void setExtractor(const QString &program) { m_extractor = program; }
    /// Sets the clock that the next start() uses.
    void setClock(const Clock &clock) { m_clock = clock; }

    /// The time limit of each wait below, in milliseconds. It is long enough for a busy machine and
    /// short enough for the wait to fail before the test's own time limit.
    int patience() const { return m_patience; }
    void setPatience(int milliseconds) { m_patience = milliseconds; }

    /// Serves the catalogue, refreshes and waits for the list of packages. Returns whether the list
    /// arrived in time.
    bool refresh();
    /// The same with the catalogue that the server has now.
    bool refreshAsServed();

    Models::PackagePointer package(int id) { return m_controller->findPackage(id); }
    Models::Package::State state(int id) { return package(id)->state(); }
    bool isUpdateAvailable(int id) { return package(id)->isUpdateAvailable(); }
    QString installedVersion(int id) { return m_controller->installedVersion(package(id)); }
    Models::Removal uninstall(int id) { return m_controller->uninstall(package(id)); }
    /// Starts an installation, of the newest version if `version` is empty. Returns the version.
    QString install(int id, const QString &version = QString());

    // These run the event loop and return whether the condition was met in time.

    /// Waits until neither the package nor the controller is busy.
    bool waitUntilSettled(int id);
    bool waitForState(int id, Models::Package::State state);
    /// Waits until the package is installed and the controller is not busy.
    bool waitUntilInstalled(int id);
    /// Returns whether the package is installed at the end.
    bool installAndWait(int id, const QString &version = QString());
    /// Starts an installation and waits for the state DOWNLOADING.
    bool installUntilDownloading(int id, const QString &version = QString());

    /// Status of the package in "packages.db"; -1 without a row.
    int recordedStatus(int id) const;
    /// Version of the package in "packages.db"; empty without a row.
    QString recordedVersion(int id) const;
    /// The version that "packages.db" records as completely installed; empty for none.
    QString wholeVersion(int id) const;
    struct Record
    {
        int status = -1;
        QString version;
    };
    /// Status and version of all packages in "packages.db", by package id.
    QHash<int, Record> records() const;

    /// The file that is installed by an offer without `files`, relative to the simulator's folder.
    static QString fileOf(int id);
    /// The content of that file.
    static QByteArray contentOf(int id, const QString &version);
    /// Whether that file is in the simulator.
    bool hasFile(int id) const;

private:
    QJsonObject versionObject(const Offer &offer) const;
    QVariant recorded(int id, const QString &column) const;
    void read(const QString &select, const std::function<void(const QSqlQuery &)> &take) const;

    ScratchProfile m_profile;
    TestHttpServer m_server;
    QList<QJsonObject> m_catalogue;
    QString m_extractor;
    Clock m_clock = steadyClock();
    int m_patience = 30000;
    QSharedPointer<Settings> m_settings;
    QSharedPointer<QNetworkAccessManager> m_network;
    QSharedPointer<Managers::DownloadManager> m_downloads;
    QSharedPointer<Controllers::PackageController> m_controller;
};

} // namespace Kavo::Testing
