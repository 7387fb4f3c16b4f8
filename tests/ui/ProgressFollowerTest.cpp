#include "ui/package/ProgressFollower.h"
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
#include <QSignalSpy>
#include <QTextDocument>

using namespace Kavo::Testing;

namespace {

constexpr qint64 MB = 1024 * 1024;
constexpr qint64 Second = 1000;

const QString Waiting = "waiting for the server"_s;

} // namespace

/// Tests the texts about long work on the card and on the page, in the real window. The test sets
/// the time.
class ProgressFollowerTest final : public WindowTest
{
    Q_OBJECT

private slots:
    void downloadShowsSizesAndTime()
    {
        QVERIFY(downloadHalf());
        QTRY_COMPARE(textOnCard(0), "2.0 of 128.0 MB"_s);
        grow(8 * MB, 6 * Second);
        const QString words = "8.0 of 128.0 MB, 2 minutes left"_s;
        QTRY_COMPARE(textOnCard(0), words);
        QAccessibleInterface *spoken = QAccessible::queryAccessibleInterface(&bar(0));
        QCOMPARE(spoken->text(QAccessible::Value), words);
        QCOMPARE(spoken->text(QAccessible::Description), words);
        QCOMPARE(spoken->role(), QAccessible::ProgressBar);
        QCOMPARE(spoken->valueInterface()->currentValue().toInt(), int(8 * MB / 1000));
        QCOMPARE(spoken->valueInterface()->maximumValue().toInt(), int(128 * MB / 1000));
        QCOMPARE(spoken->valueInterface()->minimumValue().toInt(), 0);
        // Screen readers may try to set a value.
        spoken->valueInterface()->setCurrentValue(0);
        QCOMPARE(bar(0).value(), int(8 * MB / 1000));

        // A page that is opened during the download shows the same text at once.
        openDetail(0);
        QCOMPARE(page().text(), words);
        grow(14 * MB, 6 * Second);
        QTRY_COMPARE(page().text(), "14.0 of 128.0 MB, 2 minutes left"_s);
        QCOMPARE(bar(0).maximum(), int(128 * MB / 1000));
        QVERIFY(!bar(0).isTextVisible());
    }

    void speedIsMeasuredFromReceivedBytes()
    {
        engine().offer({1});
        archive(1).generatedSize = 24 * MB;
        archive(1).holdAfter = 6 * MB;
        QVERIFY(open());
        QVERIFY(downloadTo(6 * MB));
        QTRY_COMPARE(textOnCard(0), "6.0 of 24.0 MB"_s);
        const auto downloading = package(1);
        bool isTimeTold = false;
        connect(downloading.data(), &Package::downloadedSize, this, [&](qint64) {
            isTimeTold = isTimeTold || controller().progress(downloading).secondsLeft;
            m_now += Second;
        });
        // The bytes are not an archive, but the download is complete.
        MessageBoxAnswers answers;
        expectError(answers, 1);
        release(1);
        QVERIFY(answers.waitForAll(engine().patience()));
        QVERIFY(isTimeTold);
        QCOMPARE(textOnCard(0), QString());
    }

    void unchangedTextIsNotAnnounced()
    {
        QVERIFY(downloadHalf());
        const Kavo::Ui::ProgressFollower follower(shared(), package(1));
        QSignalSpy texts(&follower, &Kavo::Ui::ProgressFollower::textChanged);
        emit package(1)->totalSize(128 * MB);
        QCOMPARE(texts.count(), 0);
        emit package(1)->totalSize(256 * MB);
        QCOMPARE(texts, QList<QVariantList>{{"2.0 of 256.0 MB"_s}});
    }

    void silentServerIsShown()
    {
        QVERIFY(downloadHalf());
        m_now += 10 * Second - 1;
        QVERIFY(!isSilent());
        m_now += 1;
        QTRY_COMPARE(textOnCard(0), "2.0 of 128.0 MB, "_s + Waiting);
        openDetail(0);
        QCOMPARE(page().text(), "2.0 of 128.0 MB, "_s + Waiting);
        grow(3 * MB);
        QTRY_COMPARE(page().text(), "3.0 of 128.0 MB"_s);
        QTRY_COMPARE(textOnCard(0), "3.0 of 128.0 MB"_s);
    }

    void serverWithoutAnAnswerIsShown()
    {
        offerHeld(1);
        archive(1).holdsHead = true;
        QVERIFY(open());
        install(1);
        QVERIFY(waitForState(1, Package::PREPARING));
        QCOMPARE(textOnCard(0), QString());
        m_now += 10 * Second;
        QTRY_COMPARE(textOnCard(0), Waiting);
        openDetail(0);
        QCOMPARE(page().text(), Waiting);
        release(1);
        QVERIFY(waitUntilInstalled(1));
        QTRY_COMPARE(textOnCard(0), QString());
        QVERIFY(page().isHidden());
    }

    void answerToTheProbeEndsTheSilence()
    {
        offerHeld(1);
        QVERIFY(open());
        install(1);
        m_now += 10 * Second;
        QVERIFY(isSilent());
        QVERIFY(waitForState(1, Package::DOWNLOADING));
        QVERIFY(!isSilent());
        m_now += 10 * Second;
        QTRY_VERIFY(textOnCard(0).endsWith(", "_s + Waiting));
    }

    void timeIsKeptAfterARefresh()
    {
        QVERIFY(downloadHalf());
        grow(8 * MB, 6 * Second);
        const QString words = "8.0 of 128.0 MB, 2 minutes left"_s;
        QTRY_COMPARE(textOnCard(0), words);
        const QPointer<QProgressBar> before = &bar(0);
        QVERIFY(refresh());
        QVERIFY(before != &bar(0));
        // The earlier measurements still count.
        QCOMPARE(textOnCard(0), words);
        QCOMPARE(bar(0).maximum(), int(128 * MB / 1000));
        QCOMPARE(bar(0).value(), int(8 * MB / 1000));
        grow(14 * MB, 6 * Second);
        QTRY_COMPARE(textOnCard(0), "14.0 of 128.0 MB, 2 minutes left"_s);
        openDetail(0);
        QCOMPARE(page().text(), textOnCard(0));
    }

    void resumedBytesDoNotCountAsSpeed()
    {
        offerSlow();
        archive(1).holdAfter = {};
        archive(1).resetAfter = 32 * MB;
        QVERIFY(open());
        MessageBoxAnswers answers;
        expectError(answers, 1, Package::DOWNLOAD_ERROR);
        install(1);
        QVERIFY(answers.waitForAll(engine().patience()));
        archive(1).resetAfter = {};
        archive(1).holdAfter = MB;
        const qint64 half = QFileInfo(cached("package-1-1.0.zip"_s)).size();
        QVERIFY(half > 0);
        QVERIFY(refresh());
        QVERIFY(downloadTo(half + MB));
        QTRY_VERIFY(textOnCard(0).endsWith(" of 128.0 MB"_s));
        grow(half + 2 * MB, 3 * Second);
        // With the bytes of the first part it would be less than a minute.
        QTRY_VERIFY(textOnCard(0).endsWith(" minutes left"_s));
    }

    void waitingPackageNamesItsDependency()
    {
        engine().offer({1, "1.0"_s, {"2"_s}});
        offerHeld(2);
        QVERIFY(open());
        install(1);
        QVERIFY(waitForState(1, Package::INSTALLING));
        QTRY_COMPARE(textOnCard(0), "waits for package-2"_s);
        openDetail(0);
        QCOMPARE(page().text(), "waits for package-2"_s);
        QVERIFY(refresh());
        QCOMPARE(textOnCard(0), "waits for package-2"_s);
        release(2);
        QVERIFY(waitUntilInstalled(1));
        QTRY_COMPARE(textOnCard(0), QString());
        QCOMPARE(textOnCard(1), QString());
    }

    void runningDependencyIsNamedFirst()
    {
        shutTheGate();
        engine().offer({1, "1.0"_s, {"2"_s, "3"_s, "4"_s}});
        for (int id = 2; id <= 4; ++id)
            offerHeld(id);
        QVERIFY(open());
        install(1);
        QVERIFY(waitForState(1, Package::INSTALLING));
        QTRY_COMPARE(textOnCard(0), "waits for package-2"_s);
        release(3);
        QVERIFY(m_gate->waitUntilReached());
        QTRY_COMPARE(textOnCard(0), "waits for package-3"_s);
        m_gate->open();
        QTRY_COMPARE(textOnCard(0), "waits for package-2"_s);
        release(2);
        QTRY_COMPARE(textOnCard(0), "waits for package-4"_s);
        release(4);
        QVERIFY(waitUntilInstalled(1));
    }

    void packageWaitsForTheRunningOne()
    {
        shutTheGate();
        engine().offer({1});
        engine().offer({2});
        QVERIFY(open());
        install(1);
        QVERIFY(m_gate->waitUntilReached());
        install(2);
        QVERIFY(waitForState(2, Package::INSTALLING));
        QTRY_COMPARE(textOnCard(1), "waits for package-1"_s);
        QCOMPARE(textOnCard(0), QString());
        m_gate->open();
        QVERIFY(waitUntilInstalled(2));
    }

    void dependencyIsNamedBeforeOtherWork()
    {
        shutTheGate();
        engine().offer({1, "1.0"_s, {"2"_s}});
        offerHeld(2);
        engine().offer({3});
        QVERIFY(open());
        install(3);
        QVERIFY(m_gate->waitUntilReached());
        install(1);
        QVERIFY(waitForState(1, Package::INSTALLING));
        QTRY_COMPARE(textOnCard(0), "waits for package-2"_s);
        m_gate->open();
        release(2);
        QVERIFY(waitUntilInstalled(1));
    }

    void nameIsPlainText()
    {
        engine().offer({1, "1.0"_s, {"2"_s}});
        const QJsonObject version{{"version"_s, "1.0"_s}, {"link"_s, server().url("/held.zip"_s)}};
        offerObject({{"id"_s, 2},
                     {"name"_s, QJsonObject{{"en"_s, "<b>Li</b>"_s}}},
                     {"versions"_s, QJsonArray{version}}});
        server().serve("/held.zip"_s, "none").holdsGet = true;
        QVERIFY(open());
        install(1);
        QVERIFY(waitForState(1, Package::INSTALLING));
        const QString words = "waits for <b>Li</b>"_s;
        QTRY_COMPARE(bar(0).accessibleDescription(), words);
        QTextDocument shown;
        shown.setHtml(bar(0).toolTip());
        QCOMPARE(shown.toPlainText(), words);
        openDetail(0);
        QCOMPARE(page().text(), words);
        QCOMPARE(page().textFormat(), Qt::PlainText);
    }

    void textDisappearsWithItsState_data()
    {
        Rows<Package::State>()
            .row("installing", Package::INSTALLING)
            .row("error", Package::DEPENDENCY_ERROR);
    }

    void textDisappearsWithItsState()
    {
        const auto [state] = Rows<Package::State>::current();
        QVERIFY(downloadHalf());
        openDetail(0);
        QTRY_COMPARE(page().text(), "2.0 of 128.0 MB"_s);
        QTRY_COMPARE(textOnCard(0), "2.0 of 128.0 MB"_s);
        MessageBoxAnswers answers;
        if (Package::isError(state))
            expectError(answers, 1, state);
        package(1)->setState(state);
        // The text disappears before the next tick.
        QVERIFY(page().isHidden() || page().text().isEmpty());
        QCOMPARE(textOnCard(0), QString());
        QVERIFY(answers.waitForAll());
        QVERIFY(!Package::isError(state) || page().isHidden());
    }

    void idlePackageShowsNoProgress()
    {
        engine().offer({1});
        engine().offer({2});
        QVERIFY(open());
        QVERIFY(installAndWait(1));
        for (int row = 0; row < 2; ++row) {
            QCOMPARE(textOnCard(row), QString());
            QCOMPARE(bar(row).accessibleDescription(), QString());
            const auto *spoken = QAccessible::queryAccessibleInterface(&bar(row));
            QCOMPARE(spoken->text(QAccessible::Value), QString::number(bar(row).value()));
        }
    }

private:
    void setUp() override
    {
        m_now = 77 * Second;
        engine().setClock([this] { return m_now; });
    }
    void tearDown() override
    {
        m_gate.reset();
        WindowTest::tearDown();
    }
    /// Offers a package of 128 MB. The server sends only the beginning.
    void offerSlow()
    {
        engine().offer({1});
        archive(1).generatedSize = 128 * MB;
        archive(1).holdAfter = 2 * MB;
    }
    /// Offers a package whose archive the server holds.
    void offerHeld(int id)
    {
        engine().offer({id});
        hold(id);
    }
    bool downloadTo(qint64 size)
    {
        install(1);
        const auto isThere = [this, size] {
            return controller().progress(package(1)).received == size;
        };
        return waitForState(1, Package::DOWNLOADING) && runUntil(isThere, engine().patience());
    }
    /// Opens the window and downloads the beginning of a slow package.
    bool downloadHalf()
    {
        offerSlow();
        return open() && downloadTo(2 * MB);
    }
    /// Sets the size of the download, as the transfer does.
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
    /// The text of the card.
    QString textOnCard(int row) const { return bar(row).toolTip(); }
    const QLabel &page() const { return *child<QLabel>(window(), "DetailProgress"); }
    void shutTheGate()
    {
        m_gate = std::make_unique<GatedExtractor>(profile().folder("tools"_s));
        setExtractor(m_gate->program());
    }

    std::unique_ptr<GatedExtractor> m_gate;
    qint64 m_now = 0;
};

KAVO_TEST_MAIN(ProgressFollowerTest)
#include "ProgressFollowerTest.moc"
