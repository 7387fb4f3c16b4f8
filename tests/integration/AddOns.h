#pragma once

#include "tests/support/Archives.h"

#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

namespace Kavo::Testing {

/// What a catalogue offers, as far as it shows in the simulator: the rules of every version, and
/// the files that stand there once it is installed.
class AddOns final
{
public:
    struct Version
    {
        QString archive; ///< path on the server
        QStringList depends;
        QStringList preserve;
        QStringList backup;
        Files files; ///< under the simulator's folder
    };

    /// Version texts by package id.
    using Installed = QMap<int, QString>;

    void add(int id, const QString &text, const Version &version);

    QList<int> ids() const { return m_versions.keys(); }
    const Version &version(int id, const QString &text) const;
    QString newest(int id) const;
    /// Paths of all archives on the server.
    QStringList archives() const;
    /// All files of the simulator that some version backs up.
    QStringList originals() const;

    /// What is installed after a version was; an empty text means the newest one. It brings along
    /// the newest version of what it needs and does not find, or finds too old.
    void install(Installed &installed, int id, const QString &text) const;
    /// What is installed after a removal, which takes along what needs the package.
    void uninstall(Installed &installed, int id) const;

private:
    QMap<int, QMap<QString, Version>> m_versions;
};

} // namespace Kavo::Testing
