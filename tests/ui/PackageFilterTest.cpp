#include "ui/list/PackageFilter.h"
#include "tests/packages/MakePackage.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
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

/// More packages than any machine reads in one turn.
constexpr int Many = 30000;

PackagePointer named(const QString &name, const QString &brief = QString(),
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
        packages.append(named("package %1"_s.arg(i)));
    return packages;
}

} // namespace

class PackageFilterTest final : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_filter = std::make_unique<PackageFilter>(); }

    void everythingThatACardShowsIsSearched_data()
    {
        searches(
            {"harbour", "floodlights", "plugin", "paid", "download", "pontoon", "quay"},
            // Addresses, markup and names of pictures are not visible, so they are not searched.
            {"free", "library", "update", "installed", "strong", "example.org", "jetty"});
    }

    void everythingThatACardShowsIsSearched()
    {
        const auto [text, found] = Rows<QString, bool>::current();
        const PackagePointer package =
            named("Harbour"_s, "Puts <i>flood</i>lights up"_s,
                  "<p>On every <strong>pon</strong>toon and <a "
                  "href=\"http://x.example.org/\">quay</a><img src=\"jetty.png\"></p>"_s);
        package->setType("PLUGIN"_s);
        package->setProductId(3);
        package->setIcon("http://addons.example.org/icon.png"_s);
        package->setManualUrl("http://addons.example.org/manual"_s);
        QCOMPARE(finds(package, text), found);
    }

    void caseAndAccentsDoNotMatter_data()
    {
        searches({"zürich", "ZURICH", "zu\xcc\x88rich", "strasse", "Straße", "ric",
                  "strasse zurich", "  (strasse)  zurich, ", "zur zurich ur"},
                 {"zurich oslo", "zurichs", "zurich zurichs", "zurichstrasse"});
    }

    void caseAndAccentsDoNotMatter()
    {
        const auto [text, found] = Rows<QString, bool>::current();
        QCOMPARE(finds(named("Zürich"_s, "Jede STRASSE"_s), text), found);
    }

    void statesAreFoundByTheirButtonText_data()
    {
        Rows<Package::State, bool, QString>()
            .row("available", Package::AVAILABLE, false, "download")
            .row("update", Package::INSTALLED, true, "update")
            .row("installed", Package::INSTALLED, false, "installed")
            .row("preparing", Package::PREPARING, false, "preparing")
            .row("downloading", Package::DOWNLOADING, false, "download downloading")
            .row("installing", Package::INSTALLING, false, "installing")
            .row("removing", Package::UNINSTALLING, false, "installing uninstalling")
            .row("install error", Package::INSTALL_ERROR, false, "error")
            .row("download error", Package::DOWNLOAD_ERROR, false, "download error")
            .row("dependency error", Package::DEPENDENCY_ERROR, false, "error dependency")
            .row("unknown", Package::UNKNOWN, false, "");
    }

    void statesAreFoundByTheirButtonText()
    {
        const auto [state, update, words] = Rows<Package::State, bool, QString>::current();
        const PackagePointer package = named("Pier"_s);
        package->setUpdateAvailable(update);
        package->setState(state);
        QStringList found;
        for (const QString &word :
             {"download"_s, "update"_s, "installed"_s, "preparing"_s, "installing"_s,
              "uninstalling"_s, "downloading"_s, "error"_s, "dependency"_s}) {
            if (finds(package, word))
                found.append(word);
        }
        QCOMPARE(found.join(QLatin1Char(' ')), words);
    }

    void buttonTextMayMatchOneWord()
    {
        const PackagePointer package = named("Pier"_s);
        package->setUpdateAvailable(true);
        package->setState(Package::INSTALLED);
        QVERIFY(finds(package, "Pier Update"_s));
        QVERIFY(finds(package, "upd pie"_s));
        QVERIFY(!finds(package, "Pier Download"_s));
        QVERIFY(!finds(package, "Quay Update"_s));
    }

    void searchWithoutWordsFindsEverything_data()
    {
        Rows<QString>().row("nothing", "").row("blanks", "  ").row("punctuation", " - ? ");
    }

    void searchWithoutWordsFindsEverything()
    {
        const auto [text] = Rows<QString>::current();
        m_filter->setPackages({named("Pier"_s), named("Quay"_s)});
        QCOMPARE(m_filter->foundCount(), 2);
        m_filter->search("Pier"_s);
        QVERIFY(m_filter->isActive());
        QCOMPARE(m_filter->foundCount(), 1);
        m_filter->search(text);
        QVERIFY(!m_filter->isActive());
        QCOMPARE(m_filter->foundCount(), 2);
    }

    void stateAtTheTimeOfTheSearchCounts()
    {
        const PackagePointer package = named("Pier"_s);
        m_filter->setPackages({package});
        m_filter->search("download"_s);
        QCOMPARE(m_filter->foundCount(), 1);
        package->setState(Package::INSTALLED);
        QCoreApplication::processEvents();
        QCOMPARE(m_filter->foundCount(), 1);
        m_filter->search("download"_s);
        QCOMPARE(m_filter->foundCount(), 0);
        m_filter->search("installed"_s);
        QCOMPARE(m_filter->foundCount(), 1);
    }

    void newPackagesAreSearchedForTheSameText()
    {
        QVERIFY(!finds(named("Pier"_s), "quay"_s));
        m_filter->setPackages({named("Pier"_s), named("Quay"_s)});
        QCOMPARE(m_filter->found().size(), 2);
        QVERIFY(!m_filter->found().testBit(0));
        QVERIFY(m_filter->found().testBit(1));
        m_filter->setPackages({});
        QVERIFY(m_filter->isComplete());
        QCOMPARE(m_filter->foundCount(), 0);
        // The number of packages is unchanged.
        m_filter->setPackages({named("Pier"_s)});
        m_filter->search("quay"_s);
        m_filter->setPackages({named("Quay"_s)});
        QCOMPARE(m_filter->foundCount(), 1);
        m_filter->search("quays"_s);
        QCOMPARE(m_filter->foundCount(), 0);
    }

    /// Letters are added and deleted, and states change in between.
    void typedTextsAreFoundAsNewOnes()
    {
        constexpr int Steps = 1000;
        // These letters also occur in the texts of buttons.
        const QString letters = "downal "_s;
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
            packages.append(named(name));
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
            // A busy machine may need more than one turn of the event loop.
            QTRY_VERIFY(!other.isActive() || (m_filter->isComplete() && other.isComplete()));
            QCOMPARE(m_filter->found(), other.found());
            found += m_filter->isActive() && m_filter->foundCount() > 0 ? 1 : 0;
        }
        QVERIFY(found > Steps / 10);
    }

    void longListIsReadInTurns()
    {
        m_filter->setPackages(manyPackages());
        QSignalSpy advanced(m_filter.get(), &PackageFilter::advanced);
        m_filter->search("package"_s);
        // Only the beginning has been read.
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

    void longListIsReadAhead()
    {
        m_filter->setPackages(manyPackages());
        QSignalSpy advanced(m_filter.get(), &PackageFilter::advanced);
        m_filter->prepare();
        QVERIFY(!m_filter->isComplete());
        QCOMPARE(m_filter->foundCount(), Many);
        QTRY_VERIFY(m_filter->isComplete());
        // Not emitted, because there is no search.
        QVERIFY(advanced.isEmpty());
        m_filter->search("29999"_s);
        QCOMPARE(m_filter->foundCount(), 1);
        QVERIFY(m_filter->found().testBit(29999));
    }

    void newPackagesStopReadingTheOldOnes()
    {
        m_filter->setPackages(manyPackages());
        m_filter->search("package"_s);
        QVERIFY(!m_filter->isComplete());
        QSignalSpy advanced(m_filter.get(), &PackageFilter::advanced);
        m_filter->setPackages({named("package 1"_s)});
        QVERIFY(m_filter->isComplete());
        QCOMPARE(m_filter->foundCount(), 1);
        QCoreApplication::processEvents();
        QVERIFY(advanced.isEmpty());
        QCOMPARE(m_filter->found().size(), 1);
    }

    /// The caller has more urgent work with new packages.
    void newPackagesAreNotReadAheadByThemselves()
    {
        m_filter->setPackages(manyPackages());
        m_filter->prepare();
        m_filter->setPackages({named("Pier"_s)});
        QCoreApplication::processEvents();
        QVERIFY(!m_filter->isComplete());
        m_filter->prepare();
        QTRY_VERIFY(m_filter->isComplete());
    }

    void newTextWhileAListIsRead()
    {
        m_filter->setPackages(manyPackages());
        m_filter->search("package"_s);
        QVERIFY(!m_filter->isComplete());
        m_filter->search("99"_s);
        QTRY_VERIFY(m_filter->isComplete());
        for (int i = 0; i < Many; ++i)
            QCOMPARE(m_filter->found().testBit(i), QString::number(i).contains("99"_s));
        // The search is cleared while the list is being read.
        m_filter->setPackages(manyPackages());
        QVERIFY(!m_filter->isComplete());
        m_filter->search(QString());
        QCOMPARE(m_filter->foundCount(), Many);
        QTRY_VERIFY(m_filter->isComplete());
        QCOMPARE(m_filter->foundCount(), Many);
    }

    /// Only the part that a card shows is read.
    void longTextsAreReadInParts()
    {
        const QString words = "word "_s.repeated(200000);
        const PackagePointer package = named("Pier"_s, QString(), "first "_s + words + "last"_s);
        QVERIFY(finds(package, "first"_s));
        QVERIFY(!finds(package, "last"_s));
    }

private:
    /// Texts that find a package, and texts that do not.
    static void searches(std::initializer_list<const char *> finding,
                         std::initializer_list<const char *> missing)
    {
        Rows<QString, bool> rows;
        for (const char *text : finding)
            rows.row(text, text, true);
        for (const char *text : missing)
            rows.row(text, text, false);
    }
    /// Whether one package is found.
    bool finds(const PackagePointer &package, const QString &text)
    {
        m_filter->setPackages({package});
        m_filter->search(text);
        return m_filter->isComplete() && m_filter->foundCount() == 1;
    }

    std::unique_ptr<PackageFilter> m_filter;
};

KAVO_TEST_MAIN(PackageFilterTest)
#include "PackageFilterTest.moc"
