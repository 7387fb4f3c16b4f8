#include "packages/catalogue/CatalogueParser.h"
#include "tests/support/FullDisk.h"
#include "tests/support/TestMain.h"
#include "tests/support/WithoutRights.h"
#include "tests/tools/CatalogueCorpus.h"
#include "tests/tools/PublishedArchive.h"
#include "tests/tools/ToolRun.h"
#include "tools/publish/CatalogueFile.h"

#include <QtConcurrent>

#include <sys/stat.h>
#include <unistd.h>

using namespace Kavo::Testing;
using Kavo::Tools::CatalogueFile;

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
    for (const auto &package : Kavo::Models::parseCatalogue(catalogue, QStringLiteral("en")))
        count += package->versions().size();
    return count;
}

} // namespace

/// The commands that start a catalogue and add to it, as a shell sees them: what becomes of the
/// files whatever happens.
class AddCommandTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void catalogueIsStarted();
    void nothingIsStartedOverAFile_data();
    void nothingIsStartedOverAFile();
    void nothingIsStartedWhereNothingCanBeWritten();
    void versionIsAddedAndTold();
    void startedCatalogueTakesAPackage();
    void commandLineHasToMakeSense_data();
    void commandLineHasToMakeSense();
    void damagedCatalogueIsLeftAlone_data();
    void damagedCatalogueIsLeftAlone();
    void archiveThatClientsRefuseIsRefused_data();
    void archiveThatClientsRefuseIsRefused();
    void whatCannotBeReadIsTold_data();
    void whatCannotBeReadIsTold();
    void permissionsStay();
    void ownerStays();
    void linkStaysALink();
    void folderWithoutRightsLeavesTheCatalogue();
    void fullDiskLeavesTheCatalogue();
    void deathLeavesOneOfTheTwo();
    void editOfAnotherProgramIsNotLost();
    void runsAtOnceLoseNothing();
    void runsAtOnceAddAVersionOnce();

private:
    QString file(const char *name) const { return m_folder->filePath(QLatin1String(name)); }
    QString catalogue() const { return file("packages.json"); }
    QStringList left() const
    {
        return QDir(m_folder->path()).entryList(QDir::Files | QDir::Hidden);
    }
    QStringList order(const QString &version) const;

    std::unique_ptr<QTemporaryDir> m_folder;
    const PublishedArchive m_archive{QStringLiteral("piers-1.1.zip"),
                                     {{QStringLiteral("Piers/64/lin.xpl"), "code"}}};
};

void AddCommandTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(writeFile(catalogue(), Offer));
    QVERIFY(m_archive.isThere());
}

QStringList AddCommandTest::order(const QString &version) const
{
    return {QStringLiteral("add"),
            catalogue(),
            m_archive.path(),
            QStringLiteral("--id"),
            QStringLiteral("5"),
            QStringLiteral("--version"),
            version,
            QStringLiteral("--link"),
            QStringLiteral("https://a.example/%1.zip").arg(version)};
}

void AddCommandTest::catalogueIsStarted()
{
    QVERIFY(QFile::remove(catalogue()));
    const ToolRun run({QStringLiteral("init")}, m_folder->path());
    QCOMPARE(run.status(), 0);
    QCOMPARE(readFile(catalogue()), QByteArray("[]\n"));
    const ToolRun named({QStringLiteral("init"), file("other.json")});
    QCOMPARE(named.status(), 0);
    QCOMPARE(readFile(file("other.json")), QByteArray("[]\n"));
    QCOMPARE(left().size(), 2);
}

void AddCommandTest::nothingIsStartedOverAFile_data()
{
    QTest::addColumn<QString>("kind");
    for (const char *kind : {"file", "empty", "folder", "link", "link to nowhere", "pipe"})
        QTest::newRow(kind) << QString::fromLatin1(kind);
}

void AddCommandTest::nothingIsStartedOverAFile()
{
    QFETCH(QString, kind);
    const QString path = file("there.json");
    const QByteArray name = QFile::encodeName(path);
    if (kind == QLatin1String("file"))
        QVERIFY(writeFile(path, "mine"));
    else if (kind == QLatin1String("empty"))
        QVERIFY(writeFile(path, ""));
    else if (kind == QLatin1String("folder"))
        QVERIFY(QDir().mkdir(path));
    else if (kind == QLatin1String("link"))
        QVERIFY(QFile::link(catalogue(), path));
    else if (kind == QLatin1String("pipe"))
        QCOMPARE(::mkfifo(name.constData(), 0600), 0);
    else
        QVERIFY(QFile::link(file("nowhere"), path));
    const struct stat before = statusOf(path);
    const ToolRun run({QStringLiteral("init"), path});
    QCOMPARE(run.status(), 3);
    QVERIFY2(run.complaints().contains("under this name already"), run.complaints().constData());
    QCOMPARE(statusOf(path).st_ino, before.st_ino);
    QCOMPARE(statusOf(path).st_size, before.st_size);
    QVERIFY(!QFileInfo::exists(file("nowhere")));
    QCOMPARE(readFile(catalogue()), Offer);
}

void AddCommandTest::nothingIsStartedWhereNothingCanBeWritten()
{
    const ToolRun run({QStringLiteral("init"), file("missing/packages.json")});
    QCOMPARE(run.status(), 3);
    QVERIFY2(run.complaints().contains("cannot be written"), run.complaints().constData());
    const FullDisk disk(1);
    const ToolRun full({QStringLiteral("init"), file("full.json")});
    QCOMPARE(full.status(), 3);
    QCOMPARE(left(), QStringList(QStringLiteral("packages.json")));
}

void AddCommandTest::versionIsAddedAndTold()
{
    const ToolRun run({QStringLiteral("add"), catalogue(), m_archive.path(), QStringLiteral("--id"),
                       QStringLiteral("5"), QStringLiteral("--version"), QStringLiteral("1.1"),
                       QStringLiteral("--log"), QStringLiteral("More"), QStringLiteral("--log"),
                       QStringLiteral("Less")});
    QVERIFY2(run.status() == 0, run.complaints().constData());
    QCOMPARE(run.complaints(), QByteArray());
    QVERIFY(run.output().contains("version 1.1 of \"Piers\" (5) is in it now"));
    QVERIFY(run.output().contains("https://a.example/piers-1.1.zip"));
    QVERIFY(run.output().contains("removes  Resources/plugins/Piers\n"));
    const QByteArray expected = QByteArray(Offer).replace(
        "    \"versions\": [\n",
        "    \"versions\": [\n" +
            m_archive.filledIn("      {\n        'version': '1.1',\n"
                               "        'link': 'https://a.example/piers-1.1.zip',\n"
                               "        'size': @SIZE@,\n        'sha256': '@SHA@',\n"
                               "        'log': ['More', 'Less'],\n"
                               "        'install': { 'extract': 'Resources/plugins' },\n"
                               "        'uninstall': { 'remove': ['Resources/plugins/Piers'] }\n"
                               "      },\n"));
    QCOMPARE(readFile(catalogue()), expected);
    QCOMPARE(left(), QStringList(QStringLiteral("packages.json")));
    QCOMPARE(ToolRun({QStringLiteral("check"), catalogue()}).status(), 0);
}

void AddCommandTest::startedCatalogueTakesAPackage()
{
    QVERIFY(QFile::remove(catalogue()));
    QCOMPARE(ToolRun({QStringLiteral("init")}, m_folder->path()).status(), 0);
    const ToolRun run({QStringLiteral("add"), QStringLiteral("packages.json"), m_archive.path(),
                       QStringLiteral("--id=2147483647"), QStringLiteral("--version=1.1"),
                       QStringLiteral("--extract=Resources/plugins"),
                       QStringLiteral("--name=Schöne Stege"), QStringLiteral("--type=PLUGIN"),
                       QStringLiteral("--description=<b>Piers</b>"),
                       QStringLiteral("--short-description=All piers"),
                       QStringLiteral("--icon=https://a.example/icon.png"),
                       QStringLiteral("--link-prefix=https://a.example/archives/")},
                      m_folder->path());
    QVERIFY2(run.status() == 0, run.complaints().constData());
    const auto packages = Kavo::Models::parseCatalogue(readFile(catalogue()), QStringLiteral("en"));
    QCOMPARE(packages.size(), 1);
    QCOMPARE(packages.first()->id(), 2147483647);
    QCOMPARE(packages.first()->name(), QStringLiteral("Schöne Stege"));
    QCOMPARE(packages.first()->type(), QStringLiteral("PLUGIN"));
    QCOMPARE(packages.first()->description(), QStringLiteral("<b>Piers</b>"));
    QCOMPARE(packages.first()->shortDescription(), QStringLiteral("All piers"));
    QCOMPARE(packages.first()->icon(), QStringLiteral("https://a.example/icon.png"));
    QCOMPARE(packages.first()->versions().first()->link,
             QStringLiteral("https://a.example/archives/piers-1.1.zip"));
    const ToolRun check({QStringLiteral("check"), catalogue(), QStringLiteral("--strict")});
    QVERIFY2(check.status() == 0, check.output().constData());
}

void AddCommandTest::commandLineHasToMakeSense_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QByteArray>("complaint");

    const auto row = [](const char *name, const char *options, const char *complaint) {
        QTest::newRow(name) << QString::fromLatin1(options).split(QLatin1Char(' '))
                            << QByteArray(complaint);
    };
    row("no id", "--version=2", "--id is missing");
    row("no version", "--id=5", "--version is missing");
    row("id of letters", "--id=five --version=2", "--id is \"five\"");
    row("id 0", "--id=0 --version=2", "from 1 to 2147483647");
    row("id too large", "--id=2147483648 --version=2", "from 1 to 2147483647");
    row("two addresses", "--id=5 --version=2 --link=a --link-prefix=b", "say the same");
    row("three files", "--id=5 --version=2 more", "too many arguments");
    row("unknown option", "--id=5 --version=2 --nmae=x", "nmae");
    row("name of a package that is there", "--id=5 --version=2 --name=x", "for a new one");
    row("no name of a new package", "--id=6 --version=2", "needs --name");
}

void AddCommandTest::commandLineHasToMakeSense()
{
    QFETCH(QStringList, options);
    QFETCH(QByteArray, complaint);
    const ToolRun run(QStringList{QStringLiteral("add"), catalogue(), m_archive.path()} + options);
    QCOMPARE(run.status(), 64);
    QVERIFY2(run.complaints().contains(complaint), run.complaints().constData());
    QCOMPARE(readFile(catalogue()), Offer);
}

void AddCommandTest::damagedCatalogueIsLeftAlone_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("rule");

    const QStringList kinds{QStringLiteral("syntax"),   QStringLiteral("key-twice"),
                            QStringLiteral("type"),     QStringLiteral("not-an-array"),
                            QStringLiteral("encoding"), QStringLiteral("id-twice")};
    int rows = 0;
    for (const CorpusCatalogue &catalogue : corpusCatalogues()) {
        const bool isMeant = std::any_of(kinds.cbegin(), kinds.cend(), [&](const QString &kind) {
            return catalogue.name.startsWith(kind);
        });
        if (!isMeant || catalogue.findings.isEmpty())
            continue;
        ++rows;
        QTest::newRow(qPrintable(catalogue.name))
            << catalogue.bytes
            << catalogue.findings.first().section(QLatin1Char(' '), 0, 0).toUtf8();
    }
    QVERIFY(rows > 50);
}

void AddCommandTest::damagedCatalogueIsLeftAlone()
{
    QFETCH(QByteArray, bytes);
    QVERIFY(writeFile(catalogue(), bytes));
    const auto before = fileTree(m_folder->path());
    const ToolRun run(order(QStringLiteral("9.9")));
    QCOMPARE(run.status(), 2);
    QVERIFY(run.complaints().contains("nothing was added"));
    QVERIFY2(run.output().contains(": error: "), run.output().constData());
    QCOMPARE(fileTree(m_folder->path()), before);
}

void AddCommandTest::archiveThatClientsRefuseIsRefused_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("reason");

    const Files files{{QStringLiteral("a/b.txt"), QByteArray(3000, 'x')}};
    const auto row = [](const char *name, const char *file, const QByteArray &bytes,
                        const char *reason) {
        QTest::newRow(name) << QString::fromLatin1(file) << bytes << QByteArray(reason);
    };
    const QByteArray whole = archiveOf(files, QStringLiteral("7z"));
    row("none", "a.zip", "no archive", "no archive at all");
    row("empty file", "a.zip", "", "no archive at all");
    row("cut", "a.7z", whole.left(whole.size() - 20), "no archive at all");
    row("password", "a.zip", archiveOf(files, QStringLiteral("zip"), QStringLiteral("secret")),
        "password");
    row("password for the names", "a.7z",
        archiveOf(files, QStringLiteral("7z"), QStringLiteral("secret")), "password");
    row("climbing", "a.tar", tarOf({{TarEntry::FILE, "../a", "x"}}), "leads out");
    row("absolute", "a.tar", tarOf({{TarEntry::FILE, "/a", "x"}}), "leads out");
    row("link", "a.tar", tarOf({{TarEntry::LINK, "a", "/etc"}}), "leads out");
    row("device", "a.tar", tarOf({{TarEntry::FILE, "b", "x"}, {TarEntry::DEVICE, "a", ""}}),
        "leads out");
    row("archive in an archive", "a.tar.xz",
        compressed(tarOf({{TarEntry::FILE, "a", "x"}}), QStringLiteral("xz")), "nothing but");
    row("file that is a folder, too", "a.tar",
        tarOf({{TarEntry::FILE, "a", "x"}, {TarEntry::FILE, "a/b", "x"}}), "is a folder there");
    row("archive in an archive, short name", "a.txz",
        compressed(tarOf({{TarEntry::FILE, "a", "x"}}), QStringLiteral("xz")), "nothing but");
}

void AddCommandTest::archiveThatClientsRefuseIsRefused()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, bytes);
    QFETCH(QByteArray, reason);
    const QString path = m_folder->filePath(name);
    QVERIFY(!bytes.isNull());
    QVERIFY(writeFile(path, bytes));
    QStringList arguments = order(QStringLiteral("2.0"));
    arguments[2] = path;
    const ToolRun run(arguments);
    QCOMPARE(run.status(), 2);
    QVERIFY2(run.complaints().contains(reason), run.complaints().constData());
    QVERIFY(run.complaints().contains("nothing was added"));
    QCOMPARE(readFile(catalogue()), Offer);
    QCOMPARE(left().size(), 2);
}

void AddCommandTest::whatCannotBeReadIsTold_data()
{
    QTest::addColumn<QString>("catalogue");
    QTest::addColumn<QString>("archive");

    const QString packages = QStringLiteral("packages.json");
    QTest::newRow("no catalogue") << QStringLiteral("missing.json") << m_archive.path();
    QTest::newRow("folder as catalogue") << QStringLiteral(".") << m_archive.path();
    QTest::newRow("pipe as catalogue") << QStringLiteral("pipe") << m_archive.path();
    QTest::newRow("no archive") << packages << QStringLiteral("missing.zip");
    QTest::newRow("folder as archive") << packages << QStringLiteral(".");
    QTest::newRow("pipe as archive") << packages << QStringLiteral("pipe");
}

void AddCommandTest::whatCannotBeReadIsTold()
{
    QFETCH(QString, catalogue);
    QFETCH(QString, archive);
    QCOMPARE(::mkfifo(QFile::encodeName(file("pipe")).constData(), 0600), 0);
    const ToolRun run({QStringLiteral("add"), catalogue, archive, QStringLiteral("--id=5"),
                       QStringLiteral("--version=2")},
                      m_folder->path());
    QCOMPARE(run.status(), 3);
    QVERIFY2(run.complaints().contains("cannot be read"), run.complaints().constData());
    QCOMPARE(readFile(file("packages.json")), Offer);
}

void AddCommandTest::permissionsStay()
{
    for (const mode_t mode : {0600U, 0644U, 0664U, 0640U}) {
        setMode(catalogue(), mode);
        QCOMPARE(ToolRun(order(QString::number(mode))).status(), 0);
        QCOMPARE(statusOf(catalogue()).st_mode & 07777U, mode);
    }
    QCOMPARE(versionsIn(readFile(catalogue())), 5);
}

void AddCommandTest::ownerStays()
{
    if (::geteuid() != 0)
        QSKIP("Only root gives files away.");
    setMode(catalogue(), 0640);
    QCOMPARE(::chown(QFile::encodeName(catalogue()).constData(), 65534, 65533), 0);
    QCOMPARE(ToolRun(order(QStringLiteral("2.0"))).status(), 0);
    QCOMPARE(statusOf(catalogue()).st_uid, 65534U);
    QCOMPARE(statusOf(catalogue()).st_gid, 65533U);
    QCOMPARE(statusOf(catalogue()).st_mode & 07777U, 0640U);
    QCOMPARE(versionsIn(readFile(catalogue())), 2);
}

void AddCommandTest::linkStaysALink()
{
    QVERIFY(QDir().mkdir(file("real")));
    QVERIFY(QFile::rename(catalogue(), file("real/catalogue.json")));
    // One link leads to another, and each by a path of its own.
    QVERIFY(QFile::link(QStringLiteral("real/catalogue.json"), file("middle.json")));
    QVERIFY(QFile::link(QStringLiteral("middle.json"), catalogue()));
    QCOMPARE(ToolRun(order(QStringLiteral("2.0"))).status(), 0);
    QVERIFY(QFileInfo(catalogue()).isSymLink() && QFileInfo(file("middle.json")).isSymLink());
    QVERIFY(!QFileInfo(file("real/catalogue.json")).isSymLink());
    QCOMPARE(versionsIn(readFile(file("real/catalogue.json"))), 2);
    QCOMPARE(QDir(file("real")).entryList(QDir::Files | QDir::Hidden).size(), 1);
    QCOMPARE(left().size(), 2);
}

void AddCommandTest::folderWithoutRightsLeavesTheCatalogue()
{
    setMode(m_folder->path(), 0555);
    setMode(catalogue(), 0644);
    {
        const WithoutRights nobody;
        CatalogueFile file(catalogue());
        QVERIFY(file.isRead());
        QVERIFY(!file.replace("[]").isEmpty());
        QVERIFY(
            !CatalogueFile::make(m_folder->filePath(QStringLiteral("new.json")), "[]").isEmpty());
    }
    setMode(m_folder->path(), 0755);
    QCOMPARE(readFile(catalogue()), Offer);
    QCOMPARE(left().size(), 1);
}

void AddCommandTest::fullDiskLeavesTheCatalogue()
{
    for (const int room : {0, 1, Offer.size(), Offer.size() + 100}) {
        const FullDisk disk(static_cast<rlim_t>(room));
        const ToolRun run(order(QStringLiteral("2.0")));
        QCOMPARE(run.status(), 3);
        QVERIFY2(run.complaints().contains("cannot be written"), run.complaints().constData());
        QVERIFY(run.complaints().contains("nothing was added"));
        QCOMPARE(readFile(catalogue()), Offer);
        QCOMPARE(left().size(), 1);
    }
}

/// In front of each call by which it changes something on the disk.
void AddCommandTest::deathLeavesOneOfTheTwo()
{
    QVERIFY(QFile::exists(QStringLiteral(DYING_CALLS)));
    const QString folder = QFileInfo(m_folder->path()).canonicalFilePath();
    qputenv("LD_PRELOAD", DYING_CALLS);
    qputenv("KAVO_DEATH_PROGRAM", "kavo-catalogue");
    qputenv("KAVO_DEATH_FOLDER", QFile::encodeName(folder));
    // AddressSanitizer wants to be the first library otherwise.
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
        const ToolRun run(order(QStringLiteral("2.0")));
        status = run.status();
        QVERIFY(status == 0 || run.output().contains("died before"));
        QCOMPARE(readFile(catalogue()) == Offer, status != 0);
        QCOMPARE(versionsIn(readFile(catalogue())), status == 0 ? 2 : 1);
    }
    QVERIFY2(calls > 3 && calls < 100, qPrintable(QString::number(calls)));
    // What a dead run leaves does not stop the next one.
    qunsetenv("LD_PRELOAD");
    QCOMPARE(ToolRun(order(QStringLiteral("3.0"))).status(), 0);
}

/// An editor knows nothing of the lock.
void AddCommandTest::editOfAnotherProgramIsNotLost()
{
    CatalogueFile file(catalogue());
    QCOMPARE(file.bytes(), Offer);
    QVERIFY(writeFile(catalogue(), "[ ]"));
    QVERIFY(file.replace("[]").contains(QStringLiteral("meanwhile")));
    QCOMPARE(readFile(catalogue()), QByteArray("[ ]"));
    QVERIFY(QFile::remove(catalogue()));
    QVERIFY(!file.replace("[]").isEmpty());
    QCOMPARE(left(), QStringList());
}

void AddCommandTest::runsAtOnceLoseNothing()
{
    constexpr int runs = 12;
    QVector<QFuture<int>> statuses;
    QThreadPool pool;
    pool.setMaxThreadCount(runs);
    // Half of them come by a link in another folder.
    const QTemporaryDir other;
    const QString link = other.filePath(QStringLiteral("link.json"));
    QVERIFY(QFile::link(catalogue(), link));
    for (int run = 0; run < runs; ++run) {
        QStringList arguments = order(QString::number(run + 2));
        if (run % 2 == 1)
            arguments[1] = link;
        statuses.append(
            QtConcurrent::run(&pool, [arguments] { return ToolRun(arguments).status(); }));
    }
    for (QFuture<int> &status : statuses)
        QCOMPARE(status.result(), 0);
    QCOMPARE(versionsIn(readFile(catalogue())), runs + 1);
    QCOMPARE(left(), QStringList(QStringLiteral("packages.json")));
}

void AddCommandTest::runsAtOnceAddAVersionOnce()
{
    constexpr int runs = 8;
    QVector<QFuture<int>> futures;
    QThreadPool pool;
    pool.setMaxThreadCount(runs);
    for (int run = 0; run < runs; ++run)
        futures.append(QtConcurrent::run(&pool, [arguments = order(QStringLiteral("2.0"))] {
            return ToolRun(arguments).status();
        }));
    QVector<int> statuses;
    for (QFuture<int> &future : futures)
        statuses.append(future.result());
    QCOMPARE(statuses.count(0), 1);
    QCOMPARE(statuses.count(2), runs - 1);
    QCOMPARE(versionsIn(readFile(catalogue())), 2);
}

KAVO_TEST_MAIN(AddCommandTest)
#include "AddCommandTest.moc"
