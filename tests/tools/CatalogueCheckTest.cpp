#include "tools/check/CatalogueCheck.h"
#include "packages/catalogue/CatalogueParser.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"
#include "tests/tools/CatalogueCorpus.h"
#include "tools/check/CatalogueView.h"
#include "tools/check/JsonTree.h"
#include "tools/check/NearestWord.h"

#include <QDirIterator>

using namespace Kavo::Testing;
using namespace Kavo::Tools;
using Kavo::Models::PackageList;

using Corpus = Rows<QByteArray, QStringList>;

namespace {

QStringList namesOf(const CheckReport &report)
{
    QStringList names;
    for (const Finding &finding : report.findings()) {
        const QString line = QString::fromLatin1(describe(finding.rule).name) +
                             " %1:%2 "_s.arg(finding.line).arg(finding.column) + finding.pointer;
        names.append(line.trimmed());
    }
    return names;
}

/// Whether clients should refuse the whole catalogue.
bool isRefused(const CheckReport &report)
{
    return report.has(Rule::JSON_SYNTAX) || report.has(Rule::JSON_ENCODING) ||
           report.has(Rule::JSON_NOT_AN_ARRAY);
}

/// Whether a rule is about archives or updates. These rules come last in the enumeration.
bool needsArchives(Rule rule)
{
    return rule >= Rule::ARCHIVE_MISSING;
}

QStringList textsIn(const JsonNode *array)
{
    QStringList texts;
    for (const JsonNode &element : JsonChildren(array))
        texts.append(element.text());
    return texts;
}

/// Returns a catalogue of one package with one version, in which `before` is replaced by `after`.
QByteArray catalogueWith(const QByteArray &before, const QByteArray &after)
{
    const QByteArray catalogue =
        "[{\"id\":5,\"name\":{\"en\":\"Piers\"},\"type\":\"PLUGIN\",\"versions\":[{"
        "\"version\":\"1.0\",\"link\":\"https://addons.example.org/piers.zip\",\"depends\":[],"
        "\"install\":{\"extract\":\"Resources/plugins/Piers\"},"
        "\"uninstall\":{\"remove\":[\"Resources/plugins/Piers\"]}}]}]";
    return QByteArray(catalogue).replace(before, after);
}

} // namespace

/// Tests the check of catalogues: its findings in a corpus of catalogues with one fault each, and
/// whether they agree with what the parser of the clients reads.
class CatalogueCheckTest final : public QObject
{
    Q_OBJECT

private slots:
    void corpusGivesItsFindings_data()
    {
        Corpus rows;
        for (const CorpusCatalogue &catalogue : corpusCatalogues())
            rows.row(qPrintable(catalogue.name), catalogue.bytes, catalogue.findings);
    }

    void corpusGivesItsFindings()
    {
        const auto [bytes, findings] = Corpus::current();
        QCOMPARE(namesOf(checkCatalogue(bytes)), findings);
    }

    void corpusBreaksEveryRule()
    {
        QSet<QString> broken;
        int bad = 0;
        const auto catalogues = corpusCatalogues();
        for (const CorpusCatalogue &catalogue : catalogues) {
            bad += catalogue.findings.isEmpty() ? 0 : 1;
            for (const QString &finding : catalogue.findings)
                broken.insert(finding.section(QLatin1Char(' '), 0, 0));
        }
        QVERIFY(bad >= 150);
        for (const RuleText &rule : allRules()) {
            // The corpus contains no file that is too large.
            const bool isKept = !needsArchives(rule.rule) && rule.rule != Rule::JSON_TOO_LARGE;
            QVERIFY2(!isKept || broken.contains(QString::fromLatin1(rule.name)), rule.name);
        }
    }

    /// The tests only read files that expected.txt lists, so they would ignore any other file.
    void everyFileOfTheCorpusIsListed()
    {
        QStringList files = QDir(corpusFolder()).entryList({"*.json"_s});
        QVERIFY(!files.isEmpty());
        for (const CorpusCatalogue &catalogue : corpusCatalogues())
            QVERIFY2(files.removeOne(catalogue.name + ".json"_s), qPrintable(catalogue.name));
        QVERIFY2(files.isEmpty(), qPrintable(files.join(QLatin1Char(' '))));
    }

    void everyRuleSaysWhatItMeans()
    {
        QSet<QString> names;
        const QRegularExpression form("\\A[a-z]+/[a-z0-9-]+\\z"_s);
        for (const RuleText &rule : allRules()) {
            const QString name = QString::fromLatin1(rule.name);
            QVERIFY2(form.match(name).hasMatch(), rule.name);
            QVERIFY2(!names.contains(name), rule.name);
            names.insert(name);
            for (const char *text : {rule.effect, rule.remedy}) {
                QVERIFY2(QByteArray(text).endsWith('.'), rule.name);
                QVERIFY2(QChar::isUpper(uint(text[0])), rule.name);
                QVERIFY2(!QByteArray(text).contains("\\\\"), rule.name);
            }
        }
    }

    void clientsReadWhatTheCheckReads_data() { corpusGivesItsFindings_data(); }

    void clientsReadWhatTheCheckReads()
    {
        const QByteArray bytes = std::get<0>(Corpus::current());
        const CheckReport report = checkCatalogue(bytes);
        Kavo::Models::CatalogueParser parser(bytes, "en"_s);
        PackageList packages;
        while (const auto package = parser.next())
            packages.append(package);
        QCOMPARE(parser.isWhole(), !isRefused(report));
        if (isRefused(report))
            return;

        const JsonTree tree(bytes);
        const CatalogueView view(tree.root());
        QCOMPARE(static_cast<int>(view.packages().size()), packages.size());
        bool endsClients = false;
        for (int index = 0; index < packages.size(); ++index) {
            const PackageView &seen = view.packages()[static_cast<std::size_t>(index)];
            const auto &read = packages.at(index);
            QCOMPARE(seen.id, read->id());
            QCOMPARE(static_cast<int>(seen.versions.size()), read->versions().size());
            if (!seen.newestVersion())
                continue;
            const VersionView &newest = *seen.newestVersion();
            const auto &first = read->versions().constFirst();
            QCOMPARE(newest.version, first->version);
            QCOMPARE(newest.link(), first->link);
            QCOMPARE(textsIn(arrayIn(newest.node, QLatin1String("depends"))), first->depends);
            QCOMPARE(textsIn(newest.entries(QLatin1String("install"), QLatin1String("preserve"))),
                     first->install->preserve);
            QCOMPARE(textsIn(newest.entries(QLatin1String("uninstall"), QLatin1String("remove"))),
                     first->uninstall->remove);
            endsClients = endsClients || first->depends.contains(QString());
        }
        QCOMPARE(report.has(Rule::DEPENDENCY_EMPTY), endsClients);
    }

    void corpusOfTheParserFuzzerIsChecked()
    {
        QDirIterator files(QStringLiteral(KAVO_PARSER_CORPUS), QDir::Files);
        int count = 0;
        for (; files.hasNext(); ++count) {
            const QByteArray bytes = readFile(files.next());
            const CheckReport report = checkCatalogue(bytes);
            Kavo::Models::CatalogueParser parser(bytes, "en"_s);
            while (parser.next()) {
            }
            QVERIFY2(parser.isWhole() == !isRefused(report), qPrintable(files.fileName()));
        }
        QVERIFY(count >= 10);
    }

    void manyFindingsOfOneRuleAreCounted()
    {
        const CheckReport report = checkCatalogue(catalogueWith(
            "\"depends\":[]", "\"depends\":[\"\"" + QByteArray(",\"\"").repeated(4999) + ']'));
        QCOMPARE(report.count(Severity::ERROR), 1000);
        QCOMPARE(report.leftOut(), 4000);
    }

    void otherRulesAreStillFoundThen()
    {
        const CheckReport report = checkCatalogue(catalogueWith(
            "\"depends\":[]", "\"depends\":[" + QByteArray("\"\",").repeated(5000) + "\"99\"]"));
        QVERIFY(report.has(Rule::DEPENDENCY_UNKNOWN_PACKAGE));
    }

    void wrongEncodingIsFoundBehindManyOtherFaults()
    {
        const CheckReport report =
            checkCatalogue(catalogueWith("Piers\"}", QByteArray(500, '\t') + "\xe4\"}"));
        QVERIFY(report.has(Rule::JSON_TOLERATED));
        QVERIFY(report.has(Rule::JSON_ENCODING));
    }

    void nulCharacterInAKeyIsFound()
    {
        const CheckReport report = checkCatalogue(catalogueWith("\"id\"", "\"\\u0000\":1,\"id\""));
        QCOMPARE(report.count(Severity::ERROR), 1);
        QCOMPARE(report.findings().front().rule, Rule::JSON_NUL_CHARACTER);
        QCOMPARE(report.findings().front().column, 3);
    }

    /// Recursion would overflow the stack.
    void longChainsAndLargeCirclesAreFollowed()
    {
        constexpr int length = 20'000;
        const auto chain = [](int last) -> QByteArray {
            QByteArray bytes = "[";
            for (int id = 1; id <= length; ++id) {
                const int needed = id < length ? id + 1 : last;
                bytes += "{\"id\":" + QByteArray::number(id) +
                         ",\"versions\":[{\"version\":\"1\",\"depends\":[\"" +
                         QByteArray::number(needed) + "\"]}]}" + (id < length ? "," : "]");
            }
            return bytes;
        };
        const CheckReport open = checkCatalogue(chain(length + 1));
        QVERIFY(open.has(Rule::DEPENDENCY_NOT_INSTALLABLE));
        QVERIFY(open.has(Rule::DEPENDENCY_UNKNOWN_PACKAGE));
        QVERIFY(!open.has(Rule::DEPENDENCY_CIRCLE));

        const CheckReport closed = checkCatalogue(chain(1));
        QVERIFY(!closed.has(Rule::DEPENDENCY_NOT_INSTALLABLE));
        const auto &findings = closed.findings();
        const auto circle =
            std::find_if(findings.cbegin(), findings.cend(), [](const Finding &finding) {
                return finding.rule == Rule::DEPENDENCY_CIRCLE;
            });
        QVERIFY(circle != findings.cend());
        QCOMPARE(circle->message.count(" needs "_s), length);
        QVERIFY(circle->message.startsWith("package 1 needs package 2 needs "_s));
        QVERIFY(circle->message.endsWith("package 20000 needs package 1."_s));
    }

    void linesAndColumnsCountCharacters()
    {
        const CheckReport report = checkCatalogue("[\r\n{\"\xc3\xa4\xe2\x82\xac\": 1}, 7]");
        const auto &findings = report.findings();
        const auto place = [&findings](Rule rule) -> QString {
            for (const Finding &finding : findings) {
                if (finding.rule == rule)
                    return "%1:%2"_s.arg(finding.line).arg(finding.column);
            }
            return QString();
        };
        QCOMPARE(place(Rule::KEY_UNKNOWN), "2:2"_s);
        QCOMPARE(place(Rule::TYPE_WRONG), "2:12"_s);
    }

    void nearestWordIsTheOneThatWasMeant_data()
    {
        Rows<QString, QString>()
            .row("the same", "banner", "banner")
            .row("case", "BANNER", "banner")
            .row("letter missing", "baner", "banner")
            .row("letter too many", "icons", "icon")
            .row("letters exchanged", "bnaner", "banner")
            .row("two as near", "licon", "icon")
            .row("too far", "abc", "")
            .row("nothing", "", "")
            .row("no word", QString(100'000, QLatin1Char('i')), "");
    }

    void nearestWordIsTheOneThatWasMeant()
    {
        const auto [word, nearest] = Rows<QString, QString>::current();
        const QStringList candidates{"banner"_s, "icon"_s, "lion"_s};
        QCOMPARE(nearestWord(word, candidates), nearest);
    }
};

KAVO_TEST_MAIN(CatalogueCheckTest)
#include "CatalogueCheckTest.moc"
