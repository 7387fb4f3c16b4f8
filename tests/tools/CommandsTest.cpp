#include "packages/catalogue/CatalogueFeed.h"
#include "tests/support/Archives.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"
#include "tests/tools/ToolRun.h"
#include "tools/ExitStatus.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <sys/stat.h>

using namespace Kavo::Testing;
using namespace Kavo::Tools;

namespace {

const QByteArray Good =
    "[{'id': 5, 'name': {'en': 'Piers'}, 'type': 'PLUGIN', 'versions': [{'version': '1.0',"
    " 'link': 'https://addons.example.org/piers-1.0.zip',"
    " 'install': {'extract': 'Resources/plugins/Piers'},"
    " 'uninstall': {'remove': ['Resources/plugins/Piers']}}]}]";

QByteArray good()
{
    return QByteArray(Good).replace('\'', '"');
}

} // namespace

/// Tests the command line of kavo-catalogue: its messages and exit statuses.
class CommandsTest final : public QObject
{
    Q_OBJECT

private slots:
    void helpNamesEveryCommand()
    {
        const ToolRun run({"--help"_s});
        QCOMPARE(run.status(), CLEAN);
        QVERIFY(run.output().contains("Usage: kavo-catalogue COMMAND"));
        for (const char *command : {"init", "add", "check", "probe", "schema"}) {
            QVERIFY(run.output().contains(QByteArray("\n  ") + command + ' '));
            const ToolRun help({QString::fromLatin1(command), "--help"_s});
            QCOMPARE(help.status(), CLEAN);
            QVERIFY(help.output().startsWith(QByteArray("Usage: kavo-catalogue ") + command));
        }
    }

    void versionIsThatOfTheProject()
    {
        const ToolRun run({"--version"_s});
        QCOMPARE(run.status(), CLEAN);
        QCOMPARE(run.output(), QByteArray("kavo-catalogue " KAVO_VERSION "\n"));
    }

    void invalidCommandLineIsReported_data()
    {
        Rows<QStringList, QByteArray>()
            .row("nothing", {}, "a command is missing")
            .row("command", {"chekc"_s}, "there is no command \"chekc\"")
            .row("no file", {"check"_s}, "an argument is missing")
            .row("two files", {"check"_s, "a"_s, "b"_s}, "there are too many arguments")
            .row("option", {"check"_s, "--strickt"_s}, "strickt")
            .row("format", {"check"_s, "a"_s, "--format"_s, "xml"_s}, "there is no format \"xml\"")
            .row("simulation without archives", {"check"_s, "a"_s, "--simulate"_s},
                 "--simulate needs the folder of --archives");
    }

    void invalidCommandLineIsReported()
    {
        const auto [arguments, complaint] = Rows<QStringList, QByteArray>::current();
        const ToolRun run(arguments);
        QCOMPARE(run.status(), USAGE);
        QVERIFY2(run.complaints().contains(complaint), run.complaints().constData());
        QCOMPARE(run.output(), QByteArray());
    }

    void statusTellsTheWorstFinding_data()
    {
        const QByteArray warning = good().replace("\"type\"", "\"tpye\"");
        const QByteArray error = good().replace("https:", "gopher:");
        Rows<QByteArray, bool, int>()
            .row("nothing", good(), false, CLEAN)
            .row("nothing, strict", good(), true, CLEAN)
            .row("warning", warning, false, CLEAN)
            .row("warning, strict", warning, true, WARNINGS)
            .row("error", error, false, ERRORS)
            .row("error, strict", error, true, ERRORS)
            .row("no JSON", "[{", false, ERRORS)
            .row("empty catalogue", "[]", true, CLEAN);
    }

    void statusTellsTheWorstFinding()
    {
        const auto [catalogue, isStrict, status] = Rows<QByteArray, bool, int>::current();
        QStringList arguments{"check"_s, write(catalogue)};
        if (isStrict)
            arguments.append("--strict"_s);
        const ToolRun run(arguments);
        QVERIFY2(run.status() == status, run.output().constData());
        QCOMPARE(readFile(arguments.at(1)), catalogue);
    }

    void unreadableCatalogueIsToldAtOnce_data()
    {
        Rows<QString>()
            .row("missing", "missing.json")
            .row("folder", ".")
            .row("pipe", "pipe")
            .row("empty name", "");
    }

    /// Reading the pipe would block for ever.
    void unreadableCatalogueIsToldAtOnce()
    {
        const auto [name] = Rows<QString>::current();
        const QByteArray pipe = QFile::encodeName(m_folder.filePath("pipe"_s));
        if (name == "pipe"_s)
            QCOMPARE(::mkfifo(pipe.constData(), 0600), 0);
        const ToolRun run({"check"_s, name}, m_folder.path());
        QCOMPARE(run.status(), NOT_READ);
        QVERIFY(run.complaints().contains("cannot be read"));
    }

    void unreadableFolderOfArchivesIsTold_data()
    {
        Rows<QString>()
            .row("missing", "missing")
            .row("file", "packages.json")
            .row("empty name", "");
    }

    void unreadableFolderOfArchivesIsTold()
    {
        const auto [folder] = Rows<QString>::current();
        const ToolRun run({"check"_s, write(good()), "--archives"_s, folder}, m_folder.path());
        QCOMPARE(run.status(), NOT_READ);
        QVERIFY(run.complaints().contains("the folder \"" + folder.toUtf8() + "\" cannot be read"));
        QCOMPARE(run.output(), QByteArray());
    }

    void archivesAreLookedAtWhenTheirFolderIsNamed()
    {
        const QString path = write(good());
        const QTemporaryDir archives;
        const QStringList arguments{"check"_s, path, "--archives"_s, archives.path()};
        const ToolRun without(arguments);
        QCOMPARE(without.status(), ERRORS);
        QVERIFY(without.output().contains("error: archive/missing: \"piers-1.0.zip\" "));
        QVERIFY(makeArchive(archives.filePath("piers-1.0.zip"_s), {{"64/lin.xpl"_s, "code"}}));
        const ToolRun with(arguments + QStringList("--strict"_s));
        QVERIFY2(with.status() == CLEAN, with.output().constData());
        QVERIFY(with.output().contains("note: archive/unpacked-size: "));
    }

    /// The file is sparse and needs no disk space.
    void catalogueBeyondTheLimitIsNotRead()
    {
        const qint64 limit = Kavo::Models::LargestCatalogue;
        QFile file(write("[]"));
        QVERIFY(file.resize(limit + 1));
        const ToolRun run({"check"_s, file.fileName()});
        QCOMPARE(run.status(), ERRORS);
        QVERIFY2(
            run.output().contains(":1:1: error: json/too-large: The file has 536870913 bytes; "),
            run.output().constData());
        QVERIFY(run.output().endsWith(": 1 error, 0 warnings, 0 notes\n"));
    }

    void findingsAreLinesForPeople()
    {
        const QString path =
            write("[\n  {\n    \"id\": 0,\n    \"name\": {\"en\": \"\xc3\x84\"}}]");
        const ToolRun run({"check"_s, path});
        const QByteArray expected =
            path.toUtf8() + ":3:11: error: id/zero: The number of the package is 0. [/0/id]\n"
                            "    Clients: ";
        QVERIFY2(run.output().contains(expected), run.output().constData());
        QVERIFY(run.output().contains("\n    Remedy: Give the package a number of its own"));
        QVERIFY(run.output().endsWith(": 2 errors, 0 warnings, 1 note\n"));
    }

    void findingsAreJsonForPrograms()
    {
        const QString path = write("[{\"id\": 0, \"name\": {\"en\": \"\xc3\x84\"}}]");
        const ToolRun run({"check"_s, path, "--format"_s, "json"_s});
        QCOMPARE(run.status(), ERRORS);
        const QJsonObject report = QJsonDocument::fromJson(run.output()).object();
        QCOMPARE(report.value("file"_s).toString(), path);
        QCOMPARE(report.value("errors"_s).toInt(), 2);
        QCOMPARE(report.value("notes"_s).toInt(), 1);
        const QJsonArray findings = report.value("findings"_s).toArray();
        QCOMPARE(findings.size(), 3);
        const QJsonObject id = findings.at(2).toObject();
        QCOMPARE(id.value("rule"_s).toString(), "id/zero"_s);
        QCOMPARE(id.value("severity"_s).toString(), "error"_s);
        QCOMPARE(id.value("pointer"_s).toString(), "/0/id"_s);
        QCOMPARE(id.value("line"_s).toInt(), 1);
        QCOMPARE(id.value("column"_s).toInt(), 9);
        for (const char *key : {"message", "effect", "remedy"})
            QVERIFY(!id.value(QLatin1String(key)).toString().isEmpty());
    }

private:
    QString write(const QByteArray &bytes)
    {
        const QString path = m_folder.filePath("packages.json"_s);
        writeFile(path, bytes);
        return path;
    }

    QTemporaryDir m_folder;
};

KAVO_TEST_MAIN(CommandsTest)
#include "CommandsTest.moc"
