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

/// The demonstration on a scratch account: its catalogue behind a web server, its pretend
/// simulator, which a stand-in for `locate` finds, and the facts on disk to hold the program to.
/// Construction runs the tools of the demonstration; isReady() tells whether they succeeded.
class Demonstration final
{
public:
    /// What the catalogue says of one package.
    struct Entry
    {
        int id = 0;
        QMap<QString, QString> names; ///< by language
        QString newest;
        QString folder;                  ///< of the newest version, below the simulator's
        QString versionFile;             ///< likewise
        QMap<QString, QString> archives; ///< file names on the server by version
        QString icon, help, manual;      ///< addresses

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

    /// What another program reads in "packages.db": status and version by package, empty without
    /// the file.
    QMap<int, QPair<int, QString>> rows() const;
    /// The version in the version file of a package, empty without one.
    QString versionOnDisk(int id) const;

    /// From now on this file of the simulator, as it is now, belongs to somebody else; or no longer
    /// to anybody when it is not there.
    void rememberFile(const QString &path);
    /// The simulator's folder as it has to look with exactly these versions installed: theirs, and
    /// what others put there. As fileTree() returns it.
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
