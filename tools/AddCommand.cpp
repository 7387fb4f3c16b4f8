#include "tools/AddCommand.h"

#include "core/OneLine.h"
#include "packages/PackageEnvironment.h"
#include "tools/CommandLine.h"
#include "tools/ExitStatus.h"
#include "tools/Terminal.h"
#include "tools/check/ReportText.h"
#include "tools/publish/Addition.h"
#include "tools/publish/CatalogueFile.h"

namespace Kavo::Tools {

namespace {

QCommandLineOption option(const char *name, const char *value, const char *description)
{
    return QCommandLineOption(QString::fromLatin1(name), QString::fromLatin1(description),
                              QString::fromLatin1(value));
}

void declareOptions(QCommandLineParser &parser)
{
    parser.addOptions({
        option("id", "number", "The id of the package. Required."),
        option("version", "version", "The version as dotted numbers. Required."),
        option("extract", "folder",
               "The folder into which the archive is unpacked, relative to the simulator's folder. "
               "An empty text is the simulator's folder. Default: as in the previous version."),
        option("link", "address",
               "The address of the archive. Default: beside the archive of the newest version."),
        option("link-prefix", "address",
               "The address of the folder that will contain the archive."),
        option("depends", "id:version",
               "A package that the version needs, and the lowest version of it. Default: as in the "
               "previous version. This option and the next four can be repeated. An empty text "
               "makes an empty list."),
        option("log", "text", "A line of the change log."),
        option("preserve", "path",
               "A file that an update keeps. Default: as in the previous version."),
        option("backup", "path",
               "A file that the archive replaces and that removal restores. Default: as in the "
               "previous version."),
        option("remove", "path",
               "A path that is deleted with the version. Default: taken from the archive."),
        option("name", "text", "The name of a new package. All texts are in English."),
        option("type", "word", "The type of a new package: PLUGIN, LIBRARY or another word."),
        option("short-description", "text", "The description of a new package in one line."),
        option("description", "text", "The description of a new package. It may be HTML."),
        option("icon", "address", "The address of the icon of a new package."),
    });
}

std::optional<QString> textOf(const QCommandLineParser &parser, const char *name)
{
    const QString option = QString::fromLatin1(name);
    return parser.isSet(option) ? std::make_optional(parser.value(option)) : std::nullopt;
}

std::optional<QStringList> textsOf(const QCommandLineParser &parser, const char *name)
{
    const QString option = QString::fromLatin1(name);
    return parser.isSet(option) ? std::make_optional(parser.values(option)) : std::nullopt;
}

AdditionOrder orderFrom(const QCommandLineParser &parser)
{
    AdditionOrder order;
    order.package = {parser.value(QStringLiteral("id")).toInt(),
                     parser.value(QStringLiteral("name")),
                     parser.value(QStringLiteral("description")),
                     parser.value(QStringLiteral("short-description")),
                     parser.value(QStringLiteral("icon")),
                     parser.value(QStringLiteral("type"))};
    order.version = parser.value(QStringLiteral("version"));
    order.link = textOf(parser, "link");
    order.linkPrefix = textOf(parser, "link-prefix");
    order.extract = textOf(parser, "extract");
    order.depends = textsOf(parser, "depends");
    order.preserve = textsOf(parser, "preserve");
    order.backup = textsOf(parser, "backup");
    order.remove = textsOf(parser, "remove");
    order.log = parser.values(QStringLiteral("log"));
    return order;
}

/// The errors in the options themselves.
QString faultIn(const QCommandLineParser &parser)
{
    for (const char *needed : {"id", "version"}) {
        if (!parser.isSet(QLatin1String(needed)))
            return QStringLiteral("--%1 is missing").arg(QLatin1String(needed));
    }
    const QString id = parser.value(QStringLiteral("id"));
    if (id.toInt() < 1)
        return QStringLiteral("--id is \"%1\"; it has to be a number from 1 to 2147483647").arg(id);
    if (parser.isSet(QStringLiteral("link")) && parser.isSet(QStringLiteral("link-prefix")))
        return QStringLiteral("--link and --link-prefix say the same");
    return QString();
}

void complainOf(const QString &file, const QString &fault)
{
    complain(oneLine(file + QStringLiteral(": ") + fault));
}

int statusOf(Addition::Outcome outcome)
{
    switch (outcome) {
    case Addition::Outcome::GOOD:
        return CLEAN;
    case Addition::Outcome::NOT_UNDERSTOOD:
        return USAGE;
    case Addition::Outcome::REFUSED:
        return ERRORS;
    }
    Q_UNREACHABLE();
}

/// Prints why nothing was added.
int refuse(const Addition &addition, Addition::Outcome outcome, const QString &path)
{
    if (!addition.findings().findings().empty())
        print(reportAsText(addition.findings(), path));
    complainOf(path, addition.fault());
    complain(QStringLiteral("nothing was added"));
    return statusOf(outcome);
}

int refuseUnread(const QString &path)
{
    complainOf(path, QStringLiteral("It cannot be read. \"kavo-catalogue init\" starts one."));
    return NOT_READ;
}

int lookAt(ArchiveLook &archive, const QString &path)
{
    const ArchiveLook::Outcome outcome = archive.look();
    if (outcome == ArchiveLook::Outcome::GOOD)
        return CLEAN;
    complainOf(path, archive.fault());
    complain(QStringLiteral("nothing was added"));
    return outcome == ArchiveLook::Outcome::REFUSED ? ERRORS : NOT_READ;
}

/// Only the beginning of a long list is printed.
void appendLines(QStringList &lines, const QString &title, const QStringList &entries)
{
    constexpr int most = 10;
    for (const QString &entry : entries.mid(0, most))
        lines.append(QStringLiteral("    ") + title + entry);
    if (entries.size() > most)
        lines.append(QStringLiteral("    %1and %2 more").arg(title).arg(entries.size() - most));
}

/// The publisher should see the derived values.
void tell(const Addition &addition, const QString &path)
{
    const Models::PackageVersion &version = addition.version();
    QStringList lines{QStringLiteral("%1: version %2 of %3 is in it now")
                          .arg(path, version.version, addition.packageLabel())};
    appendLines(lines, QStringLiteral("archive  "), {version.link});
    appendLines(lines, QStringLiteral("unpacks  "), {version.install->extract});
    appendLines(lines, QStringLiteral("needs    "), version.depends);
    appendLines(lines, QStringLiteral("keeps    "), version.install->preserve);
    appendLines(lines, QStringLiteral("backs up "), version.install->backup);
    appendLines(lines, QStringLiteral("removes  "), version.uninstall->remove);
    for (const QString &folder : addition.undecidedFolders())
        lines.append(QStringLiteral("    Files in \"%1\" go one by one: nothing in the archive "
                                    "shows that the folder is this add-on's alone. If it is, "
                                    "--remove names it.")
                         .arg(folder));
    QString text;
    for (const QString &line : qAsConst(lines))
        text += oneLine(line) + QLatin1Char('\n');
    print(text.toUtf8());
    if (!addition.findings().findings().empty())
        print(reportAsText(addition.findings(), path));
}

/// The catalogue is read again: another run may have changed it while the archive was checked,
/// which can take minutes.
int addTo(const QString &path, const AdditionOrder &order, const ArchiveLook &archive)
{
    CatalogueFile file(path);
    if (!file.isRead())
        return refuseUnread(path);
    Addition addition(file.bytes(), order);
    Addition::Outcome outcome = addition.prepare();
    if (outcome == Addition::Outcome::GOOD)
        outcome = addition.carryOut(archive);
    if (outcome != Addition::Outcome::GOOD)
        return refuse(addition, outcome, path);
    const QString fault = file.replace(addition.result());
    if (!fault.isEmpty()) {
        complainOf(path, fault);
        complain(QStringLiteral("nothing was added"));
        return NOT_READ;
    }
    tell(addition, path);
    return CLEAN;
}

/// Checked before the archive, which may take minutes.
int prepare(const QString &path, const AdditionOrder &order)
{
    const CatalogueFile file(path);
    if (!file.isRead())
        return refuseUnread(path);
    Addition addition(file.bytes(), order);
    const Addition::Outcome outcome = addition.prepare();
    return outcome == Addition::Outcome::GOOD ? CLEAN : refuse(addition, outcome, path);
}

} // namespace

int runAdd(const QStringList &arguments)
{
    CommandLine line(
        QStringLiteral("add FILE ARCHIVE --id NUMBER --version VERSION [OPTION ...]"),
        QStringLiteral(
            "Adds a version to the catalogue FILE, and its package if that is new. Size, "
            "checksum\nand removal rules come from the archive. Other values that are not given "
            "come from the\nprevious version."));
    declareOptions(line.parser());
    if (const auto status = line.read(arguments, 2))
        return *status;
    const QString fault = faultIn(line.parser());
    if (!fault.isEmpty()) {
        complain(fault);
        return USAGE;
    }
    const AdditionOrder order = orderFrom(line.parser());
    const QString path = line.parser().positionalArguments().at(0);
    const QString archivePath = line.parser().positionalArguments().at(1);
    if (const int status = prepare(path, order))
        return status;
    ArchiveLook archive(archivePath, PackageEnvironment::standard().extractor);
    if (const int status = lookAt(archive, archivePath))
        return status;
    return addTo(path, order, archive);
}

} // namespace Kavo::Tools
