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

/// A user with a simulator, his own files in it, and add-ons on offer. The object knows what has to
/// be in which place, and reports what is not.
class AddOnUser final
{
public:
    /// The three add-ons of offerOwnAddOns(), or the demonstration, which ignores the sizes of
    /// archives.
    enum class Offered { Own, Demonstration };

    AddOnUser(Offered offered, const AddOnSizes &sizes, quint32 seed);

    Engine &engine() { return m_engine; }

    /// Arguments of the driver for an order such as "install 10:1.0".
    QStringList arguments(const QString &order);
    /// Notes that the order has been carried out.
    void takeAsDone(const QString &order);
    /// Writes new contents to the files that the installed add-ons keep for the user. Sometimes
    /// deletes a file of the simulator's that has a backup.
    void fly();

    /// Makes the server wait before it answers a probe, or after this share of an archive.
    void holdProbes();
    void holdArchives(double share);
    void holdNothing();

    /// What is lost after a sudden end in the middle of the order; empty for nothing.
    QString faultAfterDeath(const QString &order);
    /// What is wrong with the packages that the next start shows; empty for nothing. `unseen`
    /// counts those that are complete but not shown: just before a package is replaced, that is
    /// correct.
    QString faultOnceStarted(const QString &order, int *unseen);
    /// What is wrong when the work is done; empty for nothing.
    QString faultWhenDone();

    /// Copies the account to a folder, or back from it, with what was installed. Returns success.
    bool save(const QString &folder);
    bool load(const QString &folder);

private:
    struct Kept
    {
        QByteArray content;
        QFile::Permissions permissions;
    };
    using KeptFiles = QMap<QString, Kept>; ///< by path under the simulator's folder

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
    Files m_others;        ///< stay as they are
    KeptFiles m_originals; ///< the simulator's, backed up by an add-on
    KeptFiles m_own;       ///< the user's, among the files of the installed add-ons
    QSet<QString> m_gone;  ///< originals that are only in the backup folder
    AddOns::Installed m_installed;
    std::tuple<KeptFiles, QSet<QString>, AddOns::Installed> m_saved;
};

} // namespace Kavo::Testing
