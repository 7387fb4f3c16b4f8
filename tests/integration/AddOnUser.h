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

/// Somebody with a simulator, files of his own in it and add-ons on offer. Knows at any time what
/// has to stand where, and tells what does not.
class AddOnUser final
{
public:
    /// What is on offer: the three add-ons of offerOwnAddOns(), or the demonstration, whose
    /// archives have the sizes they have.
    enum class Offered { Own, Demonstration };

    AddOnUser(Offered offered, const AddOnSizes &sizes, quint32 seed);

    Engine &engine() { return m_engine; }

    /// Arguments of the driver for an order such as "install 10:1.0".
    QStringList arguments(const QString &order);
    /// Remembers what is installed once the order is carried out.
    void takeAsDone(const QString &order);
    /// Goes flying: writes new contents to the user's own files among those of the installed
    /// add-ons, and now and then deletes a file of the simulator's that stands beside the add-on
    /// that has backed it up.
    void fly();

    /// Makes the server wait before it answers a probe, or after this share of an archive.
    void holdProbes();
    void holdArchives(double share);
    void holdNothing();

    /// What a sudden end must never have done, whatever is half done: the fault, or an empty text.
    QString faultAfterDeath(const QString &order);
    /// What a sudden end must not have made of the packages that the next start shows. Those that
    /// stand there wholly and are not shown, because they were about to be replaced, are counted:
    /// there is one moment for each.
    QString faultOnceStarted(const QString &order, int *unseen);
    /// What is not as it has to be when the work is done: the fault, or an empty text.
    QString faultWhenDone();

    /// Copies the whole account to a folder, or back from it, and remembers what was installed.
    /// Returns success.
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
    QByteArray newContent(int size);
    QVector<HttpResource *> archives();
    QStringList preserved() const;
    QSet<QString> backedUp() const;
    bool isInstalled(int id) const { return m_installed.contains(id); }
    AddOns::Installed remaining(const QString &order) const;
    bool isWhole(int id, const QString &version) const;
    QString faultInShown(int id, bool isRemoved, int *unseen);
    QMap<QString, QString> wantedTree() const;

    QString faultInTree();
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
    QSet<QString> m_gone;  ///< originals that now stand in the backup folder alone
    AddOns::Installed m_installed;
    std::tuple<KeptFiles, QSet<QString>, AddOns::Installed> m_saved;
};

} // namespace Kavo::Testing
