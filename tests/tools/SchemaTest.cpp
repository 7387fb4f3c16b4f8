#include "packages/catalogue/CatalogueParser.h"
#include "tests/support/Archives.h"
#include "tests/support/TestMain.h"
#include "tests/tools/CatalogueCorpus.h"
#include "tests/tools/ToolRun.h"
#include "tools/check/CatalogueCheck.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Kavo::Testing;
using namespace Kavo::Tools;
using Kavo::Models::Package;
using Kavo::Models::PackageVersion;
using Kavo::Models::PackageVersionPointer;

namespace {

/// What no schema can say: it sees neither the other packages, nor the notation, nor what names
/// mean to file systems and to the simulator.
const QVector<Rule> &rulesBeyondSchemas()
{
    static const QVector<Rule> rules{
        Rule::JSON_NUL_CHARACTER,
        Rule::KEY_TWICE,
        Rule::ID_TWICE,
        Rule::KIND_SPELLING,
        Rule::KIND_MISSING,
        Rule::VERSION_TWICE,
        Rule::VERSION_SAME_NUMBERS,
        Rule::VERSION_TRAILING_ZEROS,
        Rule::ADDRESS_INVALID,
        Rule::ADDRESS_FILE_NAME,
        Rule::ADDRESS_NO_FILE_NAME,
        Rule::ADDRESS_SHARED_BY_VERSIONS,
        Rule::ADDRESS_SHARED_BY_PACKAGES,
        Rule::ADDRESS_CONTRADICTING,
        Rule::DEPENDENCY_UNKNOWN_PACKAGE,
        Rule::DEPENDENCY_MINIMUM_NOT_OFFERED,
        Rule::DEPENDENCY_ITSELF,
        Rule::DEPENDENCY_TWICE,
        Rule::DEPENDENCY_CIRCLE,
        Rule::DEPENDENCY_LAST_DECIDES,
        Rule::DEPENDENCY_NOT_INSTALLABLE,
        Rule::PATH_REFUSED_NAME,
        Rule::PATH_CASE_DIFFERS,
        Rule::PATH_BELONGS_TO_ALL,
        Rule::PATH_HOLDS_OTHERS,
        Rule::EXTRACT_WHOLE_SIMULATOR,
    };
    return rules;
}

QJsonValue at(const QJsonObject &object, const char *key)
{
    return object.value(QLatin1String(key));
}

/// What is written, or what stands for a value that is not.
QJsonValue written(const QJsonObject &object, const char *key, const QJsonValue &otherwise)
{
    const QJsonValue value = at(object, key);
    return value.isUndefined() ? otherwise : value;
}

QJsonArray list(const QStringList &texts)
{
    return QJsonArray::fromStringList(texts);
}

QJsonObject read(const PackageVersion &version)
{
    return {{QStringLiteral("version"), version.version},
            {QStringLiteral("link"), version.link},
            {QStringLiteral("size"), version.size ? QJsonValue(*version.size) : QJsonValue()},
            {QStringLiteral("sha256"), version.sha256},
            {QStringLiteral("depends"), list(version.depends)},
            {QStringLiteral("log"), list(version.log)},
            {QStringLiteral("extract"), version.install->extract},
            {QStringLiteral("preserve"), list(version.install->preserve)},
            {QStringLiteral("backup"), list(version.install->backup)},
            {QStringLiteral("remove"), list(version.uninstall->remove)}};
}

QJsonObject expected(const QJsonObject &version)
{
    const QJsonObject install = at(version, "install").toObject();
    const QJsonObject uninstall = at(version, "uninstall").toObject();
    const QJsonArray none;
    const QString empty = QLatin1String("");
    return {{QStringLiteral("version"), at(version, "version")},
            {QStringLiteral("link"), at(version, "link")},
            {QStringLiteral("size"), written(version, "size", QJsonValue())},
            {QStringLiteral("sha256"), written(version, "sha256", empty)},
            {QStringLiteral("depends"), written(version, "depends", none)},
            {QStringLiteral("log"), written(version, "log", none)},
            {QStringLiteral("extract"), written(install, "extract", empty)},
            {QStringLiteral("preserve"), written(install, "preserve", none)},
            {QStringLiteral("backup"), written(install, "backup", none)},
            {QStringLiteral("remove"), at(uninstall, "remove")}};
}

QJsonObject read(const Package &package)
{
    return {{QStringLiteral("id"), package.id()},
            {QStringLiteral("product_id"), package.productId()},
            {QStringLiteral("name"), package.name()},
            {QStringLiteral("description"), package.description()},
            {QStringLiteral("short_description"), package.shortDescription()},
            {QStringLiteral("icon"), package.icon()},
            {QStringLiteral("banner"), list(package.banner())},
            {QStringLiteral("type"), package.type()},
            {QStringLiteral("manual_url"), package.manualUrl()},
            {QStringLiteral("help_url"), package.helpUrl()}};
}

/// What an English client is to read of a package that says all it says in the right types.
QJsonObject expectedPackage(const QJsonObject &package)
{
    const QString empty = QLatin1String("");
    const auto english = [&](const char *key) -> QJsonValue {
        return written(at(package, key).toObject(), "en", empty);
    };
    return {{QStringLiteral("id"), at(package, "id")},
            {QStringLiteral("product_id"), written(package, "product_id", 0)},
            {QStringLiteral("name"), english("name")},
            {QStringLiteral("description"), english("description")},
            {QStringLiteral("short_description"), english("short_description")},
            {QStringLiteral("icon"), written(package, "icon", empty)},
            {QStringLiteral("banner"), written(package, "banner", QJsonArray())},
            {QStringLiteral("type"), written(package, "type", empty)},
            {QStringLiteral("manual_url"), written(package, "manual_url", empty)},
            {QStringLiteral("help_url"), written(package, "help_url", empty)}};
}

QString schemaPath()
{
    return QStringLiteral(KAVO_SCHEMA);
}

} // namespace

/// The schema, the check and the clients' parser mean the same catalogues.
class SchemaTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void commandPrintsTheSchema();
    void whatPassesIsReadWithoutDefaults_data();
    void whatPassesIsReadWithoutDefaults();
    void whatPassesBreaksNoRuleOfSchemas_data() { whatPassesIsReadWithoutDefaults_data(); }
    void whatPassesBreaksNoRuleOfSchemas();
    void whatFailsIsFound();
    void exampleOfThePageIsFaultless();

private:
    QHash<QString, QByteArray> m_verdicts; ///< by name of the catalogue
};

void SchemaTest::initTestCase()
{
    QStringList arguments{schemaPath()};
    for (const CorpusCatalogue &catalogue : corpusCatalogues())
        arguments.append(corpusFolder() + QLatin1Char('/') + catalogue.name +
                         QStringLiteral(".json"));
    QProcess validation;
    validation.start(QStringLiteral(KAVO_VALIDATION), arguments);
    QVERIFY(validation.waitForFinished(-1));
    QVERIFY2(validation.exitCode() == 0, validation.readAllStandardError().constData());
    for (const QByteArray &line : validation.readAllStandardOutput().trimmed().split('\n')) {
        const QByteArrayList words = line.split(' ');
        const QFileInfo file(QString::fromUtf8(line.mid(words.first().size() + 1)));
        m_verdicts.insert(file.completeBaseName(), words.first());
    }
    QCOMPARE(m_verdicts.size(), corpusCatalogues().size());
}

void SchemaTest::commandPrintsTheSchema()
{
    const ToolRun run({QStringLiteral("schema")});
    QCOMPARE(run.status(), 0);
    QCOMPARE(run.output(), readFile(schemaPath()));
    QVERIFY(run.output().size() > 1000);
}

void SchemaTest::whatPassesIsReadWithoutDefaults_data()
{
    QTest::addColumn<QByteArray>("bytes");

    for (const CorpusCatalogue &catalogue : corpusCatalogues()) {
        if (m_verdicts.value(catalogue.name) == "passes")
            QTest::newRow(qPrintable(catalogue.name)) << catalogue.bytes;
    }
}

void SchemaTest::whatPassesIsReadWithoutDefaults()
{
    QFETCH(QByteArray, bytes);
    const auto packages = Kavo::Models::parseCatalogue(bytes, QStringLiteral("en"));
    // Qt knows nothing of the mark.
    const QByteArray json = bytes.startsWith("\xef\xbb\xbf") ? bytes.mid(3) : bytes;
    const QJsonArray catalogue = QJsonDocument::fromJson(json).array();
    QCOMPARE(packages.size(), catalogue.size());
    for (int index = 0; index < packages.size(); ++index) {
        const QJsonObject package = catalogue.at(index).toObject();
        QCOMPARE(read(*packages.at(index)), expectedPackage(package));
        const QJsonArray versions = at(package, "versions").toArray();
        auto offered = packages.at(index)->versions();
        QCOMPARE(offered.size(), versions.size());
        for (const QJsonValue &version : versions) {
            const auto same = std::find_if(
                offered.begin(), offered.end(), [&version](const PackageVersionPointer &candidate) {
                    return read(*candidate) == expected(version.toObject());
                });
            QVERIFY(same != offered.end());
            offered.erase(same);
        }
    }
}

void SchemaTest::whatPassesBreaksNoRuleOfSchemas()
{
    QFETCH(QByteArray, bytes);
    const CheckReport report = checkCatalogue(bytes);
    for (const Finding &finding : report.findings())
        QVERIFY2(rulesBeyondSchemas().contains(finding.rule), describe(finding.rule).name);
}

void SchemaTest::whatFailsIsFound()
{
    int failed = 0;
    for (const CorpusCatalogue &catalogue : corpusCatalogues()) {
        if (m_verdicts.value(catalogue.name) == "passes")
            continue;
        ++failed;
        QVERIFY2(!checkCatalogue(catalogue.bytes).findings().empty(), qPrintable(catalogue.name));
    }
    QVERIFY(failed > 100);
    QVERIFY(failed < m_verdicts.size());
}

void SchemaTest::exampleOfThePageIsFaultless()
{
    const QByteArray page = readFile(QStringLiteral(KAVO_CATALOGUE_PAGE));
    const int begin = page.indexOf("```json\n");
    const int end = page.indexOf("\n```", begin + 8);
    QVERIFY(begin >= 0 && end > begin);
    QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("packages.json"));
    QVERIFY(writeFile(file, page.mid(begin + 8, end - begin - 8)));

    const ToolRun run({QStringLiteral("check"), file, QStringLiteral("--strict")});
    QVERIFY2(run.status() == 0, run.output().constData());
    QProcess validation;
    validation.start(QStringLiteral(KAVO_VALIDATION), {schemaPath(), file});
    QVERIFY(validation.waitForFinished(-1));
    QVERIFY(validation.readAllStandardOutput().startsWith("passes "));
    QVERIFY(readFile(file).contains("\"$schema\": \"https://kavo-suite.example/"));
}

KAVO_TEST_MAIN(SchemaTest)
#include "SchemaTest.moc"
