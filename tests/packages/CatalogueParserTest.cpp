#include "packages/catalogue/CatalogueParser.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"

#include <limits>

using namespace Kavo::Models;
using namespace Kavo::Testing;

namespace {

PackageList parse(const QByteArray &json, const QString &language = "en"_s)
{
    return parseCatalogue(json, language);
}

const QByteArray EveryKey =
    R"([{)"
    R"("name": {"en": "Jetways"}, "description": {"en": "Moving jetways"},)"
    R"("short_description": {"en": "Jetways that move"}, "icon": "http://h/i.png",)"
    R"("type": "PLUGIN", "manual_url": "http://h/m", "help_url": "http://h/h", "id": 42,)"
    R"("product_id": 7, "banner": ["http://h/1.png", "http://h/2.png"],)"
    R"("versions": [{"version": "1.2", "link": "http://h/j.zip", "size": 5000000000,)"
    R"("sha256": "AB12", "depends": ["1:1.0", "5"],)"
    R"("log": ["first", "second"],)"
    R"("install": {"extract": "Resources/plugins", "preserve": ["a.cfg"], "backup": ["b"]},)"
    R"("uninstall": {"remove": ["Resources/plugins/Jetways"]}}]}])";

/// All values of a parsed package as "key=value", except default values.
QStringList facts(const Package &package)
{
    QStringList found;
    const auto text = [&found](const char *key, const QString &value) {
        if (!value.isEmpty())
            found.append(QLatin1String(key) + u'=' + value);
    };
    const auto list = [&text](const char *key, const QStringList &values) {
        if (!values.isEmpty())
            text(key, u'[' + values.join(u'|') + u']');
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
    number("state", package.state());
    number("versions", package.versions().size());
    for (const PackageVersionPointer &version : package.versions()) {
        text("version", version->version);
        text("link", version->link);
        text("size", version->size ? QString::number(*version->size) : QString());
        text("sha256", version->sha256);
        list("depends", version->depends);
        list("log", version->log);
        text("extract", version->install->extract);
        list("preserve", version->install->preserve);
        list("backup", version->install->backup);
        list("remove", version->uninstall->remove);
    }
    return found;
}

/// Parses a catalogue with one package and returns facts() of it.
QStringList factsOf(const QByteArray &json)
{
    const PackageList packages = parse(json);
    return packages.size() == 1 ? facts(*packages.first()) : QStringList("no single package"_s);
}

} // namespace

/// Parses valid, incomplete and malicious catalogues.
class CatalogueParserTest final : public QObject
{
    Q_OBJECT

private slots:
    void readsEveryKey()
    {
        QCOMPARE(
            factsOf(EveryKey).join(u' '),
            "id=42 product_id=7 name=Jetways description=Moving jetways "
            "short_description=Jetways that move icon=http://h/i.png type=PLUGIN "
            "manual_url=http://h/m help_url=http://h/h "
            "banner=[http://h/1.png|http://h/2.png] versions=1 version=1.2 "
            "link=http://h/j.zip size=5000000000 sha256=AB12 depends=[1:1.0|5] log=[first|second] "
            "extract=Resources/plugins preserve=[a.cfg] backup=[b] "
            "remove=[Resources/plugins/Jetways]"_s);
    }

    void wrongTypeReadsAsTheDefault_data()
    {
        const auto values =
            QByteArray(R"(3|-1.5|true|null|"text"|[]|{}|[["x"]]|{"en": 3}|{"en": {"en": "x"}})"
                       R"(|{"fr": "x"}|{"en": ["x"]})")
                .split('|');
        // Values of the right type are left out. Arrays with elements of a wrong type follow below.
        const auto isText = [](const QByteArray &value) { return value.startsWith('"'); };
        const auto isNumber = [](const QByteArray &value) { return value == "3"; };
        const auto isFullArray = [](const QByteArray &value) { return value.startsWith("[["); };
        const auto never = [](const QByteArray &) { return false; };
        Rows<QByteArray, QStringList> table;
        const auto rows = [&](const QByteArray &frame, const QList<QByteArray> &keys,
                              const auto &isRight, const QStringList &expected) {
            for (const QByteArray &key : keys) {
                for (const QByteArray &value : values) {
                    const QByteArray pair = '"' + key + "\": " + value;
                    if (!isRight(value))
                        table.row(pair, QByteArray(frame).replace('@', pair), expected);
                }
            }
        };
        const QByteArray package = "[{@}]";
        const QByteArray version = R"([{"versions": [{@}]}])";
        const QByteArray install = R"([{"versions": [{"install": {@}}]}])";
        const QByteArray uninstall = R"([{"versions": [{"uninstall": {@}}]}])";
        const QStringList one{"versions=1"_s};
        rows(package, {"name", "description", "short_description"}, never, {});
        rows(package, {"icon", "type", "manual_url", "help_url"}, isText, {});
        rows(package, {"id", "product_id"}, isNumber, {});
        rows(package, {"banner", "versions"}, isFullArray, {});
        rows(version, {"version", "link", "sha256"}, isText, one);
        rows(version, {"size"}, isNumber, one);
        rows(version, {"depends", "log"}, isFullArray, one);
        rows(version, {"install", "uninstall"}, never, one);
        rows(install, {"extract"}, isText, one);
        rows(install, {"preserve", "backup"}, isFullArray, one);
        rows(uninstall, {"remove"}, isFullArray, one);

        table.row("no key", "[{}]", {}).row("no key of a version", R"([{"versions": [{}]}])", one);
        for (const char *element : {"\"text\"", "3", "null", "[1]"})
            table.row(element, '[' + QByteArray(element) + ']', {});

        // Elements of a wrong type are not left out: they become empty elements.
        const auto mixed = [&table](const QByteArray &key, QByteArray frame,
                                    QString expected = "versions=1 %1=[|a|||||d]"_s) {
            const QByteArray elements = R"([3, "a", null, ["x"], {"b": "c"}, true, "d"])";
            table.row("mixed " + key, frame.replace('@', '"' + key + "\": " + elements),
                      expected.replace("%1"_s, QLatin1String(key)).split(u' '));
        };
        mixed("banner", package, "banner=[|a|||||d]"_s);
        mixed("versions", package, "versions=7"_s);
        mixed("depends", version);
        mixed("log", version);
        mixed("preserve", install);
        mixed("backup", install);
        mixed("remove", uninstall);
    }
    // Fixed, see docs/compatibility.md.
    void wrongTypeReadsAsTheDefault()
    {
        const auto [json, expected] = Rows<QByteArray, QStringList>::current();
        QCOMPARE(factsOf(json), expected);
    }

    void lastOfEqualKeysCounts()
    {
        QCOMPARE(factsOf(R"([{"id": 1, "id": 2, "type": "A", "type": "B",
                              "name": {"en": "a", "en": "b"}}])"),
                 (QStringList{"id=2"_s, "name=b"_s, "type=B"_s}));
    }

    void textsComeInTheInterfaceLanguage_data()
    {
        Rows<QString, QString, QString>()
            .row("its own", "de", "Bäume", "All trees")
            .row("another one", "fr", "Trees", "All trees");
    }
    void textsComeInTheInterfaceLanguage()
    {
        const auto [language, name, description] = Rows<QString, QString, QString>::current();
        const PackageList packages =
            parse(R"([{"name": {"en": "Trees", "de": "Bäume"}, "description": {"en": "All trees"},
                       "short_description": {"it": "Alberi"}}])",
                  language);
        QCOMPARE(packages.first()->name(), name);
        QCOMPARE(packages.first()->description(), description);
        QVERIFY(packages.first()->shortDescription().isEmpty());
    }

    void sizeIsAWholeNumberOfBytes_data()
    {
        Rows<QString>()
            .row("0", "0")
            .row("1e3", "1000")
            .row("9007199254740992", "9007199254740992")
            .row("9007199254740994", QString())
            .row("-1", QString())
            .row("0.5", QString());
    }
    void sizeIsAWholeNumberOfBytes()
    {
        const auto [size] = Rows<QString>::current();
        QStringList expected{"versions=1"_s};
        if (!size.isEmpty())
            expected.append("size="_s + size);
        QCOMPARE(factsOf(QByteArray(R"([{"versions": [{"size": @}]}])")
                             .replace('@', QTest::currentDataTag())),
                 expected);
    }

    void versionsComeNewestFirst()
    {
        QCOMPARE(factsOf(R"([{"versions": [{"version": "1.2"}, {"version": "1.10"},
                                           {"version": "1.9"}]}])"),
                 (QStringList{"versions=3"_s, "version=1.10"_s, "version=1.9"_s, "version=1.2"_s}));
    }

    void idsBeyondAnIntReadAsZero_data()
    {
        Rows<int> rows;
        rows.row("2147483647", 2147483647)
            .row("-2147483648", std::numeric_limits<int>::min())
            .row("-3", -3)
            .row("7.0", 7)
            .row("7e2", 700);
        for (const char *number :
             {"2147483648", "-2147483649", "4294967296", "4294967297", "9223372036854775807",
              "-9223372036854775808", "18446744073709551616", "123456789012345678901234567890",
              "1e300", "7.5", "-0", "1e-300", "\"42\"", "null"})
            rows.row(number, 0);
    }
    // Fixed, see docs/compatibility.md.
    void idsBeyondAnIntReadAsZero()
    {
        const auto [id] = Rows<int>::current();
        const QByteArray number = QTest::currentDataTag();
        const PackageList packages =
            parse("[{\"id\": " + number + ", \"product_id\": " + number + "}]");
        QCOMPARE(packages.size(), 1);
        QCOMPARE(packages.first()->id(), id);
        QCOMPARE(packages.first()->productId(), id);
    }

    void brokenBytesGiveNoPackages_data()
    {
        const QByteArray sound = R"([{"id": 7, "name": {"en": "Trees"}}])";
        Rows<QByteArray> rows;
        for (int length : {0, 1, 2, 10, 20, sound.size() - 1})
            rows.row("cut off after " + QByteArray::number(length) + " bytes", sound.left(length));
        rows.row("object", R"({"id": 1})")
            .row("page", "<html></html>")
            .row("cut off in the second package", R"([{"id": 1}, {"id")")
            .row("two arrays", sound + sound)
            .row("invalid UTF-8", "[{\"name\": {\"en\": \"\xff\xfe\"}}]")
            .row("cut off inside a character", "[{\"name\": {\"en\": \"\xc3\"}}]")
            .row("zero character as it is", QByteArray("[{\"id\": 7}, \0]", 14))
            .row("zeros only", QByteArray(1000, '\0'))
            .row("UTF-16", QByteArray("[\0{\0}\0]\0", 8))
            .row("nested 10,000 deep", QByteArray(10000, '[') + QByteArray(10000, ']'))
            .row("name nested 10,000 deep",
                 R"([{"id": 7, "name": )" + QByteArray(10000, '[') + QByteArray(10000, ']') + "}]")
            .row("objects nested 10,000 deep", '[' + QByteArray(R"({"versions":)").repeated(10000) +
                                                   '1' + QByteArray(10000, '}') + ']')
            .row("something behind the end", sound + "x")
            .row("comment", "/* a */" + sound)
            .row("number beyond every number", R"([{"id": 1e400}])");
    }
    // Fixed, see docs/compatibility.md.
    void brokenBytesGiveNoPackages()
    {
        const auto [bytes] = Rows<QByteArray>::current();
        QCOMPARE(parse(bytes).size(), 0);
    }

    void byteOrderMarkIsSkipped()
    {
        QCOMPARE(factsOf("\xef\xbb\xbf[{\"id\": 7}]"), QStringList("id=7"_s));
    }

    void zeroCharactersAndHalfPairsStay()
    {
        const PackageList packages =
            parse(R"([{"name": {"en": "a\u0000b\ud800"}, "versions": [{"version": "1\u0000"}]}])");
        QCOMPARE(packages.size(), 1);
        QCOMPARE(packages.first()->name().left(3), "a\0b"_s);
        QCOMPARE(packages.first()->newestVersion(), "1\0"_s);
    }

    void keepsTheOrderOfTheFile()
    {
        QVector<int> ids;
        for (const PackagePointer &package : parse(R"([{"id": 3}, 5, {"id": 1}, {"id": 2}])"))
            ids.append(package->id());
        QCOMPARE(ids, (QVector<int>{3, 0, 1, 2}));
    }
};

QTEST_GUILESS_MAIN(CatalogueParserTest)
#include "CatalogueParserTest.moc"
