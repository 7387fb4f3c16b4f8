#include "tools/CheckCommand.h"

#include "core/RegularFile.h"
#include "tools/CommandLine.h"
#include "tools/ExitStatus.h"
#include "tools/Terminal.h"
#include "tools/check/CatalogueCheck.h"
#include "tools/check/ReportText.h"

#include <QFile>

namespace Kavo::Tools {

namespace {

int statusOf(const CheckReport &report, bool isStrict)
{
    if (report.count(Severity::ERROR) > 0)
        return ERRORS;
    return isStrict && report.count(Severity::WARNING) > 0 ? WARNINGS : CLEAN;
}

} // namespace

int runCheck(const QStringList &arguments)
{
    CommandLine line(QStringLiteral("check FILE [--format text|json] [--strict]"),
                     QStringLiteral("Finds what is wrong with a catalogue."));
    line.parser().addOptions(
        {{QStringLiteral("format"), QStringLiteral("How to print the findings: text or json."),
          QStringLiteral("format"), QStringLiteral("text")},
         {QStringLiteral("strict"), QStringLiteral("Ends with status 1 if there are warnings.")}});
    if (const auto status = line.read(arguments, 1))
        return *status;
    const QString format = line.parser().value(QStringLiteral("format"));
    if (format != QLatin1String("text") && format != QLatin1String("json")) {
        complain(QStringLiteral("there is no format \"%1\"; text and json are").arg(format));
        return USAGE;
    }
    const QString path = line.parser().positionalArguments().constFirst();
    QFile file(path);
    if (!openRegular(file, QIODevice::ReadOnly)) {
        complain(QStringLiteral("%1 cannot be read").arg(path));
        return NOT_READ;
    }
    const CheckReport report = checkCatalogue(file.readAll());
    print(format == QLatin1String("json") ? reportAsJson(report, path)
                                          : reportAsText(report, path));
    return statusOf(report, line.parser().isSet(QStringLiteral("strict")));
}

} // namespace Kavo::Tools
