#pragma once

#include "tests/packages/Engine.h"

#include <QObject>

#include <optional>

namespace Kavo::Testing {

/// Base class of tests that use a new Engine for each test function. Most functions forward to the
/// engine.
class EngineTest : public QObject
{
    Q_OBJECT

protected slots:
    void init();
    void cleanup();

protected:
    using State = Models::Package::State;

    /// Called before each test function, when the engine exists.
    virtual void setUp() {}
    /// Called after each test function, before the engine is destroyed.
    virtual void tearDown() {}

    Engine &engine() { return *m_engine; }
    const ScratchProfile &profile() const { return m_engine->profile(); }
    TestHttpServer &server() { return m_engine->server(); }
    const QSharedPointer<Settings> &settings() const { return m_engine->settings(); }
    Managers::DownloadManager &downloads() { return *m_engine->downloads(); }
    Controllers::PackageController &controller() { return m_engine->controller(); }

    QString simulator(const QString &path) const { return m_engine->simulator(path); }
    QByteArray inSimulator(const QString &path) const { return readFile(simulator(path)); }
    QString cached(const QString &name) const { return m_engine->cached(name); }
    QString preserved(const QString &path) const { return profile().preserveFolder() + path; }
    QString backedUp(const QString &path) const { return profile().backupFolder() + path; }
    QString packageDatabase() const { return profile().dataFolder() + "packages.db"_s; }

    void offer(const Offer &offer) { m_engine->offer(offer); }
    void offerObject(const QJsonObject &package) { m_engine->offerObject(package); }
    void serveCatalogue() { m_engine->serveCatalogue(); }
    bool publish(std::initializer_list<Offer> offers) { return m_engine->publish(offers); }
    HttpResource &catalogue() { return server().resource("/packages.json"_s); }
    HttpResource &archive(int id, const QString &version = "1.0"_s)
    {
        return m_engine->archive(id, version);
    }
    void hold(int id, const QString &version = "1.0"_s) { m_engine->hold(id, version); }
    void release(int id, const QString &version = "1.0"_s) { m_engine->release(id, version); }
    void holdAndBreak(int id, const QString &version = "1.0"_s)
    {
        m_engine->holdAndBreak(id, version);
    }
    QString cachedArchive(int id, const QString &version = "1.0"_s) const
    {
        return m_engine->cachedArchive(id, version);
    }

    void start() { m_engine->start(); }
    void stop() { m_engine->stop(); }
    bool restart() { return m_engine->restart(); }
    bool refresh() { return m_engine->refresh(); }
    bool refreshAsServed() { return m_engine->refreshAsServed(); }
    void setExtractor(const QString &program) { m_engine->setExtractor(program); }

    Models::PackagePointer package(int id) { return m_engine->package(id); }
    State state(int id) { return m_engine->state(id); }
    bool isUpdateAvailable(int id) { return m_engine->isUpdateAvailable(id); }
    QString installedVersion(int id) { return m_engine->installedVersion(id); }
    QString install(int id, const QString &version = QString())
    {
        return m_engine->install(id, version);
    }
    bool installAndWait(int id, const QString &version = QString())
    {
        return m_engine->installAndWait(id, version);
    }
    bool installUntilDownloading(int id, const QString &version = QString())
    {
        return m_engine->installUntilDownloading(id, version);
    }
    bool waitUntilSettled(int id) { return m_engine->waitUntilSettled(id); }
    bool waitUntilInstalled(int id) { return m_engine->waitUntilInstalled(id); }
    bool waitForState(int id, State state) { return m_engine->waitForState(id, state); }
    Models::Removal uninstall(int id) { return m_engine->uninstall(id); }

    int recordedStatus(int id) const { return m_engine->recordedStatus(id); }
    QString recordedVersion(int id) const { return m_engine->recordedVersion(id); }
    QString wholeVersion(int id) const { return m_engine->wholeVersion(id); }
    bool hasFile(int id) const { return m_engine->hasFile(id); }

private:
    std::optional<Engine> m_engine;
};

} // namespace Kavo::Testing
