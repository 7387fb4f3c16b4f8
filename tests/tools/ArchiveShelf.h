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

/// A version in a catalogue, with its archive.
struct ShelvedVersion
{
    int package = 5;
    QString version = "1.0"_s;
    QByteArray archive; ///< null when it is not there
    QString format = "zip"_s;
    QString extract;
    QStringList remove = {"Resources/plugins/Piers"_s};
    QStringList preserve = {};
    QStringList backup = {};
    QJsonObject keys = {}; ///< over those that follow from the others
    /// Path of the archive in the folder; empty for its name.
    QString path = {};

    QString fileName() const;
};

/// Archives in a folder and the catalogue that offers them, both in a temporary folder.
class ArchiveShelf final
{
public:
    /// The catalogue has the versions in this order, grouped by package.
    explicit ArchiveShelf(const QVector<ShelvedVersion> &versions);

    QString folder() const { return m_folder.filePath("archives"_s); }
    QString catalogueFile() const { return m_folder.filePath("packages.json"_s); }
    QByteArray catalogue() const { return m_catalogue; }

private:
    QTemporaryDir m_folder;
    QByteArray m_catalogue;
};

/// The findings about archives and updates, except sizes: "rule pointer" in the order of the
/// document.
QStringList archiveFindings(const Tools::CheckReport &report);

} // namespace Kavo::Testing

Q_DECLARE_METATYPE(QVector<Kavo::Testing::ShelvedVersion>)
