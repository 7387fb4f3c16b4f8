#include "tools/publish/Addition.h"
#include "packages/catalogue/CatalogueParser.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"
#include "tests/tools/CatalogueCorpus.h"
#include "tests/tools/PublishedArchive.h"
#include "tools/check/CatalogueCheck.h"

using namespace Kavo::Testing;
using namespace Kavo::Tools;

using Outcome = Addition::Outcome;

namespace {

/// A catalogue with the versions 2.0 and 1.0 of package 5, and with package 7.
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

/// Whether the only change is text inserted at one place. White space at that place may have been
/// replaced.
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

/// Tests what a new version takes over from the previous one, and which catalogues and orders are
/// refused.
class AdditionTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QCOMPARE(m_archive.outcome(), ArchiveLook::Outcome::GOOD); }

    void rulesComeFromTheVersionBefore_data()
    {
        Rows<QString, QString>().row("newest", "2.1", "two").row("between", "1.5", "one");
    }

    void rulesComeFromTheVersionBefore()
    {
        const auto [version, from] = Rows<QString, QString>::current();
        const bool isTwo = from == "two"_s;
        Addition addition(offer(), orderFor(5, version));
        QVERIFY2(run(addition) == Outcome::GOOD, qPrintable(addition.fault()));
        const auto packages = Kavo::Models::parseCatalogue(addition.result(), "en"_s);
        const auto found = packages.first()->findVersion(version);
        QCOMPARE(packages.first()->versions().size(), 3);
        QCOMPARE(found->version, version);
        const QString folder = isTwo ? "Custom Scenery"_s : "Resources/plugins"_s;
        QCOMPARE(found->depends, QStringList(isTwo ? "7:2"_s : "7"_s));
        QCOMPARE(found->install->extract, folder);
        QCOMPARE(found->install->preserve, QStringList(folder + "/Piers/%1.ini"_s.arg(from)));
        QCOMPARE(found->install->backup, QStringList("Resources/%1.png"_s.arg(from)));
        QStringList removed{folder + "/Piers"_s, "Resources/%1.png"_s.arg(from)};
        removed.sort();
        QCOMPARE(found->uninstall->remove, removed);
        QCOMPARE(found->log, QStringList());
        QVERIFY(found->size == QFileInfo(m_archive.path()).size());
        QCOMPARE(found->sha256,
                 QString::fromLatin1(QCryptographicHash::hash(readFile(m_archive.path()),
                                                              QCryptographicHash::Sha256)
                                         .toHex()));
    }

    void givenValuesReplaceThoseOfTheVersionBefore()
    {
        AdditionOrder order = orderFor(5, "2.1"_s);
        order.link = "https://b.example/x.zip"_s;
        order.extract = "Resources/plugins/Own"_s;
        order.depends = QStringList("7:2.1"_s);
        order.preserve = QStringList{"a"_s, "b"_s};
        order.backup = QStringList("c"_s);
        order.remove = QStringList{"z"_s, "d"_s};
        order.log = QStringList{"One"_s, "Two"_s};
        Addition addition(offer(), order);
        QVERIFY2(run(addition) == Outcome::GOOD, qPrintable(addition.fault()));
        const auto packages = Kavo::Models::parseCatalogue(addition.result(), "en"_s);
        const auto found = packages.first()->versions().first();
        QCOMPARE(found->link, *order.link);
        QCOMPARE(found->install->extract, *order.extract);
        QCOMPARE(found->depends, *order.depends);
        QCOMPARE(found->install->preserve, *order.preserve);
        QCOMPARE(found->install->backup, *order.backup);
        QCOMPARE(found->uninstall->remove, *order.remove);
        QCOMPARE(found->log, order.log);
    }

    void emptyTextsSayThatThereIsNothing()
    {
        AdditionOrder order = orderFor(5, "2.1"_s);
        order.depends = order.preserve = order.backup = order.remove = QStringList(QString());
        order.extract = QString();
        Addition addition(offer(), order);
        QVERIFY2(run(addition) == Outcome::GOOD, qPrintable(addition.fault()));
        QVERIFY(addition.version().depends.isEmpty() &&
                addition.version().install->preserve.isEmpty() &&
                addition.version().install->backup.isEmpty() &&
                addition.version().uninstall->remove.isEmpty());
        QCOMPARE(addition.version().install->extract, QString());
        QCOMPARE(rulesOf(addition.findings()),
                 QStringList({"extract/whole-simulator"_s, "remove/none"_s}));
    }

    void linkIsDerivedFromTheNewestVersion_data()
    {
        const QString none;
        Rows<QByteArray, QString>()
            .row("plain", "https://a.example/v/piers-2.0.zip",
                 "https://a.example/v/piers%20new.zip")
            .row("top", "http://a.example:81/x.7z", "http://a.example:81/piers%20new.zip")
            .row("query", "https://a.example/get?file=x.zip", none)
            .row("fragment", "https://a.example/get.zip#x", none)
            .row("folder", "https://a.example/v/", none)
            .row("server", "https://a.example", none)
            .row("folder of the version", "https://a.example/2.0/piers.zip", none)
            .row("no address", "piers-2.0.zip", none)
            .row("empty", {}, none);
    }

    void linkIsDerivedFromTheNewestVersion()
    {
        const auto [link, expected] = Rows<QByteArray, QString>::current();
        const QByteArray changed = offer().replace("https://a.example/v/piers-2.0.zip", link);
        Addition addition(changed, orderFor(5, "3.0"_s));
        QCOMPARE(run(addition), expected.isEmpty() ? Outcome::NOT_UNDERSTOOD : Outcome::GOOD);
        QCOMPARE(addition.version().link, expected);
        AdditionOrder order = orderFor(5, "3.0"_s);
        order.linkPrefix = "https://c.example/d"_s;
        Addition told(changed, order);
        QCOMPARE(run(told), Outcome::GOOD);
        QCOMPARE(told.version().link, "https://c.example/d/piers%20new.zip"_s);
    }

    void ordersThatLackSomethingAreRefused_data()
    {
        const QString version = "3.0"_s;
        const QString name = "New"_s;
        Rows<int, QString, QString, bool, QString>()
            .row("name of a new package", 9, version, "", true, "needs --name")
            .row("name of a package that is there", 5, version, name, true, "for a new one")
            .row("folder of a new package", 9, version, name, false, "--extract")
            .row("folder of the first version", 5, "0.9", "", false, "--extract")
            .row("address of a new package", 9, version, name, true, "--link")
            .row("version of letters", 5, "new", "", true, "dotted numbers")
            .row("empty version", 5, "", "", true, "dotted numbers");
    }

    void ordersThatLackSomethingAreRefused()
    {
        const auto [id, version, name, isExtracted, fault] =
            Rows<int, QString, QString, bool, QString>::current();
        AdditionOrder order = orderFor(id, version);
        order.package.name = name;
        if (isExtracted)
            order.extract = "Resources/plugins"_s;
        Addition addition(offer(), order);
        QCOMPARE(run(addition), Outcome::NOT_UNDERSTOOD);
        QVERIFY2(addition.fault().contains(fault), qPrintable(addition.fault()));
    }

    void versionThatIsThereIsRefused_data()
    {
        Rows<QString>()
            .row("same text", "1.0")
            .row("same numbers", "2.00")
            .row("same numbers with an end", "2.0b");
    }

    void versionThatIsThereIsRefused()
    {
        const auto [version] = Rows<QString>::current();
        AdditionOrder order = orderFor(5, version);
        order.extract = "Resources/plugins"_s;
        Addition addition(offer(), order);
        QCOMPARE(run(addition), Outcome::REFUSED);
        QVERIFY2(addition.fault().contains("already"_s), qPrintable(addition.fault()));
    }

    void catalogueThatWouldBeWrongIsRefused_data()
    {
        Rows<QString, QString, QString>()
            .row("address of another version", "link", "https://a.example/v/piers-1.0.zip",
                 "address/shared-by-versions")
            .row("no address", "link", "piers", "address/invalid")
            .row("other scheme", "link", "ftp://a.example/p.zip", "address/scheme")
            .row("unpacked outside", "extract", "../x", "path/outside")
            .row("unknown dependency", "depends", "99", "dependency/unknown-package")
            .row("dependency too new", "depends", "7:3", "dependency/minimum-not-offered")
            .row("everybody's folder", "remove", "Custom Scenery", "path/belongs-to-all")
            .row("absolute rule", "preserve", "/etc/passwd", "path/absolute")
            .row("climbing rule", "backup", "../x", "path/climbs");
    }

    void catalogueThatWouldBeWrongIsRefused()
    {
        const auto [key, value, finding] = Rows<QString, QString, QString>::current();
        AdditionOrder order = orderFor(5, "3.0"_s);
        if (key == "link"_s)
            order.link = value;
        if (key == "extract"_s)
            order.extract = value;
        if (key == "depends"_s)
            order.depends = QStringList(value);
        if (key == "remove"_s)
            order.remove = QStringList(value);
        if (key == "preserve"_s)
            order.preserve = QStringList(value);
        if (key == "backup"_s)
            order.backup = QStringList(value);
        Addition addition(offer(), order);
        QCOMPARE(run(addition), Outcome::REFUSED);
        QVERIFY(rulesOf(addition.findings()).contains(finding));
        QCOMPARE(addition.findings().count(Severity::ERROR),
                 static_cast<int>(addition.findings().findings().size()));
    }

    /// Errors that the catalogue already had, before or after the new entry, are not reported.
    void faultsElsewhereAreNoHindrance()
    {
        QByteArray changed = offer().replace(R"("depends": ["7"])", R"("depends": ["99"])");
        changed.replace("https://a.example/v/library.zip", "");
        changed.replace("[\n  { \"id\": 5", "[\n  { \"id\": 1 },\n  { \"id\": 5");
        QVERIFY(checkCatalogue(changed).count(Severity::ERROR) >= 4);
        Addition addition(changed, orderFor(5, "3.0"_s));
        QVERIFY2(run(addition) == Outcome::GOOD, qPrintable(addition.fault()));
        QCOMPARE(rulesOf(addition.findings()), QStringList());
        QVERIFY(hasOnlyGrown(changed, addition.result()));
    }

    /// Findings that the catalogue already had are recognized by their former positions. The loop
    /// varies the positions, because a new finding must never be taken for one of these.
    void newFaultIsNotTakenForOneBeforeIt()
    {
        AdditionOrder order = orderFor(5, "3.0"_s);
        order.link = "ftp://a.example/3.zip"_s;
        const QByteArray other = "[\n  {\"id\": 4, \"name\": {\"en\": \"Four\"}, \"versions\": [{"
                                 "\"version\": \"1\", \"link\": \"ftp://a.example/4.zip\"}]},";
        for (int blanks = 0; blanks < 600; ++blanks) {
            const QByteArray changed = offer().replace(0, 1, other + QByteArray(blanks, ' '));
            Addition addition(changed, order);
            QCOMPARE(run(addition), Outcome::REFUSED);
            QCOMPARE(rulesOf(addition.findings()), QStringList("address/scheme"_s));
        }
    }

    void doubtfulCatalogueIsRefused_data()
    {
        Rows<QByteArray, bool> rows;
        const QStringList kinds{"json"_s, "key"_s, "type"_s, "id"_s, "version"_s};
        for (const CorpusCatalogue &catalogue : corpusCatalogues()) {
            const auto &findings = catalogue.findings;
            const bool isDoubtful =
                std::any_of(findings.cbegin(), findings.cend(),
                            [&kinds](const QString &finding) { return isErrorOf(finding, kinds); });
            rows.row(qPrintable(catalogue.name), catalogue.bytes, isDoubtful);
        }
    }

    /// If a catalogue is accepted, text is only inserted, and clients still read all former
    /// entries.
    void doubtfulCatalogueIsRefused()
    {
        const auto [bytes, isDoubtful] = Rows<QByteArray, bool>::current();
        AdditionOrder order = orderFor(5, "99.0"_s);
        order.extract = "Resources/plugins"_s;
        order.link = "https://a.example/99.zip"_s;
        order.depends = QStringList(QString());
        order.preserve = order.backup = order.depends;
        order.remove = QStringList("Resources/plugins/Ninety"_s);
        const auto before = Kavo::Models::parseCatalogue(bytes, "en"_s);
        const bool isThere = std::any_of(before.cbegin(), before.cend(),
                                         [](const auto &package) { return package->id() == 5; });
        if (!isThere)
            order.package.name = "Piers"_s;
        Addition addition(bytes, order);
        const Outcome outcome = run(addition);
        QVERIFY2(outcome == (isDoubtful ? Outcome::REFUSED : Outcome::GOOD),
                 qPrintable(addition.fault()));
        if (isDoubtful) {
            QVERIFY(!addition.findings().findings().empty());
            return;
        }
        QVERIFY(hasOnlyGrown(bytes, addition.result()));
        const auto after = Kavo::Models::parseCatalogue(addition.result(), "en"_s);
        QCOMPARE(after.size(), before.size() + (isThere ? 0 : 1));
        int versions = 0;
        for (const auto &package : after)
            versions += package->versions().size();
        for (const auto &package : before)
            versions -= package->versions().size();
        QCOMPARE(versions, 1);
    }

    void versionsOfOthersMayBeDoubtful()
    {
        const QByteArray changed = offer().replace("\"2.1\"", "\"beta\"");
        AdditionOrder order = orderFor(5, "3.0"_s);
        order.depends = QStringList(QString());
        Addition addition(changed, order);
        QVERIFY2(run(addition) == Outcome::GOOD, qPrintable(addition.fault()));
        Addition same(changed, orderFor(7, "3.0"_s));
        QCOMPARE(run(same), Outcome::REFUSED);
        QCOMPARE(rulesOf(same.findings()), QStringList("version/not-numbers"_s));
    }

private:
    Addition::Outcome run(Addition &addition) const
    {
        const Outcome outcome = addition.prepare();
        return outcome == Outcome::GOOD ? addition.carryOut(m_archive.look()) : outcome;
    }

    const PublishedArchive m_archive{"piers new.zip"_s, {{"Piers/64/lin.xpl"_s, "code"}}};
};

KAVO_TEST_MAIN(AdditionTest)
#include "AdditionTest.moc"
