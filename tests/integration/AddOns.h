#pragma once

#include "tests/support/Files.h"

#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVector>

namespace Kavo::Testing {

/// The versions of a catalogue, with their rules and files. Predicts which versions are installed
/// after an installation or a removal.
class AddOns final
{
public:
    struct Version
    {
        QString archive; ///< path on the server
        QStringList depends;
        QStringList preserve;
        QStringList backup;
        Files files; ///< relative to the simulator's folder
    };

    /// Version texts by package id.
    using Installed = QMap<int, QString>;

    void add(int id, const QString &text, const Version &version);

    QList<int> ids() const { return m_versions.keys(); }
    const Version &version(int id, const QString &text) const;
    /// All versions of all packages.
    QVector<Version> versions() const;
    QVector<Version> versions(const Installed &installed) const;

    /// Adds a version to what is installed; an empty text means the newest one. Adds the newest
    /// version of each dependency that is missing or too old.
    void install(Installed &installed, int id, const QString &text) const;
    /// Removes a package and all packages that depend on it.
    void uninstall(Installed &installed, int id) const;

private:
    QString newest(int id) const;

    QMap<int, QMap<QString, Version>> m_versions;
};

} // namespace Kavo::Testing
