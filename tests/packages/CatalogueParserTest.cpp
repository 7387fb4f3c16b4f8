#include "packages/catalogue/CatalogueParser.h"

#include <QTest>

using namespace Kavo::Models;

namespace {

PackageList parse(const QByteArray &json, const char *language = "en")
{
    return parseCatalogue(json, QString::fromLatin1(language));
}

} // namespace

class CatalogueParserTest final : public QObject
{
    Q_OBJECT

private slots:
    void readsEveryKey();
    void missingKeysReadAsDefaults();
    void textsComeInTheInterfaceLanguage();
    void textWithoutEnglishIsEmpty();
    void versionsComeNewestFirst();
    void idAsTextReadsAsZero();
    void numbersThatAreNoIdReadAsZero_data();
    void numbersThatAreNoIdReadAsZero();
    void elementThatIsNoObjectIsAPackageOfDefaults();
    void wrongTypesReadAsDefaults();
    void documentsThatAreNoArrayGiveNothing_data();
    void documentsThatAreNoArrayGiveNothing();
    void keepsTheOrderOfTheFile();
};

void CatalogueParserTest::readsEveryKey()
{
    const PackageList packages = parse(R"([{
        "name": {"en": "Jetways"}, "description": {"en": "Moving jetways"},
        "short_description": {"en": "Jetways that move"}, "icon": "http://h/i.png",
        "type": "PLUGIN", "manual_url": "http://h/m", "help_url": "http://h/h", "id": 42,
        "product_id": 7, "banner": ["http://h/1.png", "http://h/2.png"],
        "versions": [{"version": "1.2", "link": "http://h/j.zip", "depends": ["1:1.0", "5"],
            "log": ["first", "second"],
            "install": {"extract": "Resources/plugins", "preserve": ["a.cfg"], "backup": ["b"]},
            "uninstall": {"remove": ["Resources/plugins/Jetways"]}}]}])");
    QCOMPARE(packages.size(), 1);
    const Package &package = *packages.first();
    QCOMPARE(package.name(), QStringLiteral("Jetways"));
    QCOMPARE(package.description(), QStringLiteral("Moving jetways"));
    QCOMPARE(package.shortDescription(), QStringLiteral("Jetways that move"));
    QCOMPARE(package.icon(), QStringLiteral("http://h/i.png"));
    QCOMPARE(package.type(), QStringLiteral("PLUGIN"));
    QCOMPARE(package.manualUrl(), QStringLiteral("http://h/m"));
    QCOMPARE(package.helpUrl(), QStringLiteral("http://h/h"));
    QCOMPARE(package.id(), 42);
    QCOMPARE(package.productId(), 7);
    QCOMPARE(package.state(), Package::AVAILABLE);
    QCOMPARE(package.banner(),
             (QStringList{QStringLiteral("http://h/1.png"), QStringLiteral("http://h/2.png")}));
    QCOMPARE(package.versions().size(), 1);
    const PackageVersion &version = *package.versions().first();
    QCOMPARE(version.version, QStringLiteral("1.2"));
    QCOMPARE(version.link, QStringLiteral("http://h/j.zip"));
    QCOMPARE(version.depends, (QStringList{QStringLiteral("1:1.0"), QStringLiteral("5")}));
    QCOMPARE(version.log, (QStringList{QStringLiteral("first"), QStringLiteral("second")}));
    QCOMPARE(version.install->extract, QStringLiteral("Resources/plugins"));
    QCOMPARE(version.install->preserve, QStringList{QStringLiteral("a.cfg")});
    QCOMPARE(version.install->backup, QStringList{QStringLiteral("b")});
    QCOMPARE(version.uninstall->remove, QStringList{QStringLiteral("Resources/plugins/Jetways")});
}

void CatalogueParserTest::missingKeysReadAsDefaults()
{
    const PackageList packages = parse(R"([{}, {"versions": [{}]}])");
    QCOMPARE(packages.size(), 2);
    QVERIFY(packages.first()->name().isEmpty());
    QCOMPARE(packages.first()->id(), 0);
    QCOMPARE(packages.first()->state(), Package::AVAILABLE);
    QVERIFY(packages.first()->versions().isEmpty());
    const PackageVersion &version = *packages.last()->versions().first();
    QVERIFY(version.version.isEmpty());
    QVERIFY(version.depends.isEmpty());
    QVERIFY(version.install->extract.isEmpty());
    QVERIFY(version.uninstall->remove.isEmpty());
}

void CatalogueParserTest::textsComeInTheInterfaceLanguage()
{
    const QByteArray json = R"([{"name": {"en": "Trees", "de": "Bäume"},
                                 "description": {"en": "All trees"}}])";
    QCOMPARE(parse(json, "de").first()->name(), QStringLiteral("Bäume"));
    QCOMPARE(parse(json, "de").first()->description(), QStringLiteral("All trees"));
    QCOMPARE(parse(json, "fr").first()->name(), QStringLiteral("Trees"));
}

void CatalogueParserTest::textWithoutEnglishIsEmpty()
{
    QVERIFY(parse(R"([{"name": {"fr": "Arbres"}}])", "de").first()->name().isEmpty());
}

void CatalogueParserTest::versionsComeNewestFirst()
{
    const PackageList packages =
        parse(R"([{"versions": [{"version": "1.2"}, {"version": "1.10"}, {"version": "1.9"}]}])");
    QCOMPARE(packages.first()->newestVersion(), QStringLiteral("1.10"));
    QCOMPARE(packages.first()->versions().last()->version, QStringLiteral("1.2"));
}

// Fixed, see docs/compatibility.md.
void CatalogueParserTest::idAsTextReadsAsZero()
{
    QCOMPARE(parse(R"([{"id": "42"}])").first()->id(), 0);
}

void CatalogueParserTest::numbersThatAreNoIdReadAsZero_data()
{
    QTest::addColumn<QByteArray>("number");
    QTest::addColumn<int>("id");
    QTest::newRow("negative") << QByteArray("-3") << -3;
    QTest::newRow("too large for 32 bits") << QByteArray("4294967297") << 0;
    QTest::newRow("fraction") << QByteArray("1.5") << 0;
    QTest::newRow("null") << QByteArray("null") << 0;
}

void CatalogueParserTest::numbersThatAreNoIdReadAsZero()
{
    QFETCH(QByteArray, number);
    QFETCH(int, id);
    QCOMPARE(parse("[{\"id\": " + number + "}]").first()->id(), id);
}

void CatalogueParserTest::elementThatIsNoObjectIsAPackageOfDefaults()
{
    const PackageList packages = parse(R"(["text", 3, null, [1], {"id": 9}])");
    QCOMPARE(packages.size(), 5);
    for (int index = 0; index < 4; ++index) {
        QCOMPARE(packages.at(index)->id(), 0);
        QVERIFY(packages.at(index)->name().isEmpty());
    }
    QCOMPARE(packages.last()->id(), 9);
}

// Fixed, see docs/compatibility.md.
void CatalogueParserTest::wrongTypesReadAsDefaults()
{
    const PackageList packages = parse(R"([{"name": "plain", "description": 3, "icon": [],
        "type": {}, "banner": "one", "versions": {"version": "1"}, "product_id": true},
        {"versions": ["1.0", {"version": 1.0, "depends": "5", "log": [1, "two"],
                              "install": [], "uninstall": "x"}]}])");
    const Package &first = *packages.first();
    QVERIFY(first.name().isEmpty());
    QVERIFY(first.icon().isEmpty());
    QVERIFY(first.banner().isEmpty());
    QVERIFY(first.versions().isEmpty());
    QCOMPARE(first.productId(), 0);
    const QVector<PackageVersionPointer> versions = packages.last()->versions();
    QCOMPARE(versions.size(), 2);
    QVERIFY(versions.last()->version.isEmpty());
    QVERIFY(versions.last()->depends.isEmpty());
    QCOMPARE(versions.last()->log, (QStringList{QString(), QStringLiteral("two")}));
}

void CatalogueParserTest::documentsThatAreNoArrayGiveNothing_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("object") << QByteArray(R"({"id": 1})");
    QTest::newRow("cut off") << QByteArray(R"([{"id": 1}, {"id")");
    QTest::newRow("page") << QByteArray("<html></html>");
    QTest::newRow("nested beyond reason") << QByteArray(10000, '[') + QByteArray(10000, ']');
    QTest::newRow("twice") << QByteArray(R"([{"id": 1}][{"id": 1}])");
}

// Fixed, see docs/compatibility.md.
void CatalogueParserTest::documentsThatAreNoArrayGiveNothing()
{
    QFETCH(QByteArray, json);
    QVERIFY(parse(json).isEmpty());
}

void CatalogueParserTest::keepsTheOrderOfTheFile()
{
    const PackageList packages = parse(R"([{"id": 3}, {"id": 1}, {"id": 2}])");
    QCOMPARE(packages.at(0)->id(), 3);
    QCOMPARE(packages.at(1)->id(), 1);
    QCOMPARE(packages.at(2)->id(), 2);
}

QTEST_GUILESS_MAIN(CatalogueParserTest)
#include "CatalogueParserTest.moc"
