#include "ui/list/PackageFilter.h"
#include "tests/packages/MakePackage.h"
#include "tests/support/TestMain.h"

#include <QSignalSpy>

#include <memory>
#include <random>

using namespace Kavo::Testing;
using Kavo::Models::Package;
using Kavo::Models::PackageList;
using Kavo::Models::PackagePointer;
using Kavo::Ui::PackageFilter;

namespace {

/// More than any machine reads in one turn.
constexpr int Many = 30000;

PackagePointer package(const QString &name, const QString &brief = QString(),
                       const QString &description = QString())
{
    PackagePointer package = makePackage(1, {}, name);
    package->setShortDescription(brief);
    package->setDescription(description);
    return package;
}

PackageList manyPackages()
{
    PackageList packages;
    for (int i = 0; i < Many; ++i)
        packages.append(package(QStringLiteral("package %1").arg(i)));
    return packages;
}

} // namespace

class PackageFilterTest final : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_filter = std::make_unique<PackageFilter>(); }

    void everythingThatACardShowsIsSearched_data();
    void everythingThatACardShowsIsSearched();
    void wordsAreFoundInWhateverWayTheyAreWritten_data();
    void wordsAreFoundInWhateverWayTheyAreWritten();
    void statesAreFoundByTheWordOnTheButton_data();
    void statesAreFoundByTheWordOnTheButton();
    void buttonMayGiveOneOfTheWords();
    void withoutWordsEverythingIsFound_data();
    void withoutWordsEverythingIsFound();
    void stateIsThatOfTheSearch();
    void newPackagesAreSearchedForTheSameText();
    void typedTextsAreFoundAsNewOnes();
    void longListIsReadInTurns();
    void longListIsReadAhead();
    void newPackagesEndTheReadingOfTheOthers();
    void newPackagesWaitForTheirReadingAhead();
    void newTextWhileAListIsRead();
    void longTextsAreReadInParts();

private:
    /// Whether one package is found.
    bool finds(const PackagePointer &package, const QString &text);

    std::unique_ptr<PackageFilter> m_filter;
};

bool PackageFilterTest::finds(const PackagePointer &package, const QString &text)
{
    m_filter->setPackages({package});
    m_filter->search(text);
    return m_filter->isComplete() && m_filter->foundCount() == 1;
}

void PackageFilterTest::everythingThatACardShowsIsSearched_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("found");
    const auto row = [](const char *text, bool found) {
        QTest::newRow(text) << QString::fromUtf8(text) << found;
    };
    row("harbour", true);
    row("floodlights", true);
    row("plugin", true);
    row("paid", true);
    row("download", true);
    row("pontoon", true);
    row("free", false);
    row("library", false);
    row("update", false);
    row("installed", false);
    // Neither addresses nor markup nor what a picture is called is to be read anywhere.
    row("strong", false);
    row("example.org", false);
    row("jetty", false);
    row("quay", true);
}

void PackageFilterTest::everythingThatACardShowsIsSearched()
{
    QFETCH(QString, text);
    QFETCH(bool, found);
    const PackagePointer package = ::package(
        QStringLiteral("Harbour"), QStringLiteral("Puts <i>flood</i>lights up"),
        QStringLiteral("<p>On every <strong>pon</strong>toon and <a "
                       "href=\"http://x.example.org/\">quay</a><img src=\"jetty.png\"></p>"));
    package->setType(QStringLiteral("PLUGIN"));
    package->setProductId(3);
    package->setIcon(QStringLiteral("http://addons.example.org/icon.png"));
    package->setManualUrl(QStringLiteral("http://addons.example.org/manual"));
    QCOMPARE(finds(package, text), found);
}

void PackageFilterTest::wordsAreFoundInWhateverWayTheyAreWritten_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("found");
    const auto row = [](const char *text, bool found) {
        QTest::newRow(text) << QString::fromUtf8(text) << found;
    };
    row("zürich", true);
    row("ZURICH", true);
    row("zu\xcc\x88rich", true);
    row("strasse", true);
    row("Straße", true);
    row("ric", true);
    row("strasse zurich", true);
    row("  (strasse)  zurich, ", true);
    row("zur zurich ur", true);
    row("zurich oslo", false);
    row("zurichs", false);
    row("zurich zurichs", false);
    row("zurichstrasse", false);
}

void PackageFilterTest::wordsAreFoundInWhateverWayTheyAreWritten()
{
    QFETCH(QString, text);
    QFETCH(bool, found);
    QCOMPARE(finds(package(QStringLiteral("Zürich"), QStringLiteral("Jede STRASSE")), text), found);
}

void PackageFilterTest::statesAreFoundByTheWordOnTheButton_data()
{
    QTest::addColumn<int>("state");
    QTest::addColumn<bool>("update");
    QTest::addColumn<QString>("words");
    const auto row = [](Package::State state, bool update, const char *words) {
        QTest::addRow("%d %d", state, update) << int(state) << update << QString::fromUtf8(words);
    };
    row(Package::AVAILABLE, false, "download");
    row(Package::INSTALLED, true, "update");
    row(Package::INSTALLED, false, "installed");
    row(Package::PREPARING, false, "preparing");
    row(Package::DOWNLOADING, false, "download downloading");
    row(Package::INSTALLING, false, "installing");
    row(Package::UNINSTALLING, false, "installing uninstalling");
    row(Package::INSTALL_ERROR, false, "install error");
    row(Package::DOWNLOAD_ERROR, false, "download error");
    row(Package::DEPENDENCY_ERROR, false, "dependency error");
    row(Package::UNKNOWN, false, "");
}

void PackageFilterTest::statesAreFoundByTheWordOnTheButton()
{
    QFETCH(int, state);
    QFETCH(bool, update);
    QFETCH(QString, words);
    const PackagePointer package = ::package(QStringLiteral("Pier"));
    package->setUpdateAvailable(update);
    package->setState(static_cast<Package::State>(state));
    const QStringList expected = words.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    for (const char *word : {"download", "update", "installed", "preparing", "downloading",
                             "installing", "uninstalling", "error", "dependency"}) {
        const QString text = QString::fromLatin1(word);
        QVERIFY2(finds(package, text) == expected.contains(text), word);
    }
}

void PackageFilterTest::buttonMayGiveOneOfTheWords()
{
    const PackagePointer package = ::package(QStringLiteral("Pier"));
    package->setUpdateAvailable(true);
    package->setState(Package::INSTALLED);
    QVERIFY(finds(package, QStringLiteral("Pier Update")));
    QVERIFY(finds(package, QStringLiteral("upd pie")));
    QVERIFY(!finds(package, QStringLiteral("Pier Download")));
    QVERIFY(!finds(package, QStringLiteral("Quay Update")));
}

void PackageFilterTest::withoutWordsEverythingIsFound_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("nothing") << QString();
    QTest::newRow("blanks") << QStringLiteral("  ");
    QTest::newRow("punctuation") << QStringLiteral(" - ? ");
}

void PackageFilterTest::withoutWordsEverythingIsFound()
{
    QFETCH(QString, text);
    m_filter->setPackages({package(QStringLiteral("Pier")), package(QStringLiteral("Quay"))});
    QCOMPARE(m_filter->foundCount(), 2);
    m_filter->search(QStringLiteral("Pier"));
    QVERIFY(m_filter->isActive());
    QCOMPARE(m_filter->foundCount(), 1);
    m_filter->search(text);
    QVERIFY(!m_filter->isActive());
    QCOMPARE(m_filter->foundCount(), 2);
}

void PackageFilterTest::stateIsThatOfTheSearch()
{
    const PackagePointer package = ::package(QStringLiteral("Pier"));
    m_filter->setPackages({package});
    m_filter->search(QStringLiteral("download"));
    QCOMPARE(m_filter->foundCount(), 1);
    package->setState(Package::INSTALLED);
    QCoreApplication::processEvents();
    QCOMPARE(m_filter->foundCount(), 1);
    m_filter->search(QStringLiteral("download"));
    QCOMPARE(m_filter->foundCount(), 0);
    m_filter->search(QStringLiteral("installed"));
    QCOMPARE(m_filter->foundCount(), 1);
}

void PackageFilterTest::newPackagesAreSearchedForTheSameText()
{
    m_filter->setPackages({package(QStringLiteral("Pier"))});
    m_filter->search(QStringLiteral("quay"));
    QCOMPARE(m_filter->foundCount(), 0);
    m_filter->setPackages({package(QStringLiteral("Pier")), package(QStringLiteral("Quay"))});
    QCOMPARE(m_filter->found().size(), 2);
    QVERIFY(!m_filter->found().testBit(0));
    QVERIFY(m_filter->found().testBit(1));
    m_filter->setPackages({});
    QVERIFY(m_filter->isComplete());
    QCOMPARE(m_filter->foundCount(), 0);
    // As many as before.
    m_filter->setPackages({package(QStringLiteral("Pier"))});
    m_filter->search(QStringLiteral("quay"));
    m_filter->setPackages({package(QStringLiteral("Quay"))});
    QCOMPARE(m_filter->foundCount(), 1);
    m_filter->search(QStringLiteral("quays"));
    QCOMPARE(m_filter->foundCount(), 0);
}

/// Letters come and go, and states change meanwhile.
void PackageFilterTest::typedTextsAreFoundAsNewOnes()
{
    constexpr int Steps = 1000;
    // Among them are those of the words on buttons.
    const QString letters = QStringLiteral("downal ");
    std::mt19937 random(1);
    const auto below = [&random](int end) {
        return static_cast<int>(random() % static_cast<std::uint_fast32_t>(end));
    };
    const auto letter = [&] { return letters.at(below(letters.size())); };
    PackageList packages;
    for (int i = 0; i < 60; ++i) {
        QString name;
        while (name.size() < 20)
            name += letter();
        packages.append(package(name));
    }
    m_filter->setPackages(packages);
    QString text;
    int found = 0;
    for (int step = 0; step < Steps; ++step) {
        if (below(5) < 3 && text.size() < 8)
            text += letter();
        else
            text.chop(1);
        packages.at(below(packages.size()))
            ->setState(below(2) ? Package::INSTALLED : Package::AVAILABLE);
        m_filter->search(text);
        PackageFilter other;
        other.setPackages(packages);
        other.search(text);
        QTRY_VERIFY(!other.isActive() || (m_filter->isComplete() && other.isComplete()));
        QCOMPARE(m_filter->found(), other.found());
        found += m_filter->isActive() && m_filter->foundCount() > 0 ? 1 : 0;
    }
    QVERIFY(found > Steps / 10);
}

void PackageFilterTest::longListIsReadInTurns()
{
    m_filter->setPackages(manyPackages());
    QSignalSpy advanced(m_filter.get(), &PackageFilter::advanced);
    m_filter->search(QStringLiteral("package"));
    // The beginning is there at once, and nothing else is.
    const int atOnce = m_filter->foundCount();
    QVERIFY(atOnce > 0);
    QVERIFY(atOnce < Many);
    QVERIFY(!m_filter->isComplete());
    QVERIFY(m_filter->found().testBit(atOnce - 1));
    QVERIFY(!m_filter->found().testBit(atOnce));
    int before = atOnce;
    while (!m_filter->isComplete()) {
        QVERIFY(advanced.wait());
        QVERIFY(m_filter->foundCount() > before);
        before = m_filter->foundCount();
    }
    QCOMPARE(m_filter->foundCount(), Many);
    advanced.clear();
    QCoreApplication::processEvents();
    QVERIFY(advanced.isEmpty());
}

void PackageFilterTest::longListIsReadAhead()
{
    m_filter->setPackages(manyPackages());
    QSignalSpy advanced(m_filter.get(), &PackageFilter::advanced);
    m_filter->prepare();
    QVERIFY(!m_filter->isComplete());
    QCOMPARE(m_filter->foundCount(), Many);
    QTRY_VERIFY(m_filter->isComplete());
    // Nobody has searched.
    QVERIFY(advanced.isEmpty());
    m_filter->search(QStringLiteral("29999"));
    QCOMPARE(m_filter->foundCount(), 1);
    QVERIFY(m_filter->found().testBit(29999));
}

void PackageFilterTest::newPackagesEndTheReadingOfTheOthers()
{
    m_filter->setPackages(manyPackages());
    m_filter->search(QStringLiteral("package"));
    QVERIFY(!m_filter->isComplete());
    QSignalSpy advanced(m_filter.get(), &PackageFilter::advanced);
    m_filter->setPackages({package(QStringLiteral("package 1"))});
    QVERIFY(m_filter->isComplete());
    QCOMPARE(m_filter->foundCount(), 1);
    QCoreApplication::processEvents();
    QVERIFY(advanced.isEmpty());
    QCOMPARE(m_filter->found().size(), 1);
}

/// Whoever has new packages has more to do with them first.
void PackageFilterTest::newPackagesWaitForTheirReadingAhead()
{
    m_filter->setPackages(manyPackages());
    m_filter->prepare();
    m_filter->setPackages({package(QStringLiteral("Pier"))});
    QCoreApplication::processEvents();
    QVERIFY(!m_filter->isComplete());
    m_filter->prepare();
    QTRY_VERIFY(m_filter->isComplete());
}

void PackageFilterTest::newTextWhileAListIsRead()
{
    m_filter->setPackages(manyPackages());
    m_filter->search(QStringLiteral("package"));
    QVERIFY(!m_filter->isComplete());
    m_filter->search(QStringLiteral("99"));
    QTRY_VERIFY(m_filter->isComplete());
    for (int i = 0; i < Many; ++i)
        QCOMPARE(m_filter->found().testBit(i), QString::number(i).contains(QLatin1String("99")));
    // And back to everything in the middle.
    m_filter->setPackages(manyPackages());
    QVERIFY(!m_filter->isComplete());
    m_filter->search(QString());
    QCOMPARE(m_filter->foundCount(), Many);
    QTRY_VERIFY(m_filter->isComplete());
    QCOMPARE(m_filter->foundCount(), Many);
}

/// Only as much is read as is shown.
void PackageFilterTest::longTextsAreReadInParts()
{
    const QString words = QStringLiteral("word ").repeated(200000);
    const PackagePointer package =
        ::package(QStringLiteral("Pier"), QString(),
                  QStringLiteral("first ") + words + QStringLiteral("last"));
    QVERIFY(finds(package, QStringLiteral("first")));
    QVERIFY(!finds(package, QStringLiteral("last")));
}

KAVO_TEST_MAIN(PackageFilterTest)
#include "PackageFilterTest.moc"
