#include "tools/CheckCommand.h"

#include "core/RegularFile.h"
#include "packages/PackageEnvironment.h"
#include "tools/CommandLine.h"
#include "tools/ExitStatus.h"
#include "tools/Terminal.h"
#include "tools/check/ArchiveCheck.h"
#include "tools/check/CatalogueCheck.h"
#include "tools/check/ReportText.h"

#include <QFile>
#include <QFileInfo>

namespace Kavo::Tools {

namespace {

int statusOf(const CheckReport &report, bool isStrict)
{
    if (report.count(Severity::ERROR) > 0)
        return ERRORS;
    return isStrict && report.count(Severity::WARNING) > 0 ? WARNINGS : CLEAN;
}

void declareOptions(QCommandLineParser &parser)
{
    parser.addOptions(
        {{QStringLiteral("format"), QStringLiteral("How to print the findings: text or json."),
          QStringLiteral("format"), QStringLiteral("text")},
         {QStringLiteral("strict"), QStringLiteral("Ends with status 1 if there are warnings.")},
         {QStringLiteral("archives"),
          QStringLiteral("Looks into the archives as well, which lie in this folder under their "
                         "own names or as on the server."),
          QStringLiteral("folder")}});
}

/// What is wrong with the values of the options, empty when nothing is.
QString faultOf(const QCommandLineParser &parser)
{
    const QString format = parser.value(QStringLiteral("format"));
    if (format != QLatin1String("text") && format != QLatin1String("json"))
        return QStringLiteral("there is no format \"%1\"; text and json are").arg(format);
    return QString();
}

/// What cannot be read of all that the archives take, empty when everything can.
QString unreadableOf(const ArchiveFolder &folder, const QString &name)
{
    const QString extractor = PackageEnvironment::standard().extractor;
    if (!folder.isReadable())
        return QStringLiteral("the folder \"%1\" cannot be read").arg(name);
    if (!QFileInfo(extractor).isExecutable())
        return QStringLiteral("there is no 7-Zip at %1 to read archives with").arg(extractor);
    return QString();
}

FurtherCheck checkOfArchives(const ArchiveFolder &folder)
{
    return
        [&folder](const QByteArray &document, const CatalogueView &catalogue, Findings &findings) {
            ArchiveCheck(document, folder, PackageEnvironment::standard().extractor, findings)
                .check(catalogue);
        };
}

} // namespace

int runCheck(const QStringList &arguments)
{
    CommandLine line(QStringLiteral("check FILE [--format text|json] [--strict]"
                                    " [--archives FOLDER]"),
                     QStringLiteral("Finds what is wrong with a catalogue."));
    const QCommandLineParser &options = line.parser();
    declareOptions(line.parser());
    if (const auto status = line.read(arguments, 1))
        return *status;
    const QString fault = faultOf(options);
    if (!fault.isEmpty()) {
        complain(fault);
        return USAGE;
    }
    const QString path = options.positionalArguments().constFirst();
    QFile file(path);
    if (!openRegular(file, QIODevice::ReadOnly)) {
        complain(QStringLiteral("%1 cannot be read").arg(path));
        return NOT_READ;
    }
    const bool hasArchives = options.isSet(QStringLiteral("archives"));
    const QString name = options.value(QStringLiteral("archives"));
    const ArchiveFolder folder(name);
    const QString unreadable = hasArchives ? unreadableOf(folder, name) : QString();
    if (!unreadable.isEmpty()) {
        complain(unreadable);
        return NOT_READ;
    }
    const CheckReport report =
        checkCatalogue(file.readAll(), hasArchives ? checkOfArchives(folder) : FurtherCheck());
    print(options.value(QStringLiteral("format")) == QLatin1String("json")
              ? reportAsJson(report, path)
              : reportAsText(report, path));
    return statusOf(report, options.isSet(QStringLiteral("strict")));
}

} // namespace Kavo::Tools
