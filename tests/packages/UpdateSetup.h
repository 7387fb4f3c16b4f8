#pragma once

#include "tests/packages/Engine.h"
#include "tests/support/LogCapture.h"

namespace Kavo::Testing {

/// Pseudo-random bytes, which hardly compress. Equal seeds give equal bytes.
QByteArray noise(quint32 seed, int size = 200000);

/// The files of version 2.0: one of `size` bytes of noise() and two small ones.
Files updateFiles(quint32 seed = 1, int size = 200000);

/// An engine for tests of updates that may fail. Version 1.0 of an add-on is installed, and the
/// server offers 2.0. The simulator also contains files that do not belong to the add-on, and the
/// user's settings for it. The original of a file that the add-on has replaced is in the backup
/// folder. loss() reports at any time whether one of these files was lost.
class UpdateSetup final
{
public:
    static constexpr int Id = 7;

    /// Installs version 1.0. Version 2.0 contains updateFiles().
    UpdateSetup();

    Engine &engine() { return m_engine; }
    /// A folder of the user that belongs neither to the simulator nor to the program.
    QString otherFolder() { return m_engine.profile().folder("home/Documents"_s); }
    Models::PackagePointer package() { return m_engine.package(Id); }

    /// Path of the archive of version 2.0 on the server.
    static QString link() { return "/addon.7z"_s; }
    /// The full address of that archive.
    QString url() { return m_engine.server().url(link()); }
    /// Path of that archive in the cache folder.
    QString cached() const { return m_engine.cached("addon.7z"_s); }
    HttpResource &resource() { return m_engine.server().resource(link()); }
    void serve(const HttpResource &resource) { this->resource() = resource; }

    /// Starts the installation of version 2.0.
    void startUpdate();
    /// Calls startUpdate() and waitForQuiet().
    bool update();
    /// Waits until neither the package nor the controller is busy and the download of the archive
    /// has finished. Returns whether that happened in time.
    bool waitForQuiet();
    /// Creates the engine's objects anew, as if the program was started again. Returns whether the
    /// list of packages arrived in time.
    bool restart();
    /// The same with another 7-Zip executable.
    bool restartWith(const QString &extractor);

    /// Sets the files that loss() expects of version 2.0. Does not change the archive.
    void setUpdate(const Files &update) { m_update = update; }
    /// Makes loss() expect these files in the simulator too, in every state of the add-on.
    void expectInSimulator(const Files &files);

    // The following functions return a description of the errors, empty if there are none.

    /// Compares the files on the disk with those that the package's state requires. If the update
    /// failed after it had changed something, only the add-on's own files may be missing or
    /// damaged. If it failed before, nothing may have changed. Outside the simulator and the
    /// program's own data, nothing may have changed since startUpdate().
    QString loss();
    /// Compares the package's state and its recorded status with this state, then calls loss().
    QString wrongEnd(Models::Package::State state);
    /// Calls update(), compares the log with these patterns (compareLog()) and calls wrongEnd().
    QString wrongUpdate(Models::Package::State state, const QStringList &log);
    /// Uninstalls the package. Checks that the simulator is as it was before version 1.0 and that
    /// no copies are left in the preserve and backup folders.
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

/// Compares each line with its pattern, in which an asterisk stands for any text. Returns a
/// description of the first difference, empty if there is none.
QString compareLog(const QStringList &lines, const QStringList &pattern);

// Patterns of the log lines that an update writes.

/// The HEAD request failed.
QStringList probeError();
/// The GET request failed.
QStringList transferError();
/// The downloaded file does not have the expected size.
QStringList sizeError(int present, int expected);
/// The archive was unpacked.
QStringList unpacked();
/// 7-Zip could not unpack the archive and returned this exit code.
QStringList refused(int exitCode = 2);
/// The installation failed for this reason before it changed anything.
QStringList turnedAway(const QString &reason);

} // namespace Kavo::Testing
