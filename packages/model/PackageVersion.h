#pragma once

#include <QSharedPointer>
#include <QString>
#include <QStringList>
#include <QVector>

#include <optional>

namespace Kavo::Models {

/// What to do when a version is installed. All paths are relative to the simulator folder.
struct PackageInstallRule
{
    QString extract;      ///< folder into which the archive is unpacked
    QStringList preserve; ///< files kept across a re-installation
    QStringList backup;   ///< files saved before the first installation and restored on removal
};

/// What to do when a version is removed. All paths are relative to the simulator folder.
struct PackageUninstallRule
{
    QStringList remove; ///< files or whole folders to delete
};

/// One version of a package in the catalogue. Copies of the record share the rules, which are never
/// null.
struct PackageVersion
{
    QString version;            ///< dotted numbers such as 1.2.10
    QString link;               ///< address of the archive
    std::optional<qint64> size; ///< size of the archive in bytes, if the catalogue has it
    QString sha256;      ///< digest of the archive in hexadecimal; empty if the catalogue has none
    QStringList depends; ///< entries of a package id, a colon and a minimum version
    QSharedPointer<PackageInstallRule> install = QSharedPointer<PackageInstallRule>::create();
    QSharedPointer<PackageUninstallRule> uninstall = QSharedPointer<PackageUninstallRule>::create();
    QStringList log; ///< lines of the change log
};

using PackageVersionPointer = QSharedPointer<PackageVersion>;

/// Compares version texts as dotted numbers: negative, zero or positive.
int compareVersions(const QString &first, const QString &second);

/// Sorts the newest version first; versions with equal numbers keep their order.
void sortNewestFirst(QVector<PackageVersionPointer> &versions);

/// Whether the catalogue has a newer version than the installed one. An installed text without any
/// number counts as older than everything.
bool isOutdated(const QString &installed, const QString &newest);

} // namespace Kavo::Models
