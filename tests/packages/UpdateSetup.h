#pragma once

#include "tests/packages/Engine.h"
#include "tests/support/LogCapture.h"

namespace Kavo::Testing {

/// Bytes that hardly compress, different for each seed.
QByteArray noise(quint32 seed, int size = 200000);

/// The files of an update: one of noise and two small ones.
Files updateFiles(quint32 seed = 1, int size = 200000);

/// A simulator in which the update of an add-on can fail. It holds other people's files, a file
/// that the add-on replaced, the user's settings and the installed version 1.0, while the server
/// offers 2.0. Tells at any moment whether one of these files was lost.
class UpdateSetup final
{
public:
    static constexpr int Id = 7;

    /// Installs version 1.0; version 2.0 will bring updateFiles().
    UpdateSetup();

    Engine &engine() { return m_engine; }
    /// A folder of the account that belongs neither to the simulator nor to the program.
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
    /// The same, and waits until no work and no request of the package is left. Returns whether
    /// that happened.
    bool update();
    /// Waits until no work and no request is left.
    bool waitForQuiet();
    /// The next start of the program.
    bool restart();
    /// Starts the program again, with another 7-Zip.
    bool restartWith(const QString &extractor);

    /// Sets the files that version 2.0 brings from now on.
    void setUpdate(const Files &update) { m_update = update; }
    /// Expects these files in the simulator from now on, whatever happens to the add-on.
    void expectInSimulator(const Files &files);

    /// What is wrong on the disk for a package in its present state; empty if nothing is. After an
    /// update that failed half-way, only the add-on's own files may be missing or damaged. After an
    /// update that was refused, nothing may have changed. Outside the simulator and the program's
    /// own data, nothing may have changed since startUpdate().
    QString loss();
    /// What is wrong for a package that should be in this state: state, record and loss().
    QString wrongEnd(Models::Package::State state);
    /// The same for an update that starts now, including the lines of its log.
    QString wrongUpdate(Models::Package::State state, const QStringList &log);
    /// Uninstalls and returns what is wrong on the disk afterwards.
    QString lossAfterRemoval();

private:
    Files files(const Files &addOn) const;
    QString difference(const Files &simulator, const Files &preserved, const Files &backedUp,
                       bool ignoresAddOn);

    FileTree outside() const;

    Engine m_engine;
    Files m_update;
    Files m_others;
    FileTree m_outside;
};

/// Compares the lines with the patterns, in which an asterisk stands for any text. Returns what is
/// wrong, empty if nothing is.
QString compareLog(const QStringList &lines, const QStringList &pattern);

/// Patterns of log lines: of a failed probe, a failed transfer, a file without the expected size,
/// an unpacked archive, an archive that could not be unpacked with 7-Zip's exit code, and an
/// archive that was refused with the reason.
QStringList probeError();
QStringList transferError();
QStringList sizeError(int present, int expected);
QStringList unpacked();
QStringList refused(int exitCode = 2);
QStringList turnedAway(const QString &reason);

} // namespace Kavo::Testing
