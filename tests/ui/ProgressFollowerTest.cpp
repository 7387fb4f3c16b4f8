#include "components/WidgetList.h"
#include "downloads/Download.h"
#include "tests/packages/GatedExtractor.h"
#include "tests/support/RunUntil.h"
#include "tests/support/TestMain.h"
#include "tests/ui/Boxes.h"
#include "tests/ui/WindowTest.h"

#include <QAccessible>
#include <QFileInfo>
#include <QJsonArray>
#include <QPointer>
#include <QProgressBar>
#include <QTextDocument>

using namespace Kavo::Testing;
using Kavo::Models::Package;

namespace {

constexpr qint64 MB = 1024 * 1024;
constexpr qint64 Second = 1000;

const QString Waiting = "waiting for the server"_s;

} // namespace

/// What the real window tells of work that takes long, in the words of the card and of the page.
/// The time is the test's own.
class ProgressFollowerTest final : public WindowTest
{
    Q_OBJECT

private slots:
    void init()
    {
        WindowTest::init();
        m_now = 77 * Second;
        engine().setClock([this] { return m_now; });
    }
    void cleanup()
    {
        m_gate.reset();
        WindowTest::cleanup();
    }

    void downloadTellsSizesAndTime()
    {
        QVERIFY(downloadHalf());
        QTRY_COMPARE(told(0), "2.0 of 128.0 MB"_s);
        grow(8 * MB, 6 * Second);
        const QString words = "8.0 of 128.0 MB, 2 minutes left"_s;
        QTRY_COMPARE(told(0), words);
        QAccessibleInterface *spoken = QAccessible::queryAccessibleInterface(&bar(0));
        QCOMPARE(spoken->text(QAccessible::Value), words);
        QCOMPARE(spoken->text(QAccessible::Description), words);
        QCOMPARE(spoken->role(), QAccessible::ProgressBar);
        QCOMPARE(spoken->valueInterface()->currentValue().toInt(), int(8 * MB / 1000));
        QCOMPARE(spoken->valueInterface()->maximumValue().toInt(), int(128 * MB / 1000));
        QCOMPARE(spoken->valueInterface()->minimumValue().toInt(), 0);
        // Screen readers may try to move what is a slider to them.
        spoken->valueInterface()->setCurrentValue(0);
        QCOMPARE(bar(0).value(), int(8 * MB / 1000));

        // A page that is opened in the middle tells the same at once, and follows.
        openDetail(0);
        QCOMPARE(page().text(), words);
        grow(14 * MB, 6 * Second);
        QTRY_COMPARE(page().text(), "14.0 of 128.0 MB, 2 minutes left"_s);
        QCOMPARE(bar(0).maximum(), int(128 * MB / 1000));
        QVERIFY(!bar(0).isTextVisible());
    }

    void bytesOfAServerMakeTheSpeed()
    {
        engine().offer({1});
        archive(1).generatedSize = 24 * MB;
        archive(1).holdAfter = 6 * MB;
        QVERIFY(open());
        QVERIFY(downloadTo(6 * MB));
        QTRY_COMPARE(told(0), "6.0 of 24.0 MB"_s);
        const auto downloading = package(1);
        bool isTimeTold = false;
        connect(downloading.data(), &Package::downloadedSize, this, [&](qint64) {
            isTimeTold = isTimeTold || controller().progress(downloading).secondsLeft;
            m_now += Second;
        });
        // No archive at all, but the whole of it comes.
        MessageBoxAnswers answers;
        expectError(answers, 1);
        release(1);
        QVERIFY(answers.waitForAll(engine().patience()));
        QVERIFY(isTimeTold);
        QCOMPARE(told(0), QString());
    }

    void silentServerIsTold()
    {
        QVERIFY(downloadHalf());
        m_now += 10 * Second - 1;
        QVERIFY(!isSilent());
        m_now += 1;
        QTRY_COMPARE(told(0), "2.0 of 128.0 MB, "_s + Waiting);
        openDetail(0);
        QCOMPARE(page().text(), "2.0 of 128.0 MB, "_s + Waiting);
        grow(3 * MB);
        QTRY_COMPARE(page().text(), "3.0 of 128.0 MB"_s);
        QTRY_COMPARE(told(0), "3.0 of 128.0 MB"_s);
    }

    void serverThatDoesNotEvenAnswerIsTold()
    {
        offerHeld(1);
        archive(1).holdsHead = true;
        QVERIFY(open());
        engine().install(1);
        QVERIFY(engine().waitForState(1, Package::PREPARING));
        QCOMPARE(told(0), QString());
        m_now += 10 * Second;
        QTRY_COMPARE(told(0), Waiting);
        openDetail(0);
        QCOMPARE(page().text(), Waiting);
        release(1);
        QVERIFY(waitUntilInstalled(1));
        QTRY_COMPARE(told(0), QString());
        QVERIFY(page().isHidden());
    }

    void answerToTheProbeIsASignOfLife()
    {
        offerHeld(1);
        QVERIFY(open());
        engine().install(1);
        m_now += 10 * Second;
        QVERIFY(isSilent());
        QVERIFY(engine().waitForState(1, Package::DOWNLOADING));
        QVERIFY(!isSilent());
        m_now += 10 * Second;
        QTRY_VERIFY(told(0).endsWith(", "_s + Waiting));
    }

    void timeGoesOnAfterARefresh()
    {
        QVERIFY(downloadHalf());
        grow(8 * MB, 6 * Second);
        const QString words = "8.0 of 128.0 MB, 2 minutes left"_s;
        QTRY_COMPARE(told(0), words);
        const QPointer<QProgressBar> before = &bar(0);
        QVERIFY(engine().refresh());
        QVERIFY(before != &bar(0));
        // What was measured before counts on.
        QCOMPARE(told(0), words);
        grow(14 * MB, 6 * Second);
        QTRY_COMPARE(told(0), "14.0 of 128.0 MB, 2 minutes left"_s);
        openDetail(0);
        QCOMPARE(page().text(), told(0));
    }

    void resumedBytesAreNoSpeed()
    {
        offerSlow();
        archive(1).holdAfter = {};
        archive(1).resetAfter = 32 * MB;
        QVERIFY(open());
        MessageBoxAnswers answers;
        expectError(answers, 1, Package::DOWNLOAD_ERROR);
        engine().install(1);
        QVERIFY(answers.waitForAll(engine().patience()));
        archive(1).resetAfter = {};
        archive(1).holdAfter = MB;
        const qint64 half = QFileInfo(engine().cached("package-1-1.0.zip"_s)).size();
        QVERIFY(half > 0);
        QVERIFY(engine().refresh());
        QVERIFY(downloadTo(half + MB));
        QTRY_VERIFY(told(0).endsWith(" of 128.0 MB"_s));
        grow(half + 2 * MB, 3 * Second);
        // With what lay there it would be less than a minute.
        QTRY_VERIFY(told(0).endsWith(" minutes left"_s));
    }

    void waitingPackageNamesItsDependency()
    {
        engine().offer({1, "1.0"_s, {"2"_s}});
        offerHeld(2);
        QVERIFY(open());
        engine().install(1);
        QVERIFY(engine().waitForState(1, Package::INSTALLING));
        QTRY_COMPARE(told(0), "waits for package-2"_s);
        openDetail(0);
        QCOMPARE(page().text(), "waits for package-2"_s);
        QVERIFY(engine().refresh());
        QCOMPARE(told(0), "waits for package-2"_s);
        release(2);
        QVERIFY(waitUntilInstalled(1));
        QTRY_COMPARE(told(0), QString());
        QCOMPARE(told(1), QString());
    }

    void ofSeveralTheRunningOneIsNamed()
    {
        shutTheGate();
        engine().offer({1, "1.0"_s, {"2"_s, "3"_s, "4"_s}});
        for (int id = 2; id <= 4; ++id)
            offerHeld(id);
        QVERIFY(open());
        engine().install(1);
        QVERIFY(engine().waitForState(1, Package::INSTALLING));
        QTRY_COMPARE(told(0), "waits for package-2"_s);
        release(3);
        QVERIFY(m_gate->waitUntilReached());
        QTRY_COMPARE(told(0), "waits for package-3"_s);
        m_gate->open();
        QTRY_COMPARE(told(0), "waits for package-2"_s);
        release(2);
        QTRY_COMPARE(told(0), "waits for package-4"_s);
        release(4);
        QVERIFY(waitUntilInstalled(1));
    }

    void packageWaitsForTheRunningOne()
    {
        shutTheGate();
        engine().offer({1});
        engine().offer({2});
        QVERIFY(open());
        engine().install(1);
        QVERIFY(m_gate->waitUntilReached());
        engine().install(2);
        QVERIFY(engine().waitForState(2, Package::INSTALLING));
        QTRY_COMPARE(told(1), "waits for package-1"_s);
        QCOMPARE(told(0), QString());
        m_gate->open();
        QVERIFY(waitUntilInstalled(2));
    }

    void dependencyIsNamedRatherThanTheRunningOne()
    {
        shutTheGate();
        engine().offer({1, "1.0"_s, {"2"_s}});
        offerHeld(2);
        engine().offer({3});
        QVERIFY(open());
        engine().install(3);
        QVERIFY(m_gate->waitUntilReached());
        engine().install(1);
        QVERIFY(engine().waitForState(1, Package::INSTALLING));
        QTRY_COMPARE(told(0), "waits for package-2"_s);
        m_gate->open();
        release(2);
        QVERIFY(waitUntilInstalled(1));
    }

    void nameIsShownLetterForLetter()
    {
        engine().offer({1, "1.0"_s, {"2"_s}});
        const QJsonObject version{{"version"_s, "1.0"_s}, {"link"_s, server().url("/held.zip"_s)}};
        engine().offerObject({{"id"_s, 2},
                              {"name"_s, QJsonObject{{"en"_s, "<b>Li</b>"_s}}},
                              {"versions"_s, QJsonArray{version}}});
        server().serve("/held.zip"_s, "none").holdsGet = true;
        QVERIFY(open());
        engine().install(1);
        QVERIFY(engine().waitForState(1, Package::INSTALLING));
        const QString words = "waits for <b>Li</b>"_s;
        QTRY_COMPARE(bar(0).accessibleDescription(), words);
        QTextDocument shown;
        shown.setHtml(bar(0).toolTip());
        QCOMPARE(shown.toPlainText(), words);
        openDetail(0);
        QCOMPARE(page().text(), words);
        QCOMPARE(page().textFormat(), Qt::PlainText);
    }

    void wordsGoWithTheirState_data()
    {
        table<Package::State>(
            {"state"}, {{"installing", Package::INSTALLING}, {"error", Package::DEPENDENCY_ERROR}});
    }

    void wordsGoWithTheirState()
    {
        QFETCH(Package::State, state);
        QVERIFY(downloadHalf());
        openDetail(0);
        QTRY_COMPARE(page().text(), "2.0 of 128.0 MB"_s);
        QTRY_COMPARE(told(0), "2.0 of 128.0 MB"_s);
        MessageBoxAnswers answers;
        if (Package::isError(state))
            expectError(answers, 1, state);
        package(1)->setState(state);
        // Without waiting for the next tick.
        QVERIFY(page().isHidden() || page().text().isEmpty());
        QCOMPARE(told(0), QString());
        QVERIFY(answers.waitForAll());
        QVERIFY(!Package::isError(state) || page().isHidden());
    }

    void packageAtRestTellsNothing()
    {
        engine().offer({1});
        engine().offer({2});
        QVERIFY(open());
        QVERIFY(engine().installAndWait(1));
        for (int row = 0; row < 2; ++row) {
            QCOMPARE(told(row), QString());
            QCOMPARE(bar(row).accessibleDescription(), QString());
            const auto *spoken = QAccessible::queryAccessibleInterface(&bar(row));
            QCOMPARE(spoken->text(QAccessible::Value), QString::number(bar(row).value()));
        }
    }

private:
    /// A package of 128 MB of which only the beginning comes.
    void offerSlow()
    {
        engine().offer({1});
        archive(1).generatedSize = 128 * MB;
        archive(1).holdAfter = 2 * MB;
    }
    /// A package whose archive the server keeps back.
    void offerHeld(int id)
    {
        engine().offer({id});
        hold(id);
    }
    bool downloadTo(qint64 size)
    {
        engine().install(1);
        const auto isThere = [this, size] {
            return controller().progress(package(1)).received == size;
        };
        return engine().waitForState(1, Package::DOWNLOADING) &&
               runUntil(isThere, engine().patience());
    }
    /// Opens the window and downloads the beginning of a slow package.
    bool downloadHalf()
    {
        offerSlow();
        return open() && downloadTo(2 * MB);
    }
    /// As the transfer does from time to time.
    void grow(qint64 size, qint64 time = 0)
    {
        m_now += time;
        controller().runningDownload(package(1))->setCurrentSize(size);
    }
    bool isSilent() { return controller().progress(package(1)).isSilent; }
    QProgressBar &bar(int row) const
    {
        return *child<QProgressBar>(*list().rowWidget(row), "PackageProgress");
    }
    /// What the card says.
    QString told(int row) const { return bar(row).toolTip(); }
    const QLabel &page() const { return *child<QLabel>(window(), "DetailProgress"); }
    void shutTheGate()
    {
        m_gate = std::make_unique<GatedExtractor>(engine().profile().folder("tools"_s));
        engine().setExtractor(m_gate->program());
    }

    std::unique_ptr<GatedExtractor> m_gate;
    qint64 m_now = 0;
};

KAVO_TEST_MAIN(ProgressFollowerTest)
#include "ProgressFollowerTest.moc"
