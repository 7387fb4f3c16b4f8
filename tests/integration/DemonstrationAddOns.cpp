#include "tests/integration/DemonstrationAddOns.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QVariant>

namespace Kavo::Testing {

namespace {

const QString CataloguePath = QStringLiteral("/packages.json");

void run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(program, arguments);
    if (!process.waitForFinished(-1) || process.exitStatus() != QProcess::NormalExit ||
        process.exitCode() != 0)
        qFatal("%s fails", qUtf8Printable(program));
}

QString tool(const char *name)
{
    return QStringLiteral(KAVO_DEMO_FOLDER "/") + QLatin1String(name);
}

QStringList texts(const QJsonValue &array)
{
    return array.toVariant().toStringList();
}

Files contents(const QString &archive)
{
    const QTemporaryDir folder;
    run(QStringLiteral("7z"), {QStringLiteral("x"), archive, QStringLiteral("-o") + folder.path()});
    return readFiles(folder.path());
}

AddOns::Version versionOf(const QJsonObject &object, const QString &server, const QString &folder)
{
    const QJsonObject install = object.value(QLatin1String("install")).toObject();
    AddOns::Version version{object.value(QLatin1String("link")).toString().mid(server.size()),
                            texts(object.value(QLatin1String("depends"))),
                            texts(install.value(QLatin1String("preserve"))),
                            texts(install.value(QLatin1String("backup"))),
                            {}};
    const QString extract = install.value(QLatin1String("extract")).toString();
    const Files packed = contents(folder + version.archive);
    for (auto file = packed.cbegin(); file != packed.cend(); ++file)
        version.files.insert(extract + QLatin1Char('/') + file.key(), file.value());
    return version;
}

} // namespace

AddOns offerDemonstration(Engine &engine)
{
    const QTemporaryDir folder;
    const QString server = engine.server().url({});
    run(tool("make-demo"), {folder.path(), server});
    run(tool("make-simulator"), {engine.simulator({})});

    AddOns addOns;
    const QByteArray catalogue = readFile(folder.path() + CataloguePath);
    for (const QJsonValue package : QJsonDocument::fromJson(catalogue).array()) {
        const int id = package[QLatin1String("id")].toInt();
        for (const QJsonValue value : package[QLatin1String("versions")].toArray()) {
            const AddOns::Version version = versionOf(value.toObject(), server, folder.path());
            engine.server().serve(version.archive, readFile(folder.path() + version.archive));
            addOns.add(id, value[QLatin1String("version")].toString(), version);
        }
    }
    engine.server().serve(CataloguePath, catalogue);
    return addOns;
}

} // namespace Kavo::Testing
