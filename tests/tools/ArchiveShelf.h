#pragma once

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
    QString version = QStringLiteral("1.0");
    QByteArray archive; ///< null when it is not there
    QString format = QStringLiteral("zip");
    QString extract;
    QStringList remove = {QStringLiteral("Resources/plugins/Piers")};
    QStringList preserve = {};
    QStringList backup = {};
    QJsonObject keys = {}; ///< over those that follow from the others
    /// Where the archive lies in the folder, when not under its name.
    QString path = {};

    QString fileName() const;
};

/// Archives in a folder and the catalogue that offers them, both in a temporary folder.
class ArchiveShelf final
{
public:
    /// Versions of one package stand together in the catalogue, in this order.
    explicit ArchiveShelf(const QVector<ShelvedVersion> &versions);

    QString folder() const { return m_folder.filePath(QStringLiteral("archives")); }
    QString catalogueFile() const { return m_folder.filePath(QStringLiteral("packages.json")); }
    QByteArray catalogue() const { return m_catalogue; }

private:
    QTemporaryDir m_folder;
    QByteArray m_catalogue;
};

/// What a report tells of archives and updates, but for the sizes: "rule pointer" in the order of
/// the document.
QStringList archiveFindings(const Tools::CheckReport &report);

} // namespace Kavo::Testing

Q_DECLARE_METATYPE(QVector<Kavo::Testing::ShelvedVersion>)
