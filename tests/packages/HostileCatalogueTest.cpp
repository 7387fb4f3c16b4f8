#include "packages/catalogue/CatalogueParser.h"
#include "tests/packages/Engine.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

#include <limits>
#include <memory>
#include <sys/stat.h>

using namespace Kavo::Models;
using namespace Kavo::Testing;

namespace {

using Tree = QMap<QString, QString>;

QString zeroInside()
{
    return QString(QLatin1String("a\0b", 3));
}

QString longName()
{
    return QString(5000, QLatin1Char('x'));
}

QString deepPath()
{
    return QStringLiteral("x/").repeated(2500) + QStringLiteral("x");
}

/// The paths that stand in one tree only, or with another content.
QStringList differences(const Tree &before, const Tree &after)
{
    QStringList paths;
    for (const QString &path : before.keys() + after.keys()) {
        if (before.value(path, QStringLiteral("none")) != after.value(path, QStringLiteral("none")))
            paths.append(path);
    }
    paths.removeDuplicates();
    return paths;
}

/// A version file of this version.
QByteArray versionFile(const char *version)
{
    return QByteArray("Kavo\nPackage\n") + version + '\n';
}

/// Everything that came out of the parser, as text; what reads as a default is left out.
QStringList facts(const Package &package)
{
    QStringList found;
    const auto text = [&found](const char *key, const QString &value) {
        if (!value.isEmpty())
            found.append(QLatin1String(key) + QLatin1Char('=') + value);
    };
    const auto list = [&text](const char *key, const QStringList &values) {
        if (!values.isEmpty())
            text(key, QLatin1Char('[') + values.join(QLatin1Char('|')) + QLatin1Char(']'));
    };
    const auto number = [&text](const char *key, int value) {
        text(key, value == 0 ? QString() : QString::number(value));
    };
    number("id", package.id());
    number("product_id", package.productId());
    text("name", package.name());
    text("description", package.description());
    text("short_description", package.shortDescription());
    text("icon", package.icon());
    text("type", package.type());
    text("manual_url", package.manualUrl());
    text("help_url", package.helpUrl());
    list("banner", package.banner());
    number("versions", package.versions().size());
    for (const PackageVersionPointer &version : package.versions()) {
        text("version", version->version);
        text("link", version->link);
        list("depends", version->depends);
        list("log", version->log);
        text("extract", version->install->extract);
        list("preserve", version->install->preserve);
        list("backup", version->install->backup);
        list("remove", version->uninstall->remove);
    }
    return found;
}

} // namespace

/// What a catalogue made with ill will, or by accident, must not do.
class HostileCatalogueTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void pathsOfRulesTouchNothingOfOthers_data();
    void pathsOfRulesTouchNothingOfOthers();
    void extractFolderStaysInside_data();
    void extractFolderStaysInside();
    void versionFileIsLookedForInsideOnly_data();
    void versionFileIsLookedForInsideOnly();
    void versionFileThatCannotBeReadIsNone_data();
    void versionFileThatCannotBeReadIsNone();

    void everyKeyOfAWrongTypeReadsAsItsDefault_data();
    void everyKeyOfAWrongTypeReadsAsItsDefault();
    void elementsOfAWrongTypeKeepTheirPlace_data();
    void elementsOfAWrongTypeKeepTheirPlace();
    void lastOfEqualKeysCounts();
    void idsBeyondAnIntReadAsZero_data();
    void idsBeyondAnIntReadAsZero();
    void brokenBytesGiveNoPackages_data();
    void brokenBytesGiveNoPackages();
    void byteOrderMarkIsPassedOver();
    void zeroCharactersAndHalfPairsStay();

    void hundredThousandEmptyPackagesAreListed();
    void hugeTextsAreListed();
    void packageWithoutAnAddressIsADownloadError_data();
    void packageWithoutAnAddressIsADownloadError();
    void negativeIdIsAnId();
    void packagesOfOneIdShareTheirRecord();
    void ringOfPackagesIsInstalledAndRemoved();
    void manyEntriesForManyPackagesOfOneIdAreAnswered();
    void absurdVersionsComeBackLetterForLetter_data();
    void absurdVersionsComeBackLetterForLetter();

private:
    void makeOtherPeoplesFiles();
    /// What stands in the home folder, the simulator's among it, and beside it, without the
    /// program's own data.
    Tree world() const;
    QString nameOfSimulator() const { return QFileInfo(QDir::cleanPath(simulator())).fileName(); }
    QString simulator() const { return m_engine->profile().simulatorFolder(); }
    QString outside() const { return m_engine->profile().folder(QStringLiteral("outside")); }
    /// Stands for folders that only a running test knows.
    QString filledIn(QString entry) const;

    std::unique_ptr<Engine> m_engine;
};

void HostileCatalogueTest::init()
{
    m_engine = std::make_unique<Engine>();
}

void HostileCatalogueTest::cleanup()
{
    m_engine.reset();
}

void HostileCatalogueTest::makeOtherPeoplesFiles()
{
    QVERIFY(writeFiles(simulator(),
                       {{QStringLiteral("Custom Scenery/Theirs/scene.txt"), "their scenery"},
                        {QStringLiteral("Resources/plugins/Other/other.xpl"), "their plug-in"},
                        {QStringLiteral("Output/preferences.txt"), "their settings"},
                        {QStringLiteral("plain"), "a file"}}));
    QVERIFY(writeFiles(outside(), {{QStringLiteral("victim.txt"), "theirs"},
                                   {QStringLiteral("deep/victim.txt"), "theirs too"}}));
    QVERIFY(QFile::link(outside(), simulator() + QStringLiteral("way out")));
    QVERIFY(QFile::link(QStringLiteral("/nowhere/at/all"), simulator() + QStringLiteral("lost")));
    QVERIFY(QFile::link(QStringLiteral(".."), simulator() + QStringLiteral("up")));
}

Tree HostileCatalogueTest::world() const
{
    const QFileInfo home(m_engine->profile().home());
    Tree tree = fileTree(home.path());
    for (const QString &path : tree.keys()) {
        if (path.startsWith(home.fileName() + QStringLiteral("/.")))
            tree.remove(path);
    }
    return tree;
}

QString HostileCatalogueTest::filledIn(QString entry) const
{
    return entry.replace(QStringLiteral("@OUTSIDE@"), QDir::cleanPath(outside()))
        .replace(QStringLiteral("@SIM@"), QDir::cleanPath(simulator()))
        .replace(QStringLiteral("@NAME@"), nameOfSimulator());
}

void HostileCatalogueTest::pathsOfRulesTouchNothingOfOthers_data()
{
    QTest::addColumn<QString>("entry");
    QTest::addColumn<bool>("skipped");
    const auto skipped = [](const char *name, const QString &entry) {
        QTest::newRow(name) << entry << true;
    };
    skipped("empty", QString());
    skipped("the simulator", QStringLiteral("."));
    skipped("the simulator by way of a child", QStringLiteral("Output/.."));
    skipped("the simulator by its name", QStringLiteral("../@NAME@"));
    skipped("the simulator by its path", QStringLiteral("@SIM@"));
    skipped("parent", QStringLiteral(".."));
    skipped("two up", QStringLiteral("../.."));
    skipped("out by way of a child", QStringLiteral("Output/../.."));
    skipped("absolute", QStringLiteral("@OUTSIDE@/victim.txt"));
    skipped("absolute with doubled separators", QStringLiteral("//@OUTSIDE@//deep"));
    skipped("the simulator by way of a link", QStringLiteral("up/@NAME@"));
    skipped("through a link and up", QStringLiteral("way out/../.."));
    skipped("up and through a link", QStringLiteral("../@NAME@/way out/victim.txt"));
    skipped("through a link to nowhere", QStringLiteral("lost/file"));
    skipped("zero character", zeroInside());
    // These stay inside, and name nothing that is there.
    const auto harmless = [](const char *name, const QString &entry) {
        QTest::newRow(name) << entry << false;
    };
    harmless("blanks", QStringLiteral("   "));
    harmless("backslashes", QStringLiteral("Output\\..\\..\\outside"));
    harmless("long name", longName());
    harmless("deep path", deepPath());
    harmless("file where a folder is expected", QStringLiteral("plain/inside"));
    harmless("colon in front", QStringLiteral("./:outside"));
    harmless("byte order mark before an absolute path",
             QStringLiteral("./\ufeff@OUTSIDE@/victim.txt"));
    harmless("looks like an option", QStringLiteral("-rf"));
    harmless("stars", QStringLiteral("*"));
    harmless("home", QStringLiteral("~"));
}

void HostileCatalogueTest::pathsOfRulesTouchNothingOfOthers()
{
    QFETCH(QString, entry);
    QFETCH(bool, skipped);
    entry = filledIn(entry);
    makeOtherPeoplesFiles();
    for (const QString &version : {QStringLiteral("1.0"), QStringLiteral("2.0")}) {
        Offer offer{7, version};
        offer.preserve = QStringList{entry};
        offer.backup = QStringList{entry};
        // In front of the other, which must still be followed.
        offer.remove = QStringList{entry, QStringLiteral("package-7")};
        m_engine->offer(offer);
    }
    QVERIFY(m_engine->refresh());
    const Tree before = world();
    const LogCapture log;
    for (const QString &version : {QStringLiteral("1.0"), QStringLiteral("2.0")}) {
        QVERIFY(m_engine->installAndWait(7, version));
        QCOMPARE(readFile(m_engine->simulator(Engine::fileOf(7))), Engine::contentOf(7, version));
        const QString own = QStringLiteral("home/%1/package-7/").arg(nameOfSimulator());
        QCOMPARE(differences(before, world()),
                 (QStringList{own, own + QStringLiteral("file.txt")}));
    }
    m_engine->controller().uninstall(m_engine->package(7));
    QCOMPARE(m_engine->package(7)->state(), Package::AVAILABLE);
    QCOMPARE(differences(before, world()), QStringList());
    // An installation follows each of the three rules once; the removal at the end is one more.
    QCOMPARE(log.lines().count(QStringLiteral("Skipping path : ") + entry), skipped ? 7 : 0);
    QCOMPARE(fileTree(m_engine->profile().preserveFolder()), Tree());
    QCOMPARE(fileTree(m_engine->profile().backupFolder()), Tree());
}

void HostileCatalogueTest::extractFolderStaysInside_data()
{
    QTest::addColumn<QString>("extract");
    QTest::addColumn<QString>("folder");
    QTest::addColumn<bool>("skipped");
    const auto accepted = [](const char *name, const QString &extract, const QString &folder) {
        QTest::newRow(name) << extract << folder << false;
    };
    const auto refused = [](const char *name, const QString &extract) {
        QTest::newRow(name) << extract << QString() << true;
    };
    const auto failing = [](const char *name, const QString &extract) {
        QTest::newRow(name) << extract << QString() << false;
    };
    accepted("empty", QString(), QStringLiteral("./"));
    accepted("dot", QStringLiteral("./"), QStringLiteral("./"));
    accepted("the simulator by way of a child", QStringLiteral("a/.."), QStringLiteral("./"));
    accepted("blanks", QStringLiteral("   "), QStringLiteral("   /"));
    accepted("backslashes", QStringLiteral("a\\..\\..\\b"), QStringLiteral("a\\..\\..\\b/"));
    accepted("colon in front once clean", QStringLiteral("./:a"), QStringLiteral(":a/"));
    accepted("colon in front", QStringLiteral(":/a"), QStringLiteral(":/a/"));
    accepted("byte order mark before an absolute path", QStringLiteral("./\ufeff@OUTSIDE@"),
             QStringLiteral("\ufeff@OUTSIDE@/"));
    accepted("looks like an option", QStringLiteral("-y"), QStringLiteral("-y/"));
    accepted("looks like a list of files", QStringLiteral("@a"), QStringLiteral("@a/"));
    accepted("home", QStringLiteral("~"), QStringLiteral("~/"));
    refused("parent", QStringLiteral(".."));
    refused("two up", QStringLiteral("../.."));
    refused("out by way of a child", QStringLiteral("a/../.."));
    refused("the simulator by its name", QStringLiteral("../@NAME@"));
    refused("the simulator by its path", QStringLiteral("@SIM@"));
    refused("absolute", QStringLiteral("@OUTSIDE@"));
    refused("zero character", zeroInside());
    failing("long name", longName());
    failing("stars", QStringLiteral("*/a*b"));
    failing("deep path", deepPath());
    failing("file where a folder is expected", QStringLiteral("plain"));
    failing("folder below a file", QStringLiteral("plain/folder"));
    failing("link to nowhere", QStringLiteral("lost"));
}

void HostileCatalogueTest::extractFolderStaysInside()
{
    QFETCH(QString, extract);
    QFETCH(QString, folder);
    QFETCH(bool, skipped);
    extract = filledIn(extract);
    folder = filledIn(folder);
    makeOtherPeoplesFiles();
    const bool installs = !folder.isEmpty();
    const QString unpacked = QDir::cleanPath(folder + Engine::fileOf(7));
    Offer offer{7};
    offer.extract = extract;
    // A leading byte order mark would be lost in the file.
    offer.remove = QStringList{QStringLiteral("./") + folder + QStringLiteral("package-7")};
    m_engine->offer(offer);
    QVERIFY(m_engine->refresh());
    const Tree before = world();
    const LogCapture log;
    QCOMPARE(m_engine->installAndWait(7), installs);
    QCOMPARE(m_engine->package(7)->state(), installs ? Package::INSTALLED : Package::INSTALL_ERROR);
    QCOMPARE(QFile::exists(m_engine->simulator(unpacked)), installs);
    QCOMPARE(log.contains(QStringLiteral("Installation failed : The package wants to be unpacked "
                                         "outside of the simulator: ") +
                          extract),
             skipped);
    if (installs)
        m_engine->controller().uninstall(m_engine->package(7));
    // Apart from folders that may stay, empty.
    Tree after = world();
    for (const QString &path : after.keys()) {
        if (path.endsWith(QLatin1Char('/')) && !before.contains(path))
            after.remove(path);
    }
    QCOMPARE(differences(before, after), QStringList());
}

void HostileCatalogueTest::versionFileIsLookedForInsideOnly_data()
{
    QTest::addColumn<int>("id");
    QTest::addColumn<QString>("extract");
    QTest::addColumn<QString>("version");
    const auto row = [](const char *name, const QString &extract, const char *version, int id = 7) {
        QTest::newRow(name) << id << extract << QString::fromLatin1(version);
    };
    row("empty: the simulator's own folder", QString(), "3.1");
    row("dot", QStringLiteral("."), "3.1");
    row("the simulator by way of a child", QStringLiteral("a/.."), "3.1");
    row("the shared library", QStringLiteral("."), "3.2", 1);
    // A link in the simulator's folder is one of the user's own.
    row("through a link", QStringLiteral("way out"), "9.1");
    row("parent", QStringLiteral(".."), "");
    row("out by way of a child", QStringLiteral("a/../.."), "");
    row("out and back", QStringLiteral("../outside"), "");
    row("absolute", QStringLiteral("@OUTSIDE@"), "");
    row("absolute, inside", QStringLiteral("@SIM@"), "");
    row("parent, the shared library", QStringLiteral("../outside"), "", 1);
    row("zero character", zeroInside(), "");
    row("long name", longName(), "");
    row("deep path", deepPath(), "");
    row("blanks", QStringLiteral("  "), "");
    row("backslashes", QStringLiteral("..\\outside"), "");
    row("file where a folder is expected", QStringLiteral("plain"), "");
    row("link to nowhere", QStringLiteral("lost"), "");
}

void HostileCatalogueTest::versionFileIsLookedForInsideOnly()
{
    QFETCH(int, id);
    QFETCH(QString, extract);
    QFETCH(QString, version);
    makeOtherPeoplesFiles();
    const QString name = QStringLiteral("Kavo_version.txt");
    const QString libraryName = QStringLiteral("lib/Kavo_Library/Kavo_version.txt");
    const QString above = QFileInfo(QDir::cleanPath(simulator())).path() + QLatin1Char('/');
    QVERIFY(
        writeFiles(simulator(), {{name, versionFile("3.1")}, {libraryName, versionFile("3.2")}}));
    QVERIFY(writeFiles(outside(), {{name, versionFile("9.1")}, {libraryName, versionFile("9.2")}}));
    QVERIFY(writeFiles(above, {{name, versionFile("9.3")}, {libraryName, versionFile("9.4")}}));
    Offer offer{id};
    offer.extract = filledIn(extract);
    m_engine->offer(offer);
    QVERIFY(m_engine->refresh());
    QCOMPARE(m_engine->package(id)->state(),
             version.isEmpty() ? Package::AVAILABLE : Package::INSTALLED);
    QCOMPARE(m_engine->recordedVersion(id), version);
}

void HostileCatalogueTest::versionFileThatCannotBeReadIsNone_data()
{
    QTest::addColumn<QString>("kind");
    QTest::newRow("folder") << QStringLiteral("folder");
    QTest::newRow("pipe that nobody writes to") << QStringLiteral("pipe");
    QTest::newRow("link to an endless device") << QStringLiteral("device");
    QTest::newRow("link to itself") << QStringLiteral("loop");
    QTest::newRow("one line without an end") << QStringLiteral("long line");
}

void HostileCatalogueTest::versionFileThatCannotBeReadIsNone()
{
    QFETCH(QString, kind);
    const QString path = m_engine->simulator(QStringLiteral("Kavo_version.txt"));
    if (kind == QLatin1String("folder"))
        QVERIFY(QDir().mkpath(path));
    else if (kind == QLatin1String("pipe"))
        QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    else if (kind == QLatin1String("device"))
        QVERIFY(QFile::link(QStringLiteral("/dev/zero"), path));
    else if (kind == QLatin1String("loop"))
        QVERIFY(QFile::link(path, path));
    else
        QVERIFY(writeFile(path, QByteArray(5000, 'x')));
    m_engine->offer({7});
    QVERIFY(m_engine->refresh());
    QCOMPARE(m_engine->package(7)->state(), Package::AVAILABLE);
    QCOMPARE(m_engine->recordedStatus(7), -1);
}

void HostileCatalogueTest::everyKeyOfAWrongTypeReadsAsItsDefault_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QStringList>("expected");
    const QList<QByteArray> values{"3",
                                   "-1.5",
                                   "true",
                                   "null",
                                   "\"text\"",
                                   "[]",
                                   "[[\"x\"]]",
                                   "{}",
                                   R"({"en": 3})",
                                   R"({"en": ["x"]})",
                                   R"({"en": {"en": "x"}})",
                                   R"({"fr": "x"})"};
    // Values of a type that is right, or that keeps a place, are told elsewhere.
    const auto isText = [](const QByteArray &value) { return value.startsWith('"'); };
    const auto isNumber = [](const QByteArray &value) { return value == "3"; };
    const auto isFullArray = [](const QByteArray &value) { return value.startsWith("[["); };
    const auto never = [](const QByteArray &) { return false; };
    const auto rows = [&values](const char *frame, const QList<QByteArray> &keys,
                                const auto &isRight, const QStringList &expected) {
        for (const QByteArray &key : keys) {
            for (const QByteArray &value : values) {
                if (isRight(value))
                    continue;
                const QByteArray pair = '"' + key + "\": " + value;
                QTest::addRow("%s", pair.constData())
                    << QByteArray(frame).replace("@", pair) << expected;
            }
        }
    };
    const QStringList oneVersion{QStringLiteral("versions=1")};
    rows("[{@}]", {"name", "description", "short_description"}, never, {});
    rows("[{@}]", {"icon", "type", "manual_url", "help_url"}, isText, {});
    rows("[{@}]", {"id", "product_id"}, isNumber, {});
    rows("[{@}]", {"banner", "versions"}, isFullArray, {});
    rows(R"([{"versions": [{@}]}])", {"version", "link"}, isText, oneVersion);
    rows(R"([{"versions": [{@}]}])", {"depends", "log"}, isFullArray, oneVersion);
    rows(R"([{"versions": [{@}]}])", {"install", "uninstall"}, never, oneVersion);
    rows(R"([{"versions": [{"install": {@}}]}])", {"extract"}, isText, oneVersion);
    rows(R"([{"versions": [{"install": {@}}]}])", {"preserve", "backup"}, isFullArray, oneVersion);
    rows(R"([{"versions": [{"uninstall": {@}}]}])", {"remove"}, isFullArray, oneVersion);
}

void HostileCatalogueTest::everyKeyOfAWrongTypeReadsAsItsDefault()
{
    QFETCH(QByteArray, json);
    QFETCH(QStringList, expected);
    const PackageList packages = parseCatalogue(json, QStringLiteral("en"));
    QCOMPARE(packages.size(), 1);
    QCOMPARE(facts(*packages.first()), expected);
}

void HostileCatalogueTest::elementsOfAWrongTypeKeepTheirPlace_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QStringList>("expected");
    const QByteArray mixed = R"([3, "a", null, ["x"], {"b": "c"}, true, "d"])";
    const QString read = QStringLiteral("[|a|||||d]");
    QTest::newRow("banner") << "[{\"banner\": " + mixed + "}]"
                            << QStringList(QStringLiteral("banner=") + read);
    const auto row = [&mixed, &read](const char *key, const char *frame) {
        QTest::newRow(key) << QByteArray(R"([{"versions": [)") + frame + mixed +
                                  QByteArray(qstrlen(frame) > 12 ? "}}]}]" : "}]}]")
                           << QStringList{QStringLiteral("versions=1"),
                                          QLatin1String(key) + QLatin1Char('=') + read};
    };
    row("depends", R"({"depends": )");
    row("log", R"({"log": )");
    row("preserve", R"({"install": {"preserve": )");
    row("backup", R"({"install": {"backup": )");
    row("remove", R"({"uninstall": {"remove": )");
    QTest::newRow("versions") << "[{\"versions\": " + mixed + "}]"
                              << QStringList(QStringLiteral("versions=7"));
}

void HostileCatalogueTest::elementsOfAWrongTypeKeepTheirPlace()
{
    QFETCH(QByteArray, json);
    QFETCH(QStringList, expected);
    const PackageList packages = parseCatalogue(json, QStringLiteral("en"));
    QCOMPARE(packages.size(), 1);
    QCOMPARE(facts(*packages.first()), expected);
}

void HostileCatalogueTest::lastOfEqualKeysCounts()
{
    const PackageList packages = parseCatalogue(
        R"([{"id": 1, "id": 2, "type": "A", "type": "B", "name": {"en": "a", "en": "b"}}])",
        QStringLiteral("en"));
    QCOMPARE(
        facts(*packages.first()),
        (QStringList{QStringLiteral("id=2"), QStringLiteral("name=b"), QStringLiteral("type=B")}));
}

void HostileCatalogueTest::idsBeyondAnIntReadAsZero_data()
{
    QTest::addColumn<QByteArray>("number");
    QTest::addColumn<int>("id");
    const auto row = [](const char *number, int id) {
        QTest::newRow(number) << QByteArray(number) << id;
    };
    row("2147483647", 2147483647);
    row("-2147483648", std::numeric_limits<int>::min());
    row("2147483648", 0);
    row("-2147483649", 0);
    row("4294967296", 0);
    row("9223372036854775807", 0);
    row("-9223372036854775808", 0);
    row("18446744073709551616", 0);
    row("123456789012345678901234567890", 0);
    row("1e300", 0);
    row("7.0", 7);
    row("7e2", 700);
    row("7.5", 0);
    row("-0", 0);
    row("1e-300", 0);
}

void HostileCatalogueTest::idsBeyondAnIntReadAsZero()
{
    QFETCH(QByteArray, number);
    QFETCH(int, id);
    const PackageList packages =
        parseCatalogue("[{\"id\": " + number + ", \"product_id\": " + number + "}]", QString());
    QCOMPARE(packages.size(), 1);
    QCOMPARE(packages.first()->id(), id);
    QCOMPARE(packages.first()->productId(), id);
}

void HostileCatalogueTest::brokenBytesGiveNoPackages_data()
{
    QTest::addColumn<QByteArray>("bytes");
    const QByteArray sound = R"([{"id": 7, "name": {"en": "Trees"}}])";
    for (int length : {1, 2, 10, 20, sound.size() - 1})
        QTest::addRow("cut off after %d bytes", length) << sound.left(length);
    QTest::newRow("invalid UTF-8") << QByteArray("[{\"name\": {\"en\": \"\xff\xfe\"}}]");
    QTest::newRow("cut off inside a character") << QByteArray("[{\"name\": {\"en\": \"\xc3\"}}]");
    QTest::newRow("zero character as it is") << QByteArray("[{\"id\": 7}, \0]", 14);
    QTest::newRow("zeros only") << QByteArray(1000, '\0');
    QTest::newRow("UTF-16") << QByteArray("[\0{\0}\0]\0", 8);
    QTest::newRow("name nested 10,000 deep") << QByteArray(R"([{"id": 7, "name": )") +
                                                    QByteArray(10000, '[') +
                                                    QByteArray(10000, ']') + "}]";
    QTest::newRow("objects nested 10,000 deep")
        << '[' + QByteArray(R"({"versions":)").repeated(10000) + '1' + QByteArray(10000, '}') + ']';
    QTest::newRow("something behind the end") << sound + "x";
    QTest::newRow("comment") << "/* a */" + sound;
    QTest::newRow("number beyond every number") << QByteArray(R"([{"id": 1e400}])");
}

void HostileCatalogueTest::brokenBytesGiveNoPackages()
{
    QFETCH(QByteArray, bytes);
    QCOMPARE(parseCatalogue(bytes, QStringLiteral("en")).size(), 0);
}

void HostileCatalogueTest::byteOrderMarkIsPassedOver()
{
    QCOMPARE(parseCatalogue("\xef\xbb\xbf[{\"id\": 7}]", QString()).size(), 1);
}

void HostileCatalogueTest::zeroCharactersAndHalfPairsStay()
{
    const PackageList packages = parseCatalogue(
        R"([{"name": {"en": "a\u0000b\ud800"}, "versions": [{"version": "1\u0000"}]}])",
        QStringLiteral("en"));
    QCOMPARE(packages.size(), 1);
    QCOMPARE(packages.first()->name().left(3), zeroInside());
    QCOMPARE(packages.first()->newestVersion(), QString(QLatin1String("1\0", 2)));
}

void HostileCatalogueTest::hundredThousandEmptyPackagesAreListed()
{
    for (int number = 0; number < 100000; ++number)
        m_engine->offerObject({});
    QVERIFY(m_engine->refresh());
    QCOMPARE(m_engine->controller().packages().size(), 100000);
    QCOMPARE(m_engine->package(0), m_engine->controller().packages().first());
    QCOMPARE(m_engine->package(0)->state(), Package::AVAILABLE);
}

void HostileCatalogueTest::hugeTextsAreListed()
{
    const QString huge(1000000, QLatin1Char('x'));
    const QJsonObject text{{QStringLiteral("en"), huge}};
    m_engine->offerObject({{QStringLiteral("id"), 7},
                           {QStringLiteral("name"), text},
                           {QStringLiteral("type"), huge},
                           {QStringLiteral("versions"),
                            QJsonArray{QJsonObject{{QStringLiteral("version"), huge}},
                                       QJsonObject{{QStringLiteral("version"),
                                                    QStringLiteral("1.").repeated(500000)}}}}});
    QVERIFY(m_engine->refresh());
    QCOMPARE(m_engine->package(7)->name(), huge);
    QCOMPARE(m_engine->package(7)->versions().size(), 2);
    // Numbers come before what has none, however many they are.
    QVERIFY(m_engine->package(7)->newestVersion().startsWith(QLatin1Char('1')));
}

void HostileCatalogueTest::packageWithoutAnAddressIsADownloadError_data()
{
    QTest::addColumn<QJsonValue>("link");
    QTest::newRow("missing") << QJsonValue(QJsonValue::Undefined);
    QTest::newRow("null") << QJsonValue(QJsonValue::Null);
    QTest::newRow("number") << QJsonValue(3);
    QTest::newRow("array") << QJsonValue(QJsonArray{QStringLiteral("http://localhost/")});
    QTest::newRow("empty") << QJsonValue(QString());
    QTest::newRow("no address") << QJsonValue(QStringLiteral("no address"));
    QTest::newRow("unknown scheme") << QJsonValue(QStringLiteral("gopher://localhost/a.zip"));
    QTest::newRow("zero character") << QJsonValue(zeroInside());
    QTest::newRow("long") << QJsonValue(QString(100000, QLatin1Char('x')));
}

void HostileCatalogueTest::packageWithoutAnAddressIsADownloadError()
{
    QFETCH(QJsonValue, link);
    m_engine->offerObject(
        {{QStringLiteral("id"), 7},
         {QStringLiteral("versions"),
          QJsonArray{QJsonObject{{QStringLiteral("version"), QStringLiteral("1.0")},
                                 {QStringLiteral("link"), link}}}}});
    m_engine->offer({8});
    QVERIFY(m_engine->refresh());
    QVERIFY(!m_engine->installAndWait(7));
    QCOMPARE(m_engine->package(7)->state(), Package::DOWNLOAD_ERROR);
    QVERIFY(m_engine->installAndWait(8));
}

void HostileCatalogueTest::negativeIdIsAnId()
{
    m_engine->offer({std::numeric_limits<int>::min()});
    Offer dependant{-3};
    dependant.depends = QStringList{QStringLiteral("-2147483648:1.0")};
    dependant.remove = QStringList{QStringLiteral("package--3")};
    m_engine->offer(dependant);
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(-3));
    QCOMPARE(m_engine->recordedStatus(std::numeric_limits<int>::min()), 1);
    QCOMPARE(m_engine->recordedStatus(-3), 1);
    m_engine->controller().uninstall(m_engine->package(std::numeric_limits<int>::min()));
    QCOMPARE(m_engine->recordedStatus(-3), 0);
    QVERIFY(!QFile::exists(m_engine->simulator(Engine::fileOf(-3))));
}

void HostileCatalogueTest::packagesOfOneIdShareTheirRecord()
{
    m_engine->offer({7, QStringLiteral("1.0")});
    m_engine->server().serve(
        QStringLiteral("/other.zip"),
        m_engine->server().resource(QStringLiteral("/package-7-1.0.zip")).body);
    m_engine->offerObject(
        {{QStringLiteral("id"), 7},
         {QStringLiteral("versions"),
          QJsonArray{QJsonObject{
              {QStringLiteral("version"), QStringLiteral("2.0")},
              {QStringLiteral("link"), m_engine->server().url(QStringLiteral("/other.zip"))},
              {QStringLiteral("install"),
               QJsonObject{{QStringLiteral("extract"), QStringLiteral("second")}}},
              {QStringLiteral("uninstall"),
               QJsonObject{{QStringLiteral("remove"), QJsonArray{QStringLiteral("second")}}}}}}}});
    QVERIFY(m_engine->refresh());
    const PackageList packages = m_engine->controller().packages();
    QCOMPARE(packages.size(), 2);
    // The first one counts wherever an id is looked up.
    QCOMPARE(m_engine->package(7), packages.first());
    QCOMPARE(m_engine->install(7), QStringLiteral("1.0"));
    // Both at once would write one record in turns; the second one has to wait for the first.
    QString version;
    m_engine->controller().install(packages.last(), version);
    QCOMPARE(packages.last()->state(), Package::AVAILABLE);
    QVERIFY(m_engine->waitUntilSettled(7));
    m_engine->controller().install(packages.last(), version);
    QTRY_COMPARE(packages.last()->state(), Package::INSTALLED);
    QTRY_COMPARE(m_engine->recordedVersion(7), QStringLiteral("2.0"));
    QVERIFY(QFile::exists(m_engine->simulator(QStringLiteral("second/") + Engine::fileOf(7))));
    QVERIFY(QFile::exists(m_engine->simulator(Engine::fileOf(7))));
    // The record is that of the id, so the next list shows both as installed.
    QVERIFY(m_engine->refresh());
    QCOMPARE(m_engine->controller().packages().first()->state(), Package::INSTALLED);
    QCOMPARE(m_engine->controller().packages().last()->state(), Package::INSTALLED);
    m_engine->controller().uninstall(m_engine->controller().packages().last());
    QVERIFY(!QFile::exists(m_engine->simulator(QStringLiteral("second"))));
    QCOMPARE(m_engine->recordedStatus(7), 0);
}

void HostileCatalogueTest::ringOfPackagesIsInstalledAndRemoved()
{
    for (int id = 1; id <= 5; ++id) {
        Offer offer{id};
        offer.depends = QStringList{QString::number(id), QString::number(id % 5 + 1),
                                    QStringLiteral("1:0"), QStringLiteral("%1:").arg(id % 5 + 1)};
        offer.remove = QStringList{QStringLiteral("package-%1").arg(id)};
        m_engine->offer(offer);
    }
    QVERIFY(m_engine->refresh());
    m_engine->install(3);
    for (int id = 1; id <= 5; ++id) {
        QVERIFY(m_engine->waitUntilSettled(id));
        QCOMPARE(m_engine->package(id)->state(), Package::INSTALLED);
    }
    m_engine->controller().uninstall(m_engine->package(4));
    for (int id = 1; id <= 5; ++id) {
        QCOMPARE(m_engine->package(id)->state(), Package::AVAILABLE);
        QVERIFY(!QFile::exists(m_engine->simulator(Engine::fileOf(id))));
    }
}

void HostileCatalogueTest::manyEntriesForManyPackagesOfOneIdAreAnswered()
{
    QStringList entries;
    for (int number = 0; number < 60000; ++number) {
        m_engine->offerObject({});
        entries.append(QStringLiteral("no id"));
    }
    m_engine->offerObject(
        {{QStringLiteral("id"), 7},
         {QStringLiteral("versions"),
          QJsonArray{
              QJsonObject{{QStringLiteral("version"), QStringLiteral("1.0")},
                          {QStringLiteral("depends"), QJsonArray::fromStringList(entries)}}}}});
    QVERIFY(m_engine->refresh());
    const PackagePointer package = m_engine->package(7);
    QCOMPARE(m_engine->controller().resolvedDependencies(package, QString()).size(), 0);
    QCOMPARE(m_engine->controller().dependents(m_engine->package(0), QString()).size(), 0);
}

void HostileCatalogueTest::absurdVersionsComeBackLetterForLetter_data()
{
    QTest::addColumn<QString>("version");
    QTest::newRow("empty") << QString();
    QTest::newRow("blank") << QStringLiteral(" ");
    QTest::newRow("word") << QStringLiteral("beta");
    QTest::newRow("blanks around") << QStringLiteral(" 1.0 ");
    QTest::newRow("line feeds") << QStringLiteral("1.0\n2.0\r\n");
    QTest::newRow("negative") << QStringLiteral("-1.0");
    QTest::newRow("empty segment") << QStringLiteral("1..2");
    QTest::newRow("beyond an int") << QStringLiteral("99999999999999999999.1");
    QTest::newRow("exponent") << QStringLiteral("1e400");
    QTest::newRow("not a number") << QStringLiteral("nan");
    QTest::newRow("infinite") << QStringLiteral("Inf");
    QTest::newRow("hexadecimal") << QStringLiteral("0x10");
    QTest::newRow("zero character") << QString(QLatin1String("1.0\0.5", 6));
    QTest::newRow("zero character behind a number") << QString(QLatin1String("1.10\0", 5));
    QTest::newRow("quotes") << QStringLiteral("1'; DROP TABLE packages; --");
    QTest::newRow("placeholder") << QStringLiteral(":package_id");
    QTest::newRow("many segments") << QStringLiteral("1.").repeated(50000);
    QTest::newRow("other digits") << QStringLiteral("\u0661.\u0662");
    QTest::newRow("wide blank") << QStringLiteral("\u00a01.0");
    QTest::newRow("rich text") << QStringLiteral("<b>1.0</b>");
}

void HostileCatalogueTest::absurdVersionsComeBackLetterForLetter()
{
    QFETCH(QString, version);
    Offer offer{7, version};
    offer.link = QStringLiteral("/absurd.zip");
    offer.remove = QStringList{QStringLiteral("package-7")};
    m_engine->offer(offer);
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7));
    for (int start = 0; start < 2; ++start) {
        QCOMPARE(m_engine->package(7)->state(), Package::INSTALLED);
        QCOMPARE(m_engine->controller().installedVersion(m_engine->package(7)), version);
        m_engine->stop();
        QVERIFY(m_engine->refresh());
    }
    m_engine->controller().uninstall(m_engine->package(7));
    QVERIFY(!QFile::exists(m_engine->simulator(Engine::fileOf(7))));
}

KAVO_TEST_MAIN(HostileCatalogueTest)
#include "HostileCatalogueTest.moc"
