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

/// One version of a package as a test offers it. Without files of its own it gets one file that
/// names package and version.
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
    QString link = {};     ///< path on the server; empty for one of its own
    QJsonObject more = {}; ///< further keys of the version

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

/// Package management as the program assembles it, without a window, on a scratch account and with
/// a catalogue server of our own. Offers what tests need to drive and inspect it.
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

    /// Path of an entry in the simulator's folder.
    QString simulator(const QString &path) const;
    /// Path of an entry in the cache folder.
    QString cached(const QString &name) const;

    /// Adds a version to the catalogue and its archive to the server. Offers with the same id
    /// become versions of one package. Call serveCatalogue() afterwards.
    void offer(const Offer &offer);
    /// Adds an object to the catalogue without changing it.
    void offerObject(const QJsonObject &package);
    void serveCatalogue();
    /// Offers all of these and refreshes. Returns whether the list arrived.
    bool publish(std::initializer_list<Offer> offers);
    /// The archive of an offer without a link, as the server stores it.
    HttpResource &archive(int id, const QString &version = "1.0"_s);
    /// Delays the transfer of such an archive until release().
    void hold(int id, const QString &version = "1.0"_s) { archive(id, version).holdsGet = true; }
    void release(int id, const QString &version = "1.0"_s);
    /// The file of such an archive in the cache folder.
    QString cachedArchive(int id, const QString &version = "1.0"_s) const;
    /// Stops the transfer of such an archive after 10 bytes and cuts it after release().
    void holdAndBreak(int id, const QString &version = "1.0"_s);

    /// Creates the objects of one run of the program. refresh() calls it when needed.
    void start();
    /// Ends that run of the program.
    void stop();
    /// Starts the program again. Returns whether its list arrived.
    bool restart();
    /// The 7-Zip that the next start() uses.
    void setExtractor(const QString &program) { m_extractor = program; }
    /// The clock that the next start() uses.
    void setClock(const Clock &clock) { m_clock = clock; }

    /// The limit of the waits below, in milliseconds: long enough for a loaded machine, short
    /// enough to fail before the test's own time limit.
    int patience() const { return m_patience; }
    void setPatience(int milliseconds) { m_patience = milliseconds; }

    /// Serves the catalogue, refreshes and waits for the list. Returns whether it arrived.
    bool refresh();
    /// The same with these bytes as the catalogue.
    bool refreshAsServed();

    Models::PackagePointer package(int id) { return m_controller->findPackage(id); }
    Models::Package::State state(int id) { return package(id)->state(); }
    bool isUpdateAvailable(int id) { return package(id)->isUpdateAvailable(); }
    QString installedVersion(int id) { return m_controller->installedVersion(package(id)); }
    Models::Removal uninstall(int id) { return m_controller->uninstall(package(id)); }
    /// Starts an installation and returns the chosen version.
    QString install(int id, const QString &version = QString());
    /// Runs the event loop until the package is in a state that does not change by itself.
    bool waitUntilSettled(int id);
    bool waitForState(int id, Models::Package::State state);
    /// Waits until the package is installed and no work is left.
    bool waitUntilInstalled(int id);
    bool installAndWait(int id, const QString &version = QString());
    /// Starts an installation and waits until the transfer of its archive has begun.
    bool installUntilDownloading(int id, const QString &version = QString());

    /// Status and version of the package in "packages.db"; -1 without a row.
    int recordedStatus(int id) const;
    QString recordedVersion(int id) const;
    /// The version that "packages.db" records as completely installed; empty for none.
    QString wholeVersion(int id) const;
    struct Record
    {
        int status = -1;
        QString version;
    };
    /// All such versions, by package id.
    QHash<int, Record> records() const;

    /// The file that an offer without files of its own installs.
    static QString fileOf(int id);
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
