#include "tests/integration/DemonstrationAddOns.h"
#include "tests/support/Literals.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QVariant>

namespace Kavo::Testing {

namespace {

const QString CataloguePath = "/packages.json"_s;

void run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(program, arguments);
    if (!process.waitForFinished(-1) || process.exitStatus() != QProcess::NormalExit ||
        process.exitCode() != 0)
        qFatal("%s has failed", qUtf8Printable(program));
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
    run("7z"_s, {"x"_s, archive, "-o"_s + folder.path()});
    return readFiles(folder.path());
}

AddOns::Version versionOf(const QJsonObject &object, const QString &server, const QString &folder)
{
    const QJsonObject install = object.value("install"_s).toObject();
    AddOns::Version version{object.value("link"_s).toString().mid(server.size()),
                            texts(object.value("depends"_s)),
                            texts(install.value("preserve"_s)),
                            texts(install.value("backup"_s)),
                            {}};
    const QString extract = install.value("extract"_s).toString();
    version.files = filesIn(extract, contents(folder + version.archive));
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
        const int id = package["id"_s].toInt();
        for (const QJsonValue value : package["versions"_s].toArray()) {
            const AddOns::Version version = versionOf(value.toObject(), server, folder.path());
            engine.server().serve(version.archive, readFile(folder.path() + version.archive));
            addOns.add(id, value["version"_s].toString(), version);
        }
    }
    engine.server().serve(CataloguePath, catalogue);
    return addOns;
}

} // namespace Kavo::Testing
