#pragma once

#include "tests/support/Literals.h"
#include "tools/check/CheckReport.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QVector>

namespace Kavo::Testing {

/// A version of a package in the catalogue of an ArchiveShelf, and its archive.
struct ShelvedVersion
{
    int package = 5; ///< ID
    QString version = "1.0"_s;
    QByteArray archive; ///< null if the file is missing
    QString format = "zip"_s;
    QString extract;
    QStringList remove = {"Resources/plugins/Piers"_s};
    QStringList preserve = {};
    QStringList backup = {};
    QJsonObject keys = {}; ///< added to the version's JSON object, replacing generated keys
    /// Path of the archive in the folder. If it is empty, fileName() is used.
    QString path = {};

    QString fileName() const;
};

/// A temporary folder with a catalogue and the folder of the archives that it offers.
class ArchiveShelf final
{
public:
    /// The catalogue lists the versions in this order. Consecutive versions with the same ID belong
    /// to one package.
    explicit ArchiveShelf(const QVector<ShelvedVersion> &versions);

    QString folder() const { return m_folder.filePath("archives"_s); }
    QString catalogueFile() const { return m_folder.filePath("packages.json"_s); }
    QByteArray catalogue() const { return m_catalogue; }

private:
    QTemporaryDir m_folder;
    QByteArray m_catalogue;
};

/// The findings about archives and updates, except those about unpacked sizes, as "rule pointer"
/// in the order of the report.
QStringList archiveFindings(const Tools::CheckReport &report);

} // namespace Kavo::Testing

Q_DECLARE_METATYPE(QVector<Kavo::Testing::ShelvedVersion>)
