#include "tools/ProbeCommand.h"

#include "tools/CommandLine.h"
#include "tools/ExitStatus.h"
#include "tools/Terminal.h"
#include "tools/probe/ServerProbe.h"

namespace Kavo::Tools {

namespace {

constexpr int MostSeconds = 3600;

int statusOf(const ProbeReport &report)
{
    switch (report.worst()) {
    case Verdict::Good:
    case Verdict::Note:
        return CLEAN;
    case Verdict::Costs:
        return WARNINGS;
    case Verdict::Unusable:
        return ERRORS;
    case Verdict::Unreachable:
        return NOT_READ;
    }
    return NOT_READ;
}

} // namespace

int runProbe(const QStringList &arguments)
{
    CommandLine line(
        QStringLiteral("probe URL [--all] [--timeout SECONDS]"),
        QStringLiteral(
            "Sends a server the requests of clients, and reports what does not work for users.\n"
            "URL is the address of the server, which has packages.json at its root.\n"
            "\n"
            "Exit status: 0 everything works; 1 something costs users time, traffic or safety;\n"
            "2 the catalogue or an archive cannot be used; 3 the server cannot be reached."));
    line.parser().addOptions(
        {{QStringLiteral("all"),
          QStringLiteral("Requests all icons and archives, not only those of the first "
                         "packages.")},
         {QStringLiteral("timeout"),
          QStringLiteral("How long the server may be silent. The default is 15."),
          QStringLiteral("seconds"), QStringLiteral("15")}});
    if (const auto status = line.read(arguments, 1))
        return *status;
    const int seconds = line.parser().value(QStringLiteral("timeout")).toInt();
    if (seconds < 1 || seconds > MostSeconds) {
        complain(QStringLiteral("a server may be silent for 1 to %1 seconds").arg(MostSeconds));
        return USAGE;
    }
    const auto extent = line.parser().isSet(QStringLiteral("all")) ? ServerProbe::Extent::All
                                                                   : ServerProbe::Extent::Sample;
    const ProbeReport report = ServerProbe(std::chrono::seconds(seconds))
                                   .run(line.parser().positionalArguments().constFirst(), extent);
    print(report.text().toUtf8());
    return statusOf(report);
}

} // namespace Kavo::Tools
