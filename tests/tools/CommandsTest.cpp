#include "packages/catalogue/CatalogueFeed.h"
#include "tests/support/Archives.h"
#include "tests/support/TestMain.h"
#include "tests/tools/ToolRun.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <sys/stat.h>

using namespace Kavo::Testing;

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

/// The command line of kavo-catalogue: what it answers, and the status that a script gets.
class CommandsTest final : public QObject
{
    Q_OBJECT

private slots:
    void helpNamesEveryCommand();
    void versionIsThatOfTheProject();
    void whatIsNotUnderstoodIsTold_data();
    void whatIsNotUnderstoodIsTold();
    void statusTellsTheWorstFinding_data();
    void statusTellsTheWorstFinding();
    void unreadableCatalogueIsToldAtOnce_data();
    void unreadableCatalogueIsToldAtOnce();
    void unreadableFolderOfArchivesIsTold_data();
    void unreadableFolderOfArchivesIsTold();
    void archivesAreLookedAtWhenTheirFolderIsNamed();
    void catalogueBeyondTheLimitIsNotRead();
    void findingsAreLinesForPeople();
    void findingsAreJsonForPrograms();

private:
    QString write(const QByteArray &bytes);

    QTemporaryDir m_folder;
};

QString CommandsTest::write(const QByteArray &bytes)
{
    const QString path = m_folder.filePath(QStringLiteral("packages.json"));
    writeFile(path, bytes);
    return path;
}

void CommandsTest::helpNamesEveryCommand()
{
    const ToolRun run({QStringLiteral("--help")});
    QCOMPARE(run.status(), 0);
    QVERIFY(run.output().contains("Usage: kavo-catalogue COMMAND"));
    for (const char *command : {"init", "add", "check", "probe", "schema"}) {
        QVERIFY(run.output().contains(QByteArray("\n  ") + command + ' '));
        const ToolRun help({QString::fromLatin1(command), QStringLiteral("--help")});
        QCOMPARE(help.status(), 0);
        QVERIFY(help.output().startsWith(QByteArray("Usage: kavo-catalogue ") + command));
    }
}

void CommandsTest::versionIsThatOfTheProject()
{
    const ToolRun run({QStringLiteral("--version")});
    QCOMPARE(run.status(), 0);
    QCOMPARE(run.output(), QByteArray("kavo-catalogue " KAVO_VERSION "\n"));
}

void CommandsTest::whatIsNotUnderstoodIsTold_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("complaint");

    QTest::newRow("nothing") << QStringList() << QByteArray("a command is missing");
    QTest::newRow("command") << QStringList(QStringLiteral("chekc"))
                             << QByteArray("there is no command \"chekc\"");
    QTest::newRow("no file") << QStringList(QStringLiteral("check"))
                             << QByteArray("an argument is missing");
    QTest::newRow("two files") << QStringList({QStringLiteral("check"), QStringLiteral("a"),
                                               QStringLiteral("b")})
                               << QByteArray("there are too many arguments");
    QTest::newRow("option") << QStringList({QStringLiteral("check"), QStringLiteral("--strickt")})
                            << QByteArray("strickt");
    QTest::newRow("format") << QStringList({QStringLiteral("check"), QStringLiteral("a"),
                                            QStringLiteral("--format"), QStringLiteral("xml")})
                            << QByteArray("there is no format \"xml\"");
    QTest::newRow("simulation without archives")
        << QStringList({QStringLiteral("check"), QStringLiteral("a"), QStringLiteral("--simulate")})
        << QByteArray("--simulate needs the folder of --archives");
}

void CommandsTest::whatIsNotUnderstoodIsTold()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, complaint);
    const ToolRun run(arguments);
    QCOMPARE(run.status(), 64);
    QVERIFY2(run.complaints().contains(complaint), run.complaints().constData());
    QCOMPARE(run.output(), QByteArray());
}

void CommandsTest::statusTellsTheWorstFinding_data()
{
    QTest::addColumn<QByteArray>("catalogue");
    QTest::addColumn<bool>("isStrict");
    QTest::addColumn<int>("status");

    const QByteArray warning = good().replace("\"type\"", "\"tpye\"");
    const QByteArray error = good().replace("https:", "gopher:");
    QTest::newRow("nothing") << good() << false << 0;
    QTest::newRow("nothing, strict") << good() << true << 0;
    QTest::newRow("warning") << warning << false << 0;
    QTest::newRow("warning, strict") << warning << true << 1;
    QTest::newRow("error") << error << false << 2;
    QTest::newRow("error, strict") << error << true << 2;
    QTest::newRow("no JSON") << QByteArray("[{") << false << 2;
    QTest::newRow("empty catalogue") << QByteArray("[]") << true << 0;
}

void CommandsTest::statusTellsTheWorstFinding()
{
    QFETCH(QByteArray, catalogue);
    QFETCH(bool, isStrict);
    QFETCH(int, status);
    QStringList arguments{QStringLiteral("check"), write(catalogue)};
    if (isStrict)
        arguments.append(QStringLiteral("--strict"));
    const ToolRun run(arguments);
    QVERIFY2(run.status() == status, run.output().constData());
    QCOMPARE(readFile(arguments.at(1)), catalogue);
}

void CommandsTest::unreadableCatalogueIsToldAtOnce_data()
{
    QTest::addColumn<QString>("name");

    QTest::newRow("missing") << QStringLiteral("missing.json");
    QTest::newRow("folder") << QStringLiteral(".");
    QTest::newRow("pipe") << QStringLiteral("pipe");
    QTest::newRow("empty name") << QString();
}

/// Nobody ever writes into the pipe.
void CommandsTest::unreadableCatalogueIsToldAtOnce()
{
    QFETCH(QString, name);
    const QByteArray pipe = QFile::encodeName(m_folder.filePath(QStringLiteral("pipe")));
    if (name == QLatin1String("pipe"))
        QCOMPARE(::mkfifo(pipe.constData(), 0600), 0);
    const ToolRun run({QStringLiteral("check"), name}, m_folder.path());
    QCOMPARE(run.status(), 3);
    QVERIFY(run.complaints().contains("cannot be read"));
}

void CommandsTest::unreadableFolderOfArchivesIsTold_data()
{
    QTest::addColumn<QString>("folder");

    QTest::newRow("missing") << QStringLiteral("missing");
    QTest::newRow("file") << QStringLiteral("packages.json");
    QTest::newRow("empty name") << QString();
}

void CommandsTest::unreadableFolderOfArchivesIsTold()
{
    QFETCH(QString, folder);
    const ToolRun run(
        {QStringLiteral("check"), write(good()), QStringLiteral("--archives"), folder},
        m_folder.path());
    QCOMPARE(run.status(), 3);
    QVERIFY(run.complaints().contains("the folder \"" + folder.toUtf8() + "\" cannot be read"));
    QCOMPARE(run.output(), QByteArray());
}

void CommandsTest::archivesAreLookedAtWhenTheirFolderIsNamed()
{
    const QString path = write(good());
    const QTemporaryDir archives;
    const QStringList arguments{QStringLiteral("check"), path, QStringLiteral("--archives"),
                                archives.path()};
    const ToolRun without(arguments);
    QCOMPARE(without.status(), 2);
    QVERIFY(without.output().contains("error: archive/missing: \"piers-1.0.zip\" "));
    QVERIFY(makeArchive(archives.filePath(QStringLiteral("piers-1.0.zip")),
                        {{QStringLiteral("64/lin.xpl"), "code"}}));
    const ToolRun with(arguments + QStringList(QStringLiteral("--strict")));
    QVERIFY2(with.status() == 0, with.output().constData());
    QVERIFY(with.output().contains("note: archive/unpacked-size: "));
}

/// The file takes no room: nothing was ever written to it.
void CommandsTest::catalogueBeyondTheLimitIsNotRead()
{
    const qint64 limit = Kavo::Models::LargestCatalogue;
    QFile file(write("[]"));
    QVERIFY(file.resize(limit + 1));
    const ToolRun run({QStringLiteral("check"), file.fileName()});
    QCOMPARE(run.status(), 2);
    QVERIFY2(run.output().contains(":1:1: error: json/too-large: The file has 536870913 bytes; "),
             run.output().constData());
    QVERIFY(run.output().endsWith(": 1 error, 0 warnings, 0 notes\n"));
}

void CommandsTest::findingsAreLinesForPeople()
{
    const QString path = write("[\n  {\n    \"id\": 0,\n    \"name\": {\"en\": \"\xc3\x84\"}}]");
    const ToolRun run({QStringLiteral("check"), path});
    const QByteArray expected = path.toUtf8() +
                                ":3:11: error: id/zero: The number of the package is 0. [/0/id]\n"
                                "    Clients: ";
    QVERIFY2(run.output().contains(expected), run.output().constData());
    QVERIFY(run.output().contains("\n    Remedy: Give the package a number of its own"));
    QVERIFY(run.output().endsWith(": 2 errors, 0 warnings, 1 note\n"));
}

void CommandsTest::findingsAreJsonForPrograms()
{
    const QString path = write("[{\"id\": 0, \"name\": {\"en\": \"\xc3\x84\"}}]");
    const ToolRun run(
        {QStringLiteral("check"), path, QStringLiteral("--format"), QStringLiteral("json")});
    QCOMPARE(run.status(), 2);
    const QJsonObject report = QJsonDocument::fromJson(run.output()).object();
    QCOMPARE(report.value(QStringLiteral("file")).toString(), path);
    QCOMPARE(report.value(QStringLiteral("errors")).toInt(), 2);
    QCOMPARE(report.value(QStringLiteral("notes")).toInt(), 1);
    const QJsonArray findings = report.value(QStringLiteral("findings")).toArray();
    QCOMPARE(findings.size(), 3);
    const QJsonObject id = findings.at(2).toObject();
    QCOMPARE(id.value(QStringLiteral("rule")).toString(), QStringLiteral("id/zero"));
    QCOMPARE(id.value(QStringLiteral("severity")).toString(), QStringLiteral("error"));
    QCOMPARE(id.value(QStringLiteral("pointer")).toString(), QStringLiteral("/0/id"));
    QCOMPARE(id.value(QStringLiteral("line")).toInt(), 1);
    QCOMPARE(id.value(QStringLiteral("column")).toInt(), 9);
    for (const char *key : {"message", "effect", "remedy"})
        QVERIFY(!id.value(QLatin1String(key)).toString().isEmpty());
}

KAVO_TEST_MAIN(CommandsTest)
#include "CommandsTest.moc"
