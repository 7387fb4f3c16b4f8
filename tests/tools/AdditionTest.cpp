#include "tools/publish/Addition.h"
#include "packages/catalogue/CatalogueParser.h"
#include "tests/support/TestMain.h"
#include "tests/tools/CatalogueCorpus.h"
#include "tests/tools/PublishedArchive.h"
#include "tools/check/CatalogueCheck.h"

using namespace Kavo::Testing;
using namespace Kavo::Tools;

using Outcome = Addition::Outcome;

namespace {

/// Versions 2.0 and 1.0 of package 5; 7 is another package.
QByteArray offer()
{
    const QByteArray text =
        "[\n"
        "  { 'id': 5, 'name': { 'en': 'Piers' }, 'type': 'PLUGIN', 'versions': [\n"
        "    {\n"
        "      'version': '2.0',\n"
        "      'link': 'https://a.example/v/piers-2.0.zip',\n"
        "      'depends': ['7:2'],\n"
        "      'install': {\n"
        "        'extract': 'Custom Scenery',\n"
        "        'preserve': ['Custom Scenery/Piers/two.ini'],\n"
        "        'backup': ['Resources/two.png']\n"
        "      },\n"
        "      'uninstall': { 'remove': ['Custom Scenery/Piers', 'Resources/two.png'] }\n"
        "    },\n"
        "    {\n"
        "      'version': '1.0',\n"
        "      'link': 'https://a.example/v/piers-1.0.zip',\n"
        "      'depends': ['7'],\n"
        "      'log': ['First'],\n"
        "      'install': {\n"
        "        'extract': 'Resources/plugins',\n"
        "        'preserve': ['Resources/plugins/Piers/one.ini'],\n"
        "        'backup': ['Resources/one.png']\n"
        "      },\n"
        "      'uninstall': { 'remove': ['Resources/plugins/Piers', 'Resources/one.png'] }\n"
        "    }\n"
        "  ] },\n"
        "  { 'id': 7, 'name': { 'en': 'Library' }, 'type': 'LIBRARY', 'versions': [\n"
        "    { 'version': '2.1', 'link': 'https://a.example/v/library.zip',\n"
        "      'uninstall': { 'remove': ['Custom Scenery/Library'] } }\n"
        "  ] }\n"
        "]\n";
    return QByteArray(text).replace('\'', '"');
}

bool isErrorOf(const QString &finding, const QStringList &kinds)
{
    const QString name = finding.section(QLatin1Char(' '), 0, 0);
    const auto rules = allRules();
    return std::any_of(rules.cbegin(), rules.cend(), [&](const RuleText &rule) {
        return name == QLatin1String(rule.name) && rule.severity == Severity::ERROR &&
               kinds.contains(name.section(QLatin1Char('/'), 0, 0));
    });
}

QStringList rulesOf(const CheckReport &report)
{
    QStringList names;
    for (const Finding &finding : report.findings())
        names.append(QString::fromLatin1(describe(finding.rule).name));
    return names;
}

/// Whether a document has only grown, at one place; blanks there may have given way.
bool hasOnlyGrown(const QByteArray &before, const QByteArray &after)
{
    const auto start = std::mismatch(before.cbegin(), before.cend(), after.cbegin(), after.cend());
    const int same = static_cast<int>(start.first - before.cbegin());
    const int rest = before.size() - same;
    int tail = 0;
    while (tail < rest && before.at(before.size() - 1 - tail) == after.at(after.size() - 1 - tail))
        ++tail;
    return before.mid(same, rest - tail).trimmed().isEmpty();
}

} // namespace

/// What a new version gets from the one before it, and which catalogues and orders are refused.
class AdditionTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QCOMPARE(m_archive.outcome(), ArchiveLook::Outcome::GOOD); }
    void rulesComeFromTheVersionBefore_data();
    void rulesComeFromTheVersionBefore();
    void whatIsSaidCounts();
    void emptyTextsSayThatThereIsNothing();
    void addressStandsBesideTheNewest_data();
    void addressStandsBesideTheNewest();
    void ordersThatLackSomethingAreRefused_data();
    void ordersThatLackSomethingAreRefused();
    void versionThatIsThereIsRefused_data();
    void versionThatIsThereIsRefused();
    void catalogueThatWouldBeWrongIsRefused_data();
    void catalogueThatWouldBeWrongIsRefused();
    void faultsElsewhereAreNoHindrance();
    void newFaultIsNotTakenForOneBeforeIt();
    void doubtfulCatalogueIsRefused_data();
    void doubtfulCatalogueIsRefused();
    void versionsOfOthersMayBeDoubtful();

private:
    Addition::Outcome run(Addition &addition) const;

    const PublishedArchive m_archive{QStringLiteral("piers new.zip"),
                                     {{QStringLiteral("Piers/64/lin.xpl"), "code"}}};
};

Addition::Outcome AdditionTest::run(Addition &addition) const
{
    const Outcome outcome = addition.prepare();
    return outcome == Outcome::GOOD ? addition.carryOut(m_archive.look()) : outcome;
}

void AdditionTest::rulesComeFromTheVersionBefore_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("from");

    QTest::newRow("newest") << QStringLiteral("2.1") << QStringLiteral("two");
    QTest::newRow("between") << QStringLiteral("1.5") << QStringLiteral("one");
}

void AdditionTest::rulesComeFromTheVersionBefore()
{
    QFETCH(QString, version);
    QFETCH(QString, from);
    const bool isTwo = from == QLatin1String("two");
    Addition addition(offer(), orderFor(5, version));
    QVERIFY2(run(addition) == Outcome::GOOD, qPrintable(addition.fault()));
    const auto packages = Kavo::Models::parseCatalogue(addition.result(), QStringLiteral("en"));
    const auto found = packages.first()->findVersion(version);
    QCOMPARE(packages.first()->versions().size(), 3);
    QCOMPARE(found->version, version);
    const QString folder =
        isTwo ? QStringLiteral("Custom Scenery") : QStringLiteral("Resources/plugins");
    QCOMPARE(found->depends, QStringList(isTwo ? QStringLiteral("7:2") : QStringLiteral("7")));
    QCOMPARE(found->install->extract, folder);
    QCOMPARE(found->install->preserve,
             QStringList(folder + QStringLiteral("/Piers/%1.ini").arg(from)));
    QCOMPARE(found->install->backup, QStringList(QStringLiteral("Resources/%1.png").arg(from)));
    QStringList removed{folder + QStringLiteral("/Piers"),
                        QStringLiteral("Resources/%1.png").arg(from)};
    removed.sort();
    QCOMPARE(found->uninstall->remove, removed);
    QCOMPARE(found->log, QStringList());
    QVERIFY(found->size == QFileInfo(m_archive.path()).size());
    QCOMPARE(found->sha256, QString::fromLatin1(QCryptographicHash::hash(readFile(m_archive.path()),
                                                                         QCryptographicHash::Sha256)
                                                    .toHex()));
}

void AdditionTest::whatIsSaidCounts()
{
    AdditionOrder order = orderFor(5, QStringLiteral("2.1"));
    order.link = QStringLiteral("https://b.example/x.zip");
    order.extract = QStringLiteral("Resources/plugins/Own");
    order.depends = QStringList(QStringLiteral("7:2.1"));
    order.preserve = QStringList{QStringLiteral("a"), QStringLiteral("b")};
    order.backup = QStringList(QStringLiteral("c"));
    order.remove = QStringList{QStringLiteral("z"), QStringLiteral("d")};
    order.log = QStringList{QStringLiteral("One"), QStringLiteral("Two")};
    Addition addition(offer(), order);
    QVERIFY2(run(addition) == Outcome::GOOD, qPrintable(addition.fault()));
    const auto packages = Kavo::Models::parseCatalogue(addition.result(), QStringLiteral("en"));
    const auto found = packages.first()->versions().first();
    QCOMPARE(found->link, *order.link);
    QCOMPARE(found->install->extract, *order.extract);
    QCOMPARE(found->depends, *order.depends);
    QCOMPARE(found->install->preserve, *order.preserve);
    QCOMPARE(found->install->backup, *order.backup);
    QCOMPARE(found->uninstall->remove, *order.remove);
    QCOMPARE(found->log, order.log);
}

void AdditionTest::emptyTextsSayThatThereIsNothing()
{
    AdditionOrder order = orderFor(5, QStringLiteral("2.1"));
    order.depends = order.preserve = order.backup = order.remove = QStringList(QString());
    order.extract = QString();
    Addition addition(offer(), order);
    QVERIFY2(run(addition) == Outcome::GOOD, qPrintable(addition.fault()));
    QVERIFY(addition.version().depends.isEmpty() &&
            addition.version().install->preserve.isEmpty() &&
            addition.version().install->backup.isEmpty() &&
            addition.version().uninstall->remove.isEmpty());
    QCOMPARE(addition.version().install->extract, QString());
    // That is worth a word.
    QCOMPARE(rulesOf(addition.findings()), QStringList({QStringLiteral("extract/whole-simulator"),
                                                        QStringLiteral("remove/none")}));
}

void AdditionTest::addressStandsBesideTheNewest_data()
{
    QTest::addColumn<QByteArray>("link");
    QTest::addColumn<QString>("expected");

    const QString none;
    QTest::newRow("plain") << QByteArray("https://a.example/v/piers-2.0.zip")
                           << QStringLiteral("https://a.example/v/piers%20new.zip");
    QTest::newRow("top") << QByteArray("http://a.example:81/x.7z")
                         << QStringLiteral("http://a.example:81/piers%20new.zip");
    QTest::newRow("query") << QByteArray("https://a.example/get?file=x.zip") << none;
    QTest::newRow("fragment") << QByteArray("https://a.example/get.zip#x") << none;
    QTest::newRow("folder") << QByteArray("https://a.example/v/") << none;
    QTest::newRow("server") << QByteArray("https://a.example") << none;
    QTest::newRow("folder of the version") << QByteArray("https://a.example/2.0/piers.zip") << none;
    QTest::newRow("no address") << QByteArray("piers-2.0.zip") << none;
    QTest::newRow("empty") << QByteArray() << none;
}

void AdditionTest::addressStandsBesideTheNewest()
{
    QFETCH(QByteArray, link);
    QFETCH(QString, expected);
    const QByteArray changed = offer().replace("https://a.example/v/piers-2.0.zip", link);
    Addition addition(changed, orderFor(5, QStringLiteral("3.0")));
    QCOMPARE(run(addition), expected.isEmpty() ? Outcome::NOT_UNDERSTOOD : Outcome::GOOD);
    QCOMPARE(addition.version().link, expected);
    AdditionOrder order = orderFor(5, QStringLiteral("3.0"));
    order.linkPrefix = QStringLiteral("https://c.example/d");
    Addition told(changed, order);
    QCOMPARE(run(told), Outcome::GOOD);
    QCOMPARE(told.version().link, QStringLiteral("https://c.example/d/piers%20new.zip"));
}

void AdditionTest::ordersThatLackSomethingAreRefused_data()
{
    QTest::addColumn<int>("id");
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isExtracted");
    QTest::addColumn<QString>("fault");

    const QString version = QStringLiteral("3.0");
    const QString name = QStringLiteral("New");
    QTest::newRow("name of a new package")
        << 9 << version << QString() << true << QStringLiteral("needs --name");
    QTest::newRow("name of a package that is there")
        << 5 << version << name << true << QStringLiteral("for a new one");
    QTest::newRow("folder of a new package")
        << 9 << version << name << false << QStringLiteral("--extract");
    QTest::newRow("folder of the first version")
        << 5 << QStringLiteral("0.9") << QString() << false << QStringLiteral("--extract");
    QTest::newRow("address of a new package")
        << 9 << version << name << true << QStringLiteral("--link");
    QTest::newRow("version of letters")
        << 5 << QStringLiteral("new") << QString() << true << QStringLiteral("dotted numbers");
    QTest::newRow("empty version")
        << 5 << QString() << QString() << true << QStringLiteral("dotted numbers");
}

void AdditionTest::ordersThatLackSomethingAreRefused()
{
    QFETCH(int, id);
    QFETCH(QString, version);
    QFETCH(QString, name);
    QFETCH(bool, isExtracted);
    QFETCH(QString, fault);
    AdditionOrder order = orderFor(id, version);
    order.package.name = name;
    if (isExtracted)
        order.extract = QStringLiteral("Resources/plugins");
    Addition addition(offer(), order);
    QCOMPARE(run(addition), Outcome::NOT_UNDERSTOOD);
    QVERIFY2(addition.fault().contains(fault), qPrintable(addition.fault()));
}

void AdditionTest::versionThatIsThereIsRefused_data()
{
    QTest::addColumn<QString>("version");

    QTest::newRow("same text") << QStringLiteral("1.0");
    QTest::newRow("same numbers") << QStringLiteral("2.00");
    QTest::newRow("same numbers with an end") << QStringLiteral("2.0b");
}

void AdditionTest::versionThatIsThereIsRefused()
{
    QFETCH(QString, version);
    AdditionOrder order = orderFor(5, version);
    order.extract = QStringLiteral("Resources/plugins");
    Addition addition(offer(), order);
    QCOMPARE(run(addition), Outcome::REFUSED);
    QVERIFY2(addition.fault().contains(QStringLiteral("already")), qPrintable(addition.fault()));
}

void AdditionTest::catalogueThatWouldBeWrongIsRefused_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QStringList>("findings");

    const auto row = [](const char *name, const char *key, const char *value, const char *finding) {
        QTest::newRow(name) << QString::fromLatin1(key) << QString::fromUtf8(value)
                            << QStringList(QString::fromLatin1(finding));
    };
    row("address of another version", "link", "https://a.example/v/piers-1.0.zip",
        "address/shared-by-versions");
    row("no address", "link", "piers", "address/invalid");
    row("other scheme", "link", "ftp://a.example/p.zip", "address/scheme");
    row("unpacked outside", "extract", "../x", "path/outside");
    row("unknown dependency", "depends", "99", "dependency/unknown-package");
    row("dependency too new", "depends", "7:3", "dependency/minimum-not-offered");
    row("everybody's folder", "remove", "Custom Scenery", "path/belongs-to-all");
    row("absolute rule", "preserve", "/etc/passwd", "path/absolute");
    row("climbing rule", "backup", "../x", "path/climbs");
}

void AdditionTest::catalogueThatWouldBeWrongIsRefused()
{
    QFETCH(QString, key);
    QFETCH(QString, value);
    QFETCH(QStringList, findings);
    AdditionOrder order = orderFor(5, QStringLiteral("3.0"));
    if (key == QLatin1String("link"))
        order.link = value;
    if (key == QLatin1String("extract"))
        order.extract = value;
    if (key == QLatin1String("depends"))
        order.depends = QStringList(value);
    if (key == QLatin1String("remove"))
        order.remove = QStringList(value);
    if (key == QLatin1String("preserve"))
        order.preserve = QStringList(value);
    if (key == QLatin1String("backup"))
        order.backup = QStringList(value);
    Addition addition(offer(), order);
    QCOMPARE(run(addition), Outcome::REFUSED);
    QVERIFY(rulesOf(addition.findings()).contains(findings.first()));
    QCOMPARE(addition.findings().count(Severity::ERROR),
             static_cast<int>(addition.findings().findings().size()));
}

/// Errors that were there already stay a matter of their own, in front of the place and behind it.
void AdditionTest::faultsElsewhereAreNoHindrance()
{
    QByteArray changed = offer().replace("\"depends\": [\"7\"]", "\"depends\": [\"99\"]");
    changed.replace("https://a.example/v/library.zip", "");
    changed.replace("[\n  { \"id\": 5", "[\n  { \"id\": 1 },\n  { \"id\": 5");
    QVERIFY(checkCatalogue(changed).count(Severity::ERROR) >= 4);
    Addition addition(changed, orderFor(5, QStringLiteral("3.0")));
    QVERIFY2(run(addition) == Outcome::GOOD, qPrintable(addition.fault()));
    QCOMPARE(rulesOf(addition.findings()), QStringList());
    QVERIFY(hasOnlyGrown(changed, addition.result()));
}

/// However far apart they are: places are compared as they were before.
void AdditionTest::newFaultIsNotTakenForOneBeforeIt()
{
    AdditionOrder order = orderFor(5, QStringLiteral("3.0"));
    order.link = QStringLiteral("ftp://a.example/3.zip");
    const QByteArray other = "[\n  {\"id\": 4, \"name\": {\"en\": \"Four\"}, \"versions\": [{"
                             "\"version\": \"1\", \"link\": \"ftp://a.example/4.zip\"}]},";
    for (int blanks = 0; blanks < 600; ++blanks) {
        const QByteArray changed = offer().replace(0, 1, other + QByteArray(blanks, ' '));
        Addition addition(changed, order);
        QCOMPARE(run(addition), Outcome::REFUSED);
        QCOMPARE(rulesOf(addition.findings()), QStringList(QStringLiteral("address/scheme")));
    }
}

void AdditionTest::doubtfulCatalogueIsRefused_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("isDoubtful");

    const QStringList kinds{QStringLiteral("json"), QStringLiteral("key"), QStringLiteral("type"),
                            QStringLiteral("id"), QStringLiteral("version")};
    for (const CorpusCatalogue &catalogue : corpusCatalogues()) {
        const auto &findings = catalogue.findings;
        const bool isDoubtful =
            std::any_of(findings.cbegin(), findings.cend(),
                        [&kinds](const QString &finding) { return isErrorOf(finding, kinds); });
        QTest::newRow(qPrintable(catalogue.name)) << catalogue.bytes << isDoubtful;
    }
}

/// Whatever is not refused only grows, and clients read all that they have read before.
void AdditionTest::doubtfulCatalogueIsRefused()
{
    QFETCH(QByteArray, bytes);
    QFETCH(bool, isDoubtful);
    AdditionOrder order = orderFor(5, QStringLiteral("99.0"));
    order.extract = QStringLiteral("Resources/plugins");
    order.link = QStringLiteral("https://a.example/99.zip");
    order.depends = QStringList(QString());
    order.preserve = order.backup = order.depends;
    order.remove = QStringList(QStringLiteral("Resources/plugins/Ninety"));
    const auto before = Kavo::Models::parseCatalogue(bytes, QStringLiteral("en"));
    const bool isThere = std::any_of(before.cbegin(), before.cend(),
                                     [](const auto &package) { return package->id() == 5; });
    if (!isThere)
        order.package.name = QStringLiteral("Piers");
    Addition addition(bytes, order);
    const Outcome outcome = run(addition);
    QVERIFY2(outcome == (isDoubtful ? Outcome::REFUSED : Outcome::GOOD),
             qPrintable(addition.fault()));
    if (isDoubtful) {
        QVERIFY(!addition.findings().findings().empty());
        return;
    }
    QVERIFY(hasOnlyGrown(bytes, addition.result()));
    const auto after = Kavo::Models::parseCatalogue(addition.result(), QStringLiteral("en"));
    QCOMPARE(after.size(), before.size() + (isThere ? 0 : 1));
    int versions = 0;
    for (const auto &package : after)
        versions += package->versions().size();
    for (const auto &package : before)
        versions -= package->versions().size();
    QCOMPARE(versions, 1);
}

void AdditionTest::versionsOfOthersMayBeDoubtful()
{
    const QByteArray changed = offer().replace("\"2.1\"", "\"beta\"");
    AdditionOrder order = orderFor(5, QStringLiteral("3.0"));
    order.depends = QStringList(QString());
    Addition addition(changed, order);
    QVERIFY2(run(addition) == Outcome::GOOD, qPrintable(addition.fault()));
    Addition same(changed, orderFor(7, QStringLiteral("3.0")));
    QCOMPARE(run(same), Outcome::REFUSED);
    QCOMPARE(rulesOf(same.findings()), QStringList(QStringLiteral("version/not-numbers")));
}

KAVO_TEST_MAIN(AdditionTest)
#include "AdditionTest.moc"
