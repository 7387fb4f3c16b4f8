#include "core/Languages.h"
#include "packages/catalogue/CatalogueParser.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"
#include "tests/tools/CatalogueCorpus.h"
#include "tests/tools/ToolRun.h"
#include "tools/ExitStatus.h"
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

/// The rules that a schema cannot express, because they depend on other parts of the catalogue, on
/// the notation of values, or on the meaning of names for file systems and the simulator.
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

/// The value of a key, or `otherwise` if it is missing.
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
    return {{"version"_s, version.version},
            {"link"_s, version.link},
            {"size"_s, version.size ? QJsonValue(*version.size) : QJsonValue()},
            {"sha256"_s, version.sha256},
            {"depends"_s, list(version.depends)},
            {"log"_s, list(version.log)},
            {"extract"_s, version.install->extract},
            {"preserve"_s, list(version.install->preserve)},
            {"backup"_s, list(version.install->backup)},
            {"remove"_s, list(version.uninstall->remove)}};
}

QJsonObject expected(const QJsonObject &version)
{
    const QJsonObject install = at(version, "install").toObject();
    const QJsonObject uninstall = at(version, "uninstall").toObject();
    const QJsonArray none;
    const QString empty = QLatin1String("");
    return {{"version"_s, at(version, "version")},
            {"link"_s, at(version, "link")},
            {"size"_s, written(version, "size", QJsonValue())},
            {"sha256"_s, written(version, "sha256", empty)},
            {"depends"_s, written(version, "depends", none)},
            {"log"_s, written(version, "log", none)},
            {"extract"_s, written(install, "extract", empty)},
            {"preserve"_s, written(install, "preserve", none)},
            {"backup"_s, written(install, "backup", none)},
            {"remove"_s, at(uninstall, "remove")}};
}

QJsonObject read(const Package &package)
{
    return {{"id"_s, package.id()},
            {"product_id"_s, package.productId()},
            {"name"_s, package.name()},
            {"description"_s, package.description()},
            {"short_description"_s, package.shortDescription()},
            {"icon"_s, package.icon()},
            {"banner"_s, list(package.banner())},
            {"type"_s, package.type()},
            {"manual_url"_s, package.manualUrl()},
            {"help_url"_s, package.helpUrl()}};
}

/// The values that a client with English texts should read from a package. All values of the
/// package must have the right types.
QJsonObject expectedPackage(const QJsonObject &package)
{
    const QString empty = QLatin1String("");
    const auto english = [&](const char *key) -> QJsonValue {
        return written(at(package, key).toObject(), "en", empty);
    };
    return {{"id"_s, at(package, "id")},
            {"product_id"_s, written(package, "product_id", 0)},
            {"name"_s, english("name")},
            {"description"_s, english("description")},
            {"short_description"_s, english("short_description")},
            {"icon"_s, written(package, "icon", empty)},
            {"banner"_s, written(package, "banner", QJsonArray())},
            {"type"_s, written(package, "type", empty)},
            {"manual_url"_s, written(package, "manual_url", empty)},
            {"help_url"_s, written(package, "help_url", empty)}};
}

QString schemaPath()
{
    return QStringLiteral(KAVO_SCHEMA);
}

/// Validates files with the schema. Returns a line "VERDICT FILE" for each; null if the validation
/// could not be carried out.
QByteArray validated(const QStringList &files)
{
    QProcess validation;
    validation.start(QStringLiteral(KAVO_VALIDATION), QStringList(schemaPath()) + files);
    if (validation.waitForFinished(-1) && validation.exitCode() == 0)
        return validation.readAllStandardOutput();
    qWarning("%s", validation.readAllStandardError().constData());
    return {};
}

} // namespace

/// Tests that the schema, the check and the parser of the clients agree on every catalogue of the
/// corpus.
class SchemaTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QStringList files;
        for (const CorpusCatalogue &catalogue : corpusCatalogues())
            files.append(corpusFolder() + QLatin1Char('/') + catalogue.name + ".json"_s);
        for (const QByteArray &line : validated(files).trimmed().split('\n')) {
            const QByteArrayList words = line.split(' ');
            const QFileInfo file(QString::fromUtf8(line.mid(words.first().size() + 1)));
            m_verdicts.insert(file.completeBaseName(), words.first());
        }
        QCOMPARE(m_verdicts.size(), corpusCatalogues().size());
    }

    void commandPrintsTheSchema()
    {
        const ToolRun run({"schema"_s});
        QCOMPARE(run.status(), CLEAN);
        QCOMPARE(run.output(), readFile(schemaPath()));
        QVERIFY(run.output().size() > 1000);
    }

    void validCatalogueIsReadWithoutDefaults_data()
    {
        Rows<QByteArray> rows;
        for (const CorpusCatalogue &catalogue : corpusCatalogues()) {
            if (m_verdicts.value(catalogue.name) == "passes")
                rows.row(qPrintable(catalogue.name), catalogue.bytes);
        }
    }

    void validCatalogueIsReadWithoutDefaults()
    {
        const auto [bytes] = Rows<QByteArray>::current();
        const auto packages = Kavo::Models::parseCatalogue(bytes, "en"_s);
        // QJsonDocument does not accept a byte order mark.
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
                const auto same =
                    std::find_if(offered.begin(), offered.end(),
                                 [&version](const PackageVersionPointer &candidate) {
                                     return read(*candidate) == expected(version.toObject());
                                 });
                QVERIFY(same != offered.end());
                offered.erase(same);
            }
        }
    }

    void textsHaveTheLanguagesOfTheProgram()
    {
        const QJsonObject definitions =
            QJsonDocument::fromJson(readFile(schemaPath())).object().value("$defs"_s).toObject();
        QStringList languages = Kavo::languages();
        languages.sort();
        for (const QString &name : {"translations"_s, "names"_s})
            QCOMPARE(at(definitions.value(name).toObject(), "properties").toObject().keys(),
                     languages);
    }

    void validCatalogueBreaksNoRuleOfTheSchema_data()
    {
        validCatalogueIsReadWithoutDefaults_data();
    }

    void validCatalogueBreaksNoRuleOfTheSchema()
    {
        const auto [bytes] = Rows<QByteArray>::current();
        const CheckReport report = checkCatalogue(bytes);
        for (const Finding &finding : report.findings())
            QVERIFY2(rulesBeyondSchemas().contains(finding.rule), describe(finding.rule).name);
    }

    void invalidCataloguesHaveFindings()
    {
        int failed = 0;
        for (const CorpusCatalogue &catalogue : corpusCatalogues()) {
            if (m_verdicts.value(catalogue.name) == "passes")
                continue;
            ++failed;
            QVERIFY2(!checkCatalogue(catalogue.bytes).findings().empty(),
                     qPrintable(catalogue.name));
        }
        QVERIFY(failed > 100);
        QVERIFY(failed < m_verdicts.size());
    }

    void exampleOfThePageIsFaultless()
    {
        const QByteArray page = readFile(QStringLiteral(KAVO_CATALOGUE_PAGE));
        const int begin = page.indexOf("```json\n");
        const int end = page.indexOf("\n```", begin + 8);
        QVERIFY(begin >= 0 && end > begin);
        QTemporaryDir folder;
        const QString file = folder.filePath("packages.json"_s);
        QVERIFY(writeFile(file, page.mid(begin + 8, end - begin - 8)));

        const ToolRun run({"check"_s, file, "--strict"_s});
        QVERIFY2(run.status() == CLEAN, run.output().constData());
        QVERIFY(validated({file}).startsWith("passes "));
        QVERIFY(readFile(file).contains("\"$schema\": \"https://kavo-suite.example/"));
    }

private:
    QHash<QString, QByteArray> m_verdicts; ///< by the names of the catalogues
};

KAVO_TEST_MAIN(SchemaTest)
#include "SchemaTest.moc"
