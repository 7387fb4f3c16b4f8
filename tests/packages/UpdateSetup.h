#pragma once

#include "tests/packages/Engine.h"
#include "tests/support/LogCapture.h"

namespace Kavo::Testing {

/// Bytes that no archive makes much smaller, others for another seed.
QByteArray noise(quint32 seed, int size = 200000);

/// What an update brings: a file of noise and two small ones.
Files updateFiles(quint32 seed = 1, int size = 200000);

/// A simulator in which the update of an add-on can go wrong: it holds other people's files, a file
/// that the add-on replaced and the user's settings beside the installed version 1.0, while the
/// server offers 2.0. Tells at any moment whether one of them was lost.
class UpdateSetup final
{
public:
    static constexpr int Id = 7;

    /// Installs version 1.0; version 2.0 will bring updateFiles().
    UpdateSetup();

    Engine &engine() { return m_engine; }
    /// A folder of the account that is neither the simulator's nor the program's.
    QString otherFolder() { return m_engine.profile().folder("home/Documents"_s); }
    Models::PackagePointer package() { return m_engine.package(Id); }

    /// Path of its archive on the server, its address, and its file in the cache folder.
    static QString link() { return "/addon.7z"_s; }
    QString url() { return m_engine.server().url(link()); }
    QString cached() const { return m_engine.cached("addon.7z"_s); }
    HttpResource &resource() { return m_engine.server().resource(link()); }
    void serve(const HttpResource &resource) { this->resource() = resource; }

    /// Starts the installation of version 2.0.
    void startUpdate();
    /// The same, and waits until nothing goes on any more, neither for the package nor
    /// on the connection. Returns whether that came.
    bool update();
    /// Waits until nothing goes on any more.
    bool waitForQuiet();
    /// The next start of the program.
    bool restart();
    /// The next start of the program, with another 7-Zip.
    bool restartWith(const QString &extractor);

    /// Says that version 2.0 brings other files from now on.
    void setUpdate(const Files &update) { m_update = update; }
    /// Says that these files stand in the simulator from now on, whatever becomes of the add-on.
    void expectInSimulator(const Files &files);

    /// What is wrong on the disk for a package in its present state; empty when nothing is. After
    /// an update that failed half-way only the add-on's own files may be missing or damaged; after
    /// one that was turned away nothing may have changed.
    /// Outside of the simulator and the program's own data nothing may have changed since
    /// startUpdate().
    QString loss();
    /// What is wrong for a package that should be in this state: state, record and loss().
    QString wrongEnd(Models::Package::State state);
    /// The same for an update of now, the lines of its log included.
    QString wrongUpdate(Models::Package::State state, const QStringList &log);
    /// Uninstalls and returns what is wrong on the disk afterwards.
    QString lossAfterRemoval();

private:
    Files files(const Files &addOn) const;
    QString difference(const Files &simulator, const Files &preserved, const Files &backedUp,
                       bool ignoresAddOn);

    QMap<QString, QString> outside() const;

    Engine m_engine;
    Files m_update;
    Files m_others;
    QMap<QString, QString> m_outside;
};

/// Whether the lines are those of the pattern, in which an asterisk stands for any text. Returns
/// what is wrong, empty when nothing is.
QString compareLog(const QStringList &lines, const QStringList &pattern);

/// Lines of the log in such patterns: of a failed probe, of a failed transfer, of a file that does
/// not have the expected size, of an archive that was unpacked, of one that could not be, with the
/// exit code of 7-Zip, and of one that was looked at and not even tried, with the reason.
QStringList probeError();
QStringList transferError();
QStringList sizeError(int present, int expected);
QStringList unpacked();
QStringList refused(int exitCode = 2);
QStringList turnedAway(const QString &reason);

} // namespace Kavo::Testing
