#include "packages/catalogue/CatalogueParser.h"
#include "tests/support/Archives.h"
#include "tests/support/FullDisk.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"
#include "tests/support/WithoutRights.h"
#include "tests/tools/CatalogueCorpus.h"
#include "tests/tools/PublishedArchive.h"
#include "tests/tools/ToolRun.h"
#include "tools/ExitStatus.h"
#include "tools/publish/CatalogueFile.h"

#include <QtConcurrent>

#include <sys/stat.h>
#include <unistd.h>

using namespace Kavo::Testing;
using namespace Kavo::Tools;

namespace {

const QByteArray Offer =
    "[\n  {\n    \"id\": 5,\n    \"name\": { \"en\": \"Piers\" },\n    \"type\": \"PLUGIN\",\n"
    "    \"versions\": [\n      {\n        \"version\": \"1.0\",\n"
    "        \"link\": \"https://a.example/piers-1.0.zip\",\n"
    "        \"install\": { \"extract\": \"Resources/plugins\" },\n"
    "        \"uninstall\": { \"remove\": [\"Resources/plugins/Piers\"] }\n"
    "      }\n    ]\n  }\n]\n";

struct stat statusOf(const QString &path)
{
    struct stat status = {};
    ::stat(QFile::encodeName(path).constData(), &status);
    return status;
}

int versionsIn(const QByteArray &catalogue)
{
    int count = 0;
    for (const auto &package : Kavo::Models::parseCatalogue(catalogue, "en"_s))
        count += package->versions().size();
    return count;
}

} // namespace

/// Tests the commands init and add, run as separate processes: their messages, their exit statuses
/// and the files that they leave.
class AddCommandTest final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        QVERIFY(writeFile(catalogue(), Offer));
        QVERIFY(m_archive.isThere());
    }

    void catalogueIsStarted()
    {
        QVERIFY(QFile::remove(catalogue()));
        QCOMPARE(ToolRun({"init"_s}, m_folder->path()).status(), CLEAN);
        QCOMPARE(readFile(catalogue()), QByteArray("[]\n"));
        QCOMPARE(ToolRun({"init"_s, file("other.json")}).status(), CLEAN);
        QCOMPARE(readFile(file("other.json")), QByteArray("[]\n"));
        QCOMPARE(left().size(), 2);
    }

    void nothingIsStartedOverAFile_data()
    {
        Rows<QByteArray> rows;
        for (const char *kind : {"file", "empty", "folder", "link", "link to nowhere", "pipe"})
            rows.row(kind, kind);
    }

    void nothingIsStartedOverAFile()
    {
        const auto [kind] = Rows<QByteArray>::current();
        const QString path = file("there.json");
        if (kind == "file")
            QVERIFY(writeFile(path, "mine"));
        else if (kind == "empty")
            QVERIFY(writeFile(path, ""));
        else if (kind == "folder")
            QVERIFY(QDir().mkdir(path));
        else if (kind == "link")
            QVERIFY(QFile::link(catalogue(), path));
        else if (kind == "pipe")
            QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
        else
            QVERIFY(QFile::link(file("nowhere"), path));
        const struct stat before = statusOf(path);
        expectFault(ToolRun({"init"_s, path}), NOT_READ, "under this name already");
        QCOMPARE(statusOf(path).st_ino, before.st_ino);
        QCOMPARE(statusOf(path).st_size, before.st_size);
        QVERIFY(!QFileInfo::exists(file("nowhere")));
        QCOMPARE(readFile(catalogue()), Offer);
    }

    void nothingIsStartedWhereNothingCanBeWritten()
    {
        expectFault(ToolRun({"init"_s, file("missing/packages.json")}), NOT_READ,
                    "cannot be written");
        const FullDisk disk(1);
        QCOMPARE(ToolRun({"init"_s, file("full.json")}).status(), NOT_READ);
        QCOMPARE(left(), QStringList("packages.json"_s));
    }

    void versionIsAddedAndReported()
    {
        const ToolRun run({"add"_s, catalogue(), m_archive.path(), "--id"_s, "5"_s, "--version"_s,
                           "1.1"_s, "--log"_s, "More"_s, "--log"_s, "Less"_s});
        QVERIFY2(run.status() == CLEAN, run.complaints().constData());
        QCOMPARE(run.complaints(), QByteArray());
        QVERIFY(run.output().contains("version 1.1 of \"Piers\" (5) is in it now"));
        QVERIFY(run.output().contains("https://a.example/piers-1.1.zip"));
        QVERIFY(run.output().contains("removes  Resources/plugins/Piers\n"));
        const QByteArray expected = QByteArray(Offer).replace(
            "    \"versions\": [\n",
            "    \"versions\": [\n" +
                m_archive.filledIn(
                    "      {\n        'version': '1.1',\n"
                    "        'link': 'https://a.example/piers-1.1.zip',\n"
                    "        'size': @SIZE@,\n        'sha256': '@SHA@',\n"
                    "        'log': ['More', 'Less'],\n"
                    "        'install': { 'extract': 'Resources/plugins' },\n"
                    "        'uninstall': { 'remove': ['Resources/plugins/Piers'] }\n"
                    "      },\n"));
        QCOMPARE(readFile(catalogue()), expected);
        QCOMPARE(left(), QStringList("packages.json"_s));
        QCOMPARE(ToolRun({"check"_s, catalogue()}).status(), CLEAN);
    }

    void startedCatalogueTakesAPackage()
    {
        QVERIFY(QFile::remove(catalogue()));
        QCOMPARE(ToolRun({"init"_s}, m_folder->path()).status(), CLEAN);
        const ToolRun run(
            {"add"_s, "packages.json"_s, m_archive.path(), "--id=2147483647"_s, "--version=1.1"_s,
             "--extract=Resources/plugins"_s, "--name=Schöne Stege"_s, "--type=PLUGIN"_s,
             "--description=<b>Piers</b>"_s, "--short-description=All piers"_s,
             "--icon=https://a.example/icon.png"_s, "--link-prefix=https://a.example/archives/"_s},
            m_folder->path());
        QVERIFY2(run.status() == CLEAN, run.complaints().constData());
        const auto packages = Kavo::Models::parseCatalogue(readFile(catalogue()), "en"_s);
        QCOMPARE(packages.size(), 1);
        QCOMPARE(packages.first()->id(), 2147483647);
        QCOMPARE(packages.first()->name(), "Schöne Stege"_s);
        QCOMPARE(packages.first()->type(), "PLUGIN"_s);
        QCOMPARE(packages.first()->description(), "<b>Piers</b>"_s);
        QCOMPARE(packages.first()->shortDescription(), "All piers"_s);
        QCOMPARE(packages.first()->icon(), "https://a.example/icon.png"_s);
        QCOMPARE(packages.first()->versions().first()->link,
                 "https://a.example/archives/piers-1.1.zip"_s);
        const ToolRun check({"check"_s, catalogue(), "--strict"_s});
        QVERIFY2(check.status() == CLEAN, check.output().constData());
    }

    void commandLineHasToMakeSense_data()
    {
        Rows<QString, QByteArray>()
            .row("no id", "--version=2", "--id is missing")
            .row("no version", "--id=5", "--version is missing")
            .row("id of letters", "--id=five --version=2", "--id is \"five\"")
            .row("id 0", "--id=0 --version=2", "from 1 to 2147483647")
            .row("id too large", "--id=2147483648 --version=2", "from 1 to 2147483647")
            .row("two addresses", "--id=5 --version=2 --link=a --link-prefix=b", "say the same")
            .row("three files", "--id=5 --version=2 more", "too many arguments")
            .row("unknown option", "--id=5 --version=2 --nmae=x", "nmae")
            .row("name of a package that is there", "--id=5 --version=2 --name=x", "for a new one")
            .row("no name of a new package", "--id=6 --version=2", "needs --name");
    }

    void commandLineHasToMakeSense()
    {
        const auto [options, complaint] = Rows<QString, QByteArray>::current();
        const QStringList command{"add"_s, catalogue(), m_archive.path()};
        expectFault(ToolRun(command + options.split(QLatin1Char(' '))), USAGE, complaint);
        QCOMPARE(readFile(catalogue()), Offer);
    }

    void damagedCatalogueIsLeftAlone_data()
    {
        Rows<QByteArray, QStringList> table;
        const QStringList kinds{"syntax"_s,       "key-twice"_s, "type"_s,
                                "not-an-array"_s, "encoding"_s,  "id-twice"_s};
        int rows = 0;
        for (const CorpusCatalogue &catalogue : corpusCatalogues()) {
            const bool isMeant =
                std::any_of(kinds.cbegin(), kinds.cend(),
                            [&](const QString &kind) { return catalogue.name.startsWith(kind); });
            if (!isMeant || catalogue.findings.isEmpty())
                continue;
            ++rows;
            table.row(qPrintable(catalogue.name), catalogue.bytes, catalogue.findings);
        }
        QVERIFY(rows > 50);
    }

    void damagedCatalogueIsLeftAlone()
    {
        const auto [bytes, findings] = Rows<QByteArray, QStringList>::current();
        QVERIFY(writeFile(catalogue(), bytes));
        const auto before = fileTree(m_folder->path());
        const ToolRun run(order("9.9"_s));
        expectFault(run, ERRORS, "nothing was added");
        const bool isTold =
            std::any_of(findings.cbegin(), findings.cend(), [&run](const QString &finding) {
                const QByteArray rule = finding.section(QLatin1Char(' '), 0, 0).toUtf8();
                return run.output().contains(": error: " + rule + ": ");
            });
        QVERIFY2(isTold, run.output().constData());
        QCOMPARE(fileTree(m_folder->path()), before);
    }

    void archiveThatClientsRefuseIsRefused_data()
    {
        const Files files{{"a/b.txt"_s, QByteArray(3000, 'x')}};
        const QByteArray whole = archiveOf(files, "7z"_s);
        const QByteArray inner = compressed(tarOf({{TarEntry::FILE, "a", "x"}}), "xz"_s);
        Rows<QString, QByteArray, QByteArray>()
            .row("none", "a.zip", "no archive", "no archive at all")
            .row("empty file", "a.zip", "", "no archive at all")
            .row("cut", "a.7z", whole.left(whole.size() - 20), "no archive at all")
            .row("password", "a.zip", archiveOf(files, "zip"_s, "secret"_s), "password")
            .row("password for the names", "a.7z", archiveOf(files, "7z"_s, "secret"_s), "password")
            .row("climbing", "a.tar", tarOf({{TarEntry::FILE, "../a", "x"}}), "leads out")
            .row("absolute", "a.tar", tarOf({{TarEntry::FILE, "/a", "x"}}), "leads out")
            .row("link", "a.tar", tarOf({{TarEntry::LINK, "a", "/etc"}}), "leads out")
            .row("device", "a.tar",
                 tarOf({{TarEntry::FILE, "b", "x"}, {TarEntry::DEVICE, "a", ""}}), "leads out")
            .row("archive in an archive", "a.tar.xz", inner, "nothing but")
            .row("file that is a folder, too", "a.tar",
                 tarOf({{TarEntry::FILE, "a", "x"}, {TarEntry::FILE, "a/b", "x"}}),
                 "is a folder there")
            .row("archive in an archive, short name", "a.txz", inner, "nothing but");
    }

    void archiveThatClientsRefuseIsRefused()
    {
        const auto [name, bytes, reason] = Rows<QString, QByteArray, QByteArray>::current();
        const QString path = m_folder->filePath(name);
        QVERIFY(!bytes.isNull());
        QVERIFY(writeFile(path, bytes));
        QStringList arguments = order("2.0"_s);
        arguments[2] = path;
        const ToolRun run(arguments);
        expectFault(run, ERRORS, reason);
        QVERIFY(run.complaints().contains("nothing was added"));
        QCOMPARE(readFile(catalogue()), Offer);
        QCOMPARE(left().size(), 2);
    }

    void unreadableFilesAreReported_data()
    {
        const QString packages = "packages.json"_s;
        Rows<QString, QString>()
            .row("no catalogue", "missing.json", m_archive.path())
            .row("folder as catalogue", ".", m_archive.path())
            .row("pipe as catalogue", "pipe", m_archive.path())
            .row("no archive", packages, "missing.zip")
            .row("folder as archive", packages, ".")
            .row("pipe as archive", packages, "pipe");
    }

    void unreadableFilesAreReported()
    {
        const auto [catalogue, archive] = Rows<QString, QString>::current();
        QCOMPARE(::mkfifo(QFile::encodeName(file("pipe")).constData(), 0600), 0);
        expectFault(
            ToolRun({"add"_s, catalogue, archive, "--id=5"_s, "--version=2"_s}, m_folder->path()),
            NOT_READ, "cannot be read");
        QCOMPARE(readFile(file("packages.json")), Offer);
    }

    void permissionsStay()
    {
        for (const mode_t mode : {0600U, 0644U, 0664U, 0640U}) {
            setMode(catalogue(), mode);
            QCOMPARE(ToolRun(order(QString::number(mode))).status(), CLEAN);
            QCOMPARE(statusOf(catalogue()).st_mode & 07777U, mode);
        }
        QCOMPARE(versionsIn(readFile(catalogue())), 5);
    }

    void ownerStays()
    {
        if (::geteuid() != 0)
            QSKIP("Only root can change the owner of a file.");
        setMode(catalogue(), 0640);
        QCOMPARE(::chown(QFile::encodeName(catalogue()).constData(), 65534, 65533), 0);
        QCOMPARE(ToolRun(order("2.0"_s)).status(), CLEAN);
        QCOMPARE(statusOf(catalogue()).st_uid, 65534U);
        QCOMPARE(statusOf(catalogue()).st_gid, 65533U);
        QCOMPARE(statusOf(catalogue()).st_mode & 07777U, 0640U);
        QCOMPARE(versionsIn(readFile(catalogue())), 2);
    }

    void linkStaysALink()
    {
        QVERIFY(QDir().mkdir(file("real")));
        QVERIFY(QFile::rename(catalogue(), file("real/catalogue.json")));
        // A link to a link, each with a relative path.
        QVERIFY(QFile::link("real/catalogue.json"_s, file("middle.json")));
        QVERIFY(QFile::link("middle.json"_s, catalogue()));
        QCOMPARE(ToolRun(order("2.0"_s)).status(), CLEAN);
        QVERIFY(QFileInfo(catalogue()).isSymLink() && QFileInfo(file("middle.json")).isSymLink());
        QVERIFY(!QFileInfo(file("real/catalogue.json")).isSymLink());
        QCOMPARE(versionsIn(readFile(file("real/catalogue.json"))), 2);
        QCOMPARE(QDir(file("real")).entryList(QDir::Files | QDir::Hidden).size(), 1);
        QCOMPARE(left().size(), 2);
    }

    void folderWithoutRightsLeavesTheCatalogue()
    {
        setMode(m_folder->path(), 0555);
        setMode(catalogue(), 0644);
        {
            const WithoutRights nobody;
            CatalogueFile file(catalogue());
            QVERIFY(file.isRead());
            QVERIFY(!file.replace("[]").isEmpty());
            QVERIFY(!CatalogueFile::make(m_folder->filePath("new.json"_s), "[]").isEmpty());
        }
        setMode(m_folder->path(), 0755);
        QCOMPARE(readFile(catalogue()), Offer);
        QCOMPARE(left().size(), 1);
    }

    void fullDiskLeavesTheCatalogue()
    {
        for (const int room : {0, 1, Offer.size(), Offer.size() + 100}) {
            const FullDisk disk(static_cast<rlim_t>(room));
            const ToolRun run(order("2.0"_s));
            expectFault(run, NOT_READ, "cannot be written");
            QVERIFY(run.complaints().contains("nothing was added"));
            QCOMPARE(readFile(catalogue()), Offer);
            QCOMPARE(left().size(), 1);
        }
    }

    /// Kills the program before its first call that changes the disk, in the next run before its
    /// second one, and so on until a run completes.
    void deathLeavesOneOfTheTwo()
    {
        QVERIFY(QFile::exists(QStringLiteral(DYING_CALLS)));
        const QString folder = QFileInfo(m_folder->path()).canonicalFilePath();
        qputenv("LD_PRELOAD", DYING_CALLS);
        qputenv("KAVO_DEATH_PROGRAM", "kavo-catalogue");
        qputenv("KAVO_DEATH_FOLDER", QFile::encodeName(folder));
        // Otherwise AddressSanitizer refuses to run, because it is not the first loaded library.
        const QByteArray sanitizer = qgetenv("ASAN_OPTIONS");
        qputenv("ASAN_OPTIONS", sanitizer + ":verify_asan_link_order=0");
        const auto restore = qScopeGuard([&sanitizer] {
            for (const char *name :
                 {"LD_PRELOAD", "KAVO_DEATH_PROGRAM", "KAVO_DEATH_FOLDER", "KAVO_DEATH_CALL"})
                qunsetenv(name);
            qputenv("ASAN_OPTIONS", sanitizer);
        });
        int calls = 0;
        for (int status = -1; status != 0 && calls < 100; ++calls) {
            QVERIFY(writeFile(catalogue(), Offer));
            qputenv("KAVO_DEATH_CALL", QByteArray::number(calls + 1));
            const ToolRun run(order("2.0"_s));
            status = run.status();
            QVERIFY(status == 0 || run.output().contains("died before"));
            QCOMPARE(readFile(catalogue()) == Offer, status != 0);
            QCOMPARE(versionsIn(readFile(catalogue())), status == 0 ? 2 : 1);
        }
        QVERIFY2(calls > 3 && calls < 100, qPrintable(QString::number(calls)));
        // Files that killed runs have left do not prevent the next run.
        qunsetenv("LD_PRELOAD");
        QCOMPARE(ToolRun(order("3.0"_s)).status(), CLEAN);
    }

    /// Other programs edit the catalogue without the lock.
    void editOfAnotherProgramIsNotLost()
    {
        CatalogueFile file(catalogue());
        QCOMPARE(file.bytes(), Offer);
        QVERIFY(writeFile(catalogue(), "[ ]"));
        QVERIFY(file.replace("[]").contains("meanwhile"_s));
        QCOMPARE(readFile(catalogue()), QByteArray("[ ]"));
        QVERIFY(QFile::remove(catalogue()));
        QVERIFY(!file.replace("[]").isEmpty());
        QCOMPARE(left(), QStringList());
    }

    void runsAtOnceLoseNothing()
    {
        constexpr int runs = 12;
        QVector<QStringList> orders;
        // Half of the runs use a link in another folder.
        const QTemporaryDir other;
        const QString link = other.filePath("link.json"_s);
        QVERIFY(QFile::link(catalogue(), link));
        for (int run = 0; run < runs; ++run) {
            orders.append(order(QString::number(run + 2)));
            if (run % 2 == 1)
                orders.last()[1] = link;
        }
        QCOMPARE(statusesOf(orders), QVector<int>(runs, CLEAN));
        QCOMPARE(versionsIn(readFile(catalogue())), runs + 1);
        QCOMPARE(left(), QStringList("packages.json"_s));
    }

    void runsAtOnceAddAVersionOnce()
    {
        constexpr int runs = 8;
        const QVector<int> statuses = statusesOf(QVector<QStringList>(runs, order("2.0"_s)));
        QCOMPARE(statuses.count(CLEAN), 1);
        QCOMPARE(statuses.count(ERRORS), runs - 1);
        QCOMPARE(versionsIn(readFile(catalogue())), 2);
    }

private:
    static void expectFault(const ToolRun &run, int status, const QByteArray &complaint)
    {
        QCOMPARE(run.status(), status);
        QVERIFY2(run.complaints().contains(complaint), run.complaints().constData());
    }

    /// Runs the tool once for each list of arguments, all at the same time. Returns the exit
    /// statuses in the same order.
    static QVector<int> statusesOf(const QVector<QStringList> &orders)
    {
        QThreadPool pool;
        pool.setMaxThreadCount(orders.size());
        QVector<QFuture<int>> runs;
        for (const QStringList &order : orders)
            runs.append(QtConcurrent::run(&pool, [order] { return ToolRun(order).status(); }));
        QVector<int> statuses;
        for (const QFuture<int> &run : runs)
            statuses.append(run.result());
        return statuses;
    }

    QString file(const char *name) const { return m_folder->filePath(QLatin1String(name)); }
    QString catalogue() const { return file("packages.json"); }
    QStringList left() const
    {
        return QDir(m_folder->path()).entryList(QDir::Files | QDir::Hidden);
    }

    QStringList order(const QString &version) const
    {
        return {"add"_s,  catalogue(), m_archive.path(),
                "--id"_s, "5"_s,       "--version"_s,
                version,  "--link"_s,  "https://a.example/%1.zip"_s.arg(version)};
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    const PublishedArchive m_archive{"piers-1.1.zip"_s, {{"Piers/64/lin.xpl"_s, "code"}}};
};

KAVO_TEST_MAIN(AddCommandTest)
#include "AddCommandTest.moc"
