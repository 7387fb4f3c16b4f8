#include "tools/CheckCommand.h"

#include "core/RegularFile.h"
#include "packages/PackageEnvironment.h"
#include "packages/catalogue/CatalogueFeed.h"
#include "tools/CommandLine.h"
#include "tools/ExitStatus.h"
#include "tools/Terminal.h"
#include "tools/check/ArchiveCheck.h"
#include "tools/check/CatalogueCheck.h"
#include "tools/check/ReportText.h"
#include "tools/simulation/EndRequest.h"
#include "tools/simulation/UpdateSimulation.h"

#include <QFile>
#include <QFileInfo>

#include <csignal>

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
        {{QStringLiteral("format"), QStringLiteral("The form of the findings: text or json."),
          QStringLiteral("format"), QStringLiteral("text")},
         {QStringLiteral("strict"), QStringLiteral("Ends with status 1 if there are warnings.")},
         {QStringLiteral("archives"),
          QStringLiteral(
              "Also examines the archives. They are in this folder, by their names or by "
              "the paths of their addresses."),
          QStringLiteral("folder")},
         {QStringLiteral("simulate"),
          QStringLiteral(
              "Also installs each version, alone and over each older one, in a temporary "
              "folder.")}});
}

/// The error in the values of the options, empty if there is none.
QString faultOf(const QCommandLineParser &parser)
{
    const QString format = parser.value(QStringLiteral("format"));
    if (format != QLatin1String("text") && format != QLatin1String("json"))
        return QStringLiteral("there is no format \"%1\"; text and json are").arg(format);
    if (parser.isSet(QStringLiteral("simulate")) && !parser.isSet(QStringLiteral("archives")))
        return QStringLiteral("--simulate needs the folder of --archives");
    return QString();
}

/// What cannot be read for the check of archives, empty if everything can.
QString unreadableOf(const ArchiveFolder &folder, const QString &name)
{
    const QString extractor = PackageEnvironment::standard().extractor;
    if (!folder.isReadable())
        return QStringLiteral("the folder \"%1\" cannot be read").arg(name);
    if (!QFileInfo(extractor).isExecutable())
        return QStringLiteral("there is no 7-Zip at %1 to read archives with").arg(extractor);
    return QString();
}

/// The tasks with archives, and their results besides the findings.
struct ArchiveWork
{
    ArchiveFolder folder;
    bool isSimulated = false;
    QStringList untried = {};
};

/// A signal ends the program after all temporary files are deleted.
void simulate(const QByteArray &document, const CatalogueView &catalogue, Findings &findings,
              ArchiveWork &work)
{
    {
        const EndRequest request;
        UpdateSimulation simulation(document, catalogue, work.folder,
                                    PackageEnvironment::standard().extractor, findings);
        complain(QStringLiteral("trying ") +
                 counted(simulation.installations(), QStringLiteral("installation")) +
                 QStringLiteral(" and ") + counted(simulation.updates(), QStringLiteral("update")));
        simulation.run();
        work.untried = simulation.untried();
    }
    if (EndRequest::signal() != 0)
        std::raise(EndRequest::signal());
}

FurtherCheck checkOfArchives(ArchiveWork &work)
{
    return [&work](const QByteArray &document, const CatalogueView &catalogue, Findings &findings) {
        ArchiveCheck(document, work.folder, PackageEnvironment::standard().extractor, findings)
            .check(catalogue);
        if (work.isSimulated)
            simulate(document, catalogue, findings, work);
    };
}

/// Prints the findings and returns the exit status.
int report(const CheckReport &found, const QString &path, const QCommandLineParser &options)
{
    print(options.value(QStringLiteral("format")) == QLatin1String("json")
              ? reportAsJson(found, path)
              : reportAsText(found, path));
    return statusOf(found, options.isSet(QStringLiteral("strict")));
}

int checkWithArchives(const QByteArray &bytes, const QString &path,
                      const QCommandLineParser &options)
{
    const QString name = options.value(QStringLiteral("archives"));
    ArchiveWork work{ArchiveFolder(name), options.isSet(QStringLiteral("simulate"))};
    const QString unreadable = unreadableOf(work.folder, name);
    if (!unreadable.isEmpty()) {
        complain(unreadable);
        return NOT_READ;
    }
    const int status = report(checkCatalogue(bytes, checkOfArchives(work)), path, options);
    for (const QString &untried : qAsConst(work.untried))
        complain(untried);
    return work.untried.isEmpty() ? status : NOT_READ;
}

} // namespace

int runCheck(const QStringList &arguments)
{
    CommandLine line(QStringLiteral("check FILE [--format text|json] [--strict]"
                                    " [--archives FOLDER [--simulate]]"),
                     QStringLiteral("Finds mistakes in a catalogue."));
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
    // Clients do not read it either.
    if (file.size() > Models::LargestCatalogue)
        return report(reportOfTooLarge(file.size()), path, options);
    if (options.isSet(QStringLiteral("archives")))
        return checkWithArchives(file.readAll(), path, options);
    return report(checkCatalogue(file.readAll()), path, options);
}

} // namespace Kavo::Tools
