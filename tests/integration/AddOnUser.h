#pragma once

#include "tests/integration/AddOns.h"
#include "tests/integration/OwnAddOns.h"
#include "tests/packages/Engine.h"

#include <QFile>
#include <QMap>
#include <QSet>
#include <QString>

#include <random>
#include <tuple>

namespace Kavo::Testing {

/// A simulated user with a scratch account: a simulator, which contains files of the user, and a
/// server with add-ons. Keeps the expected state of all files and reports differences from it.
class AddOnUser final
{
public:
    /// The three add-ons of offerOwnAddOns(), or the demonstration, which ignores the sizes of
    /// archives.
    enum class Offered { Own, Demonstration };

    AddOnUser(Offered offered, const AddOnSizes &sizes, quint32 seed);

    Engine &engine() { return m_engine; }

    /// Arguments of the engine driver for a command such as "install 10:1.0".
    QStringList arguments(const QString &order);
    /// Updates the expected state: the command has been carried out.
    void takeAsDone(const QString &order);
    /// Simulates a flight: writes new contents to the files that the installed add-ons preserve,
    /// and sometimes deletes a file of the simulator that has a backup.
    void fly();

    /// Makes the server hold back its answer to a HEAD, or the rest of an archive after this share
    /// of it (from 0 to 1). holdNothing() ends both.
    void holdProbes();
    void holdArchives(double share);
    void holdNothing();

    /// What was lost when the process was killed during the command; empty for nothing.
    QString faultAfterDeath(const QString &order);
    /// What is wrong with the packages that the next start shows; empty for nothing. Adds to
    /// `unseen` the number of packages that are complete but not shown as installed, which is
    /// correct just before a package is replaced.
    QString faultOnceStarted(const QString &order, int *unseen);
    /// What differs from the expected state when no work is left; empty for nothing.
    QString faultWhenDone();

    /// Copies the account to a folder, or back from it, together with the expected state. Returns
    /// success.
    bool save(const QString &folder);
    bool load(const QString &folder);

private:
    struct Kept
    {
        QByteArray content;
        QFile::Permissions permissions;
    };
    using KeptFiles = QMap<QString, Kept>; ///< by path relative to the simulator's folder

    void writeOthersFiles();
    void writeOriginals();
    void writeKept(KeptFiles &files, const QString &path, QFile::Permissions permissions);
    QByteArray newContent(int size);
    QVector<HttpResource *> archives();
    QStringList preserved() const;
    QSet<QString> backedUp() const;
    bool isInstalled(int id) const { return m_installed.contains(id); }
    AddOns::Installed after(const QString &order) const;
    bool isWhole(int id, const QString &version) const;
    QString faultInShown(int id, bool isRemoved, int *unseen);
    FileTree wantedTree() const;

    QString faultInKept(const KeptFiles &files, const QString &folder);
    QString faultInBackups();
    QString faultInCache();
    QString faultInDatabases();
    QString strayFile();

    Engine m_engine;
    int m_ownBytes;
    std::mt19937 m_random;
    AddOns m_addOns;
    Files m_others;        ///< must never change
    KeptFiles m_originals; ///< files of the simulator that add-ons back up
    KeptFiles m_own;       ///< files of the user that installed add-ons preserve
    QSet<QString> m_gone;  ///< originals that are only in the backup folder
    AddOns::Installed m_installed;
    std::tuple<KeptFiles, QSet<QString>, AddOns::Installed> m_saved;
};

} // namespace Kavo::Testing
