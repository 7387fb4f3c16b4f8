#pragma once

#include "tests/packages/Engine.h"

#include <QFile>
#include <QMap>
#include <QString>
#include <QStringList>

#include <random>
#include <tuple>

namespace Kavo::Testing {

/// Somebody with a simulator, files of his own in it and three add-ons on offer, each in the
/// versions 1.0 and 2.0: a library; a plug-in that needs it, keeps two files of the user's and
/// replaces two of the simulator's; and a scenery that keeps one file of the user's. Knows at any
/// time what has to stand where, and tells what does not.
class AddOnUser final
{
public:
    /// Bigger files make every phase longer.
    struct Sizes
    {
        int archiveFiles; ///< number of small files in an archive
        int archiveBytes; ///< of one file that cannot be compressed, in each archive
        int ownBytes;     ///< of each file that is kept or backed up
    };

    static constexpr int Library = 2;
    static constexpr int PlugIn = 10;
    static constexpr int Scenery = 11;

    AddOnUser(const Sizes &sizes, quint32 seed);

    Engine &engine() { return m_engine; }

    /// Arguments of the driver for an order such as "install 10:1.0".
    QStringList arguments(const QString &order);
    /// Remembers what is installed once the order is carried out.
    void takeAsDone(const QString &order);
    /// Writes new contents to the user's own files among those of the installed add-ons.
    void editOwnFiles();

    /// Makes the server wait before it answers a probe, or after so many bytes of an archive.
    void holdProbes();
    void holdArchives(qint64 after);
    void holdNothing();

    /// What a sudden end must never have done, whatever is half done: the fault, or an empty text.
    QString faultAfterDeath(const QString &order);
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
    void offer(const Offer &rules, const QString &folder, const QStringList &further = {});
    QByteArray noise(int size);
    QVector<HttpResource *> archives();
    bool isInstalled(int id) const { return m_installed.contains(id); }
    QMap<QString, QString> wantedTree() const;

    QString faultInTree();
    QString faultInKept(const KeptFiles &files, const QString &folder);
    QString faultInBackups();
    QString faultInCache();
    QString faultInDatabases();
    QString strayFile();

    Engine m_engine;
    Sizes m_sizes;
    std::mt19937 m_random;
    Files m_others;                     ///< stay as they are
    KeptFiles m_originals;              ///< the simulator's, replaced by the plug-in
    KeptFiles m_own;                    ///< the user's, among the files of the installed add-ons
    QMap<int, QStringList> m_preserved; ///< the rules by id
    QMap<int, QMap<QString, Files>> m_files; ///< by id and version, under the simulator's folder
    QMap<int, QString> m_installed;          ///< versions by id
    std::tuple<KeptFiles, QMap<int, QString>> m_saved;
};

} // namespace Kavo::Testing
