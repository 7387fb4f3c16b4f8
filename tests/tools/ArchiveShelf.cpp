#include "tests/tools/ArchiveShelf.h"

#include "tests/support/Archives.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>

namespace Kavo::Testing {

namespace {

QJsonObject objectOf(const ShelvedVersion &version)
{
    QJsonObject object{
        {QStringLiteral("version"), version.version},
        {QStringLiteral("link"),
         QString(QStringLiteral("https://addons.example.org/files/") + version.fileName())},
        {QStringLiteral("install"),
         QJsonObject{{QStringLiteral("extract"), version.extract},
                     {QStringLiteral("preserve"), QJsonArray::fromStringList(version.preserve)},
                     {QStringLiteral("backup"), QJsonArray::fromStringList(version.backup)}}},
        {QStringLiteral("uninstall"),
         QJsonObject{{QStringLiteral("remove"), QJsonArray::fromStringList(version.remove)}}}};
    for (auto key = version.keys.begin(); key != version.keys.end(); ++key)
        object.insert(key.key(), key.value());
    return object;
}

QByteArray catalogueOf(const QVector<ShelvedVersion> &versions)
{
    QJsonArray packages;
    QJsonArray own;
    for (int position = 0; position < versions.size(); ++position) {
        own.append(objectOf(versions.at(position)));
        const int id = versions.at(position).package;
        if (position + 1 < versions.size() && versions.at(position + 1).package == id)
            continue;
        const QString name = QStringLiteral("Package %1").arg(id);
        packages.append(
            QJsonObject{{QStringLiteral("id"), id},
                        {QStringLiteral("name"), QJsonObject{{QStringLiteral("en"), name}}},
                        {QStringLiteral("type"), QStringLiteral("PLUGIN")},
                        {QStringLiteral("versions"), own}});
        own = QJsonArray();
    }
    return QJsonDocument(packages).toJson();
}

} // namespace

QString ShelvedVersion::fileName() const
{
    return QStringLiteral("package-%1-%2.%3").arg(package).arg(version, format);
}

ArchiveShelf::ArchiveShelf(const QVector<ShelvedVersion> &versions)
    : m_catalogue(catalogueOf(versions))
{
    QDir().mkpath(folder());
    for (const ShelvedVersion &version : versions) {
        const QString path = version.path.isEmpty() ? version.fileName() : version.path;
        if (!version.archive.isNull())
            writeFile(QDir(folder()).filePath(path), version.archive);
    }
    writeFile(catalogueFile(), m_catalogue);
}

QStringList archiveFindings(const Tools::CheckReport &report)
{
    QStringList findings;
    for (const Tools::Finding &finding : report.findings()) {
        if (finding.rule >= Tools::Rule::ARCHIVE_MISSING &&
            finding.rule != Tools::Rule::ARCHIVE_UNPACKED_SIZE)
            findings.append(QString::fromLatin1(Tools::describe(finding.rule).name) +
                            QLatin1Char(' ') + finding.pointer);
    }
    return findings;
}

} // namespace Kavo::Testing
