#pragma once

#include "tests/support/Nginx.h"
#include "tests/support/ScratchProfile.h"
#include "tests/support/StandInLocate.h"

#include <QByteArray>
#include <QHash>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVector>

#include <memory>

namespace Kavo::Testing {

/// The demonstration on a scratch account: a web server with its catalogue and archives, and its
/// simulated X-Plane folder, which a stand-in for `locate` finds. Also reads the state of the disk
/// and the database, with which tests compare the program. The constructor runs the tools of the
/// demonstration; isReady() returns whether they succeeded.
class Demonstration final
{
public:
    /// One package of the catalogue.
    struct Entry
    {
        int id = 0;
        QMap<QString, QString> names; ///< by language
        QString newest;
        QString folder;      ///< of the newest version, relative to the simulator's folder
        QString versionFile; ///< of the newest version, relative to the simulator's folder
        QMap<QString, QString> archives; ///< file names on the server by version
        QString icon, help, manual;      ///< URLs

        QString name(const QString &language) const
        {
            return names.value(language, names.value(QStringLiteral("en")));
        }
    };

    Demonstration();
    Q_DISABLE_COPY_MOVE(Demonstration)

    bool isReady() const { return m_ready; }
    ScratchProfile &profile() { return m_profile; }
    const ScratchProfile &profile() const { return m_profile; }
    Nginx &server() { return m_server; }
    const StandInLocate &locate() const { return *m_locate; }
    /// With a trailing separator.
    QString simulator() const { return m_simulator; }
    QString archive(const QString &name) const;

    /// In the order of the catalogue.
    const QVector<Entry> &entries() const { return m_entries; }
    const Entry &entry(int id) const;

    /// Status and version by package id, as another program reads them in "packages.db"; empty if
    /// there is no such file.
    QMap<int, QPair<int, QString>> rows() const;
    /// The version in the version file of a package; empty if there is no such file.
    QString versionOnDisk(int id) const;

    /// Adds a file of the simulator, with its present content, to the expected files that do not
    /// belong to a package. Removes it from them if the file does not exist. The path is relative
    /// to the simulator's folder.
    void rememberFile(const QString &path);
    /// The expected content of the simulator's folder if exactly these versions are installed:
    /// their files and those that belong to no package. Has the format of fileTree().
    QMap<QString, QString> expectedSimulator(const QMap<int, QString> &installed);

private:
    bool make();
    bool readCatalogue();
    const QMap<QString, QString> &contents(const QString &archiveName);

    ScratchProfile m_profile;
    Nginx m_server;
    QString m_simulator;
    std::unique_ptr<StandInLocate> m_locate;
    QVector<Entry> m_entries;
    QMap<QString, QString> m_others;
    QHash<QString, QMap<QString, QString>> m_contents;
    bool m_ready = false;
};

} // namespace Kavo::Testing
