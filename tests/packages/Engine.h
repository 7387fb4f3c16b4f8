#pragma once

#include "packages/PackageController.h"
#include "tests/support/Archives.h"
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

/// All of package management on a scratch account, against a catalogue server of our own, without
/// a window: what the program assembles, and what a test asks of it.
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

    /// Path of an entry of the simulator's folder.
    QString simulator(const QString &path) const;
    /// Path of an entry of the cache folder.
    QString cached(const QString &name) const;

    /// Adds a version to the catalogue and puts its archive on the server. Offers of one id become
    /// versions of one package. serveCatalogue() has to follow.
    void offer(const Offer &offer);
    /// Adds an object to the catalogue as it stands.
    void offerObject(const QJsonObject &package);
    void serveCatalogue();
    /// Offers all of these and refreshes. Returns whether the list came.
    bool publish(std::initializer_list<Offer> offers);
    /// The archive of an offer without a link, as the server has it.
    HttpResource &archive(int id, const QString &version = "1.0"_s);
    /// Lets the transfer of such an archive wait until release().
    void hold(int id, const QString &version = "1.0"_s) { archive(id, version).holdsGet = true; }
    void release(int id, const QString &version = "1.0"_s);
    /// The file of such an archive in the cache folder.
    QString cachedArchive(int id, const QString &version = "1.0"_s) const;
    /// Lets its transfer stop after 10 bytes, and break after release().
    void holdAndBreak(int id, const QString &version = "1.0"_s);

    /// Makes the objects that stand for a start of the program. Called by refresh() when needed.
    void start();
    /// Ends that run of the program.
    void stop();
    /// The next start of the program. Returns whether its list came.
    bool restart();
    /// Another 7-Zip for the next start().
    void setExtractor(const QString &program) { m_extractor = program; }
    /// The clock of the next start().
    void setClock(const Clock &clock) { m_clock = clock; }

    /// How long the waits below last at most: long enough for a loaded machine, short enough to
    /// fail before the test is ended from outside. In milliseconds.
    int patience() const { return m_patience; }
    void setPatience(int milliseconds) { m_patience = milliseconds; }

    /// Serves the catalogue, refreshes and waits for the list. Returns whether it came.
    bool refresh();
    /// The same with what the server has in the catalogue's place.
    bool refreshAsServed();

    Models::PackagePointer package(int id) { return m_controller->findPackage(id); }
    Models::Package::State state(int id) { return package(id)->state(); }
    bool isUpdateAvailable(int id) { return package(id)->isUpdateAvailable(); }
    QString installedVersion(int id) { return m_controller->installedVersion(package(id)); }
    Models::Removal uninstall(int id) { return m_controller->uninstall(package(id)); }
    /// Starts an installation and returns the version that is meant.
    QString install(int id, const QString &version = QString());
    /// Runs the event loop until the package is in a state that it will not leave by itself.
    bool waitUntilSettled(int id);
    bool waitForState(int id, Models::Package::State state);
    /// Waits until it is installed and nothing goes on any more.
    bool waitUntilInstalled(int id);
    bool installAndWait(int id, const QString &version = QString());
    /// Starts an installation and waits until its archive is on its way.
    bool installUntilDownloading(int id, const QString &version = QString());

    /// Status and version as another program reads them from "packages.db"; -1 without a row.
    int recordedStatus(int id) const;
    QString recordedVersion(int id) const;
    /// The version that "packages.db" knows to be wholly on the disk; empty for none.
    QString wholeVersion(int id) const;
    struct Record
    {
        int status = -1;
        QString version;
    };
    /// All of them, by package id.
    QHash<int, Record> records() const;

    /// The file that an offer without files of its own unpacks.
    static QString fileOf(int id);
    static QByteArray contentOf(int id, const QString &version);
    /// Whether it stands in the simulator.
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
