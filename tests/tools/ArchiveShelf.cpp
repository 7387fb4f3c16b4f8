#include "tests/tools/ArchiveShelf.h"

#include "tests/support/Files.h"
#include "tests/support/Literals.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>

namespace Kavo::Testing {

namespace {

QJsonObject objectOf(const ShelvedVersion &version)
{
    QJsonObject object{
        {"version"_s, version.version},
        {"link"_s, QString("https://addons.example.org/files/"_s + version.fileName())},
        {"install"_s, QJsonObject{{"extract"_s, version.extract},
                                  {"preserve"_s, QJsonArray::fromStringList(version.preserve)},
                                  {"backup"_s, QJsonArray::fromStringList(version.backup)}}},
        {"uninstall"_s, QJsonObject{{"remove"_s, QJsonArray::fromStringList(version.remove)}}}};
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
        const QString name = "Package %1"_s.arg(id);
        packages.append(QJsonObject{{"id"_s, id},
                                    {"name"_s, QJsonObject{{"en"_s, name}}},
                                    {"type"_s, "PLUGIN"_s},
                                    {"versions"_s, own}});
        own = QJsonArray();
    }
    return QJsonDocument(packages).toJson();
}

} // namespace

QString ShelvedVersion::fileName() const
{
    return "package-%1-%2.%3"_s.arg(package).arg(version, format);
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
