#include "components/WidgetList.h"
#include "downloads/Download.h"
#include "tests/components/Widgets.h"
#include "tests/packages/GatedExtractor.h"
#include "tests/support/MessageBoxAnswers.h"
#include "tests/support/RunUntil.h"
#include "tests/support/TestMain.h"
#include "tests/ui/ShownWindow.h"

#include <QAccessible>
#include <QFileInfo>
#include <QJsonArray>
#include <QPointer>
#include <QProgressBar>
#include <QTextDocument>

#include <memory>

using namespace Kavo::Testing;
using Kavo::Models::Package;

namespace {

constexpr qint64 MB = 1024 * 1024;
constexpr qint64 Second = 1000;

QString archive(int id)
{
    return QStringLiteral("/package-%1-1.0.zip").arg(id);
}

} // namespace

/// What the real window tells of work that takes long, in the words of the card and of the page.
/// The time is the test's own.
class ProgressFollowerTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void downloadTellsSizesAndTime();
    void bytesOfAServerMakeTheSpeed();
    void silentServerIsTold();
    void serverThatDoesNotEvenAnswerIsTold();
    void answerToTheProbeIsASignOfLife();
    void timeGoesOnAfterARefresh();
    void resumedBytesAreNoSpeed();
    void waitingPackageNamesItsDependency();
    void ofSeveralTheRunningOneIsNamed();
    void packageWaitsForTheRunningOne();
    void dependencyIsNamedRatherThanTheRunningOne();
    void nameIsShownLetterForLetter();
    void wordsGoWithTheirState();
    void wordsGoWithAnError();
    void packageAtRestTellsNothing();

private:
    Engine &engine() { return m_shown->engine(); }
    bool open() { return m_shown->open(); }
    /// A package of 128 MB of which only the beginning comes.
    void offerSlow(int id);
    void offerDependant(int id, const QStringList &needs);
    bool downloadTo(int id, qint64 size);
    /// As the transfer does from time to time.
    void grow(int id, qint64 size);

    QProgressBar &bar(int row) const;
    QString told(int row) const { return bar(row).toolTip(); }
    QString page() const { return textOf(m_shown->window(), "DetailProgress"); }
    void shutTheGate();

    std::unique_ptr<GatedExtractor> m_gate;
    std::unique_ptr<ShownWindow> m_shown;
    qint64 m_now = 0;
};

void ProgressFollowerTest::init()
{
    m_now = 77 * Second;
    m_shown = std::make_unique<ShownWindow>();
    engine().setClock([this] { return m_now; });
}

void ProgressFollowerTest::cleanup()
{
    m_gate.reset();
    m_shown.reset();
}

void ProgressFollowerTest::offerSlow(int id)
{
    engine().offer({id});
    engine().server().serveGenerated(archive(id), 128 * MB).holdAfter = 2 * MB;
}

void ProgressFollowerTest::offerDependant(int id, const QStringList &needs)
{
    Offer offer{id};
    offer.depends = needs;
    engine().offer(offer);
}

bool ProgressFollowerTest::downloadTo(int id, qint64 size)
{
    engine().install(id);
    return engine().waitForState(id, Package::DOWNLOADING) &&
           runUntil(
               [this, id, size] {
                   return engine().controller().progress(engine().package(id)).received == size;
               },
               engine().patience());
}

void ProgressFollowerTest::grow(int id, qint64 size)
{
    engine().controller().runningDownload(engine().package(id))->setCurrentSize(size);
}

QProgressBar &ProgressFollowerTest::bar(int row) const
{
    return *child<QProgressBar>(*m_shown->list().rowWidget(row), "PackageProgress");
}

void ProgressFollowerTest::shutTheGate()
{
    m_gate = std::make_unique<GatedExtractor>(engine().profile().folder(QStringLiteral("tools")));
    engine().setExtractor(m_gate->program());
}

void ProgressFollowerTest::downloadTellsSizesAndTime()
{
    offerSlow(1);
    QVERIFY(open());
    QVERIFY(downloadTo(1, 2 * MB));
    QTRY_COMPARE(told(0), QStringLiteral("2.0 of 128.0 MB"));
    m_now += 6 * Second;
    grow(1, 8 * MB);
    const QString words = QStringLiteral("8.0 of 128.0 MB, 2 minutes left");
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
    m_shown->openDetail(0);
    QCOMPARE(page(), words);
    m_now += 6 * Second;
    grow(1, 14 * MB);
    QTRY_COMPARE(page(), QStringLiteral("14.0 of 128.0 MB, 2 minutes left"));
    QCOMPARE(bar(0).maximum(), int(128 * MB / 1000));
    QVERIFY(!bar(0).isTextVisible());
}

void ProgressFollowerTest::bytesOfAServerMakeTheSpeed()
{
    engine().offer({1});
    engine().server().serveGenerated(archive(1), 24 * MB).holdAfter = 6 * MB;
    QVERIFY(open());
    QVERIFY(downloadTo(1, 6 * MB));
    QTRY_COMPARE(told(0), QStringLiteral("6.0 of 24.0 MB"));
    const auto package = engine().package(1);
    bool isTimeTold = false;
    connect(package.data(), &Package::downloadedSize, this, [&](qint64) {
        isTimeTold = isTimeTold || engine().controller().progress(package).secondsLeft;
        m_now += Second;
    });
    // No archive at all, but the whole of it comes.
    MessageBoxAnswers answers;
    answers.expect(QStringLiteral("Install Error"),
                   QStringLiteral("Installation failed for package : package-1"), QMessageBox::Ok);
    engine().server().release(archive(1));
    QVERIFY(answers.waitForAll(engine().patience()));
    QVERIFY(isTimeTold);
    QCOMPARE(told(0), QString());
}

void ProgressFollowerTest::silentServerIsTold()
{
    offerSlow(1);
    QVERIFY(open());
    QVERIFY(downloadTo(1, 2 * MB));
    const auto package = engine().package(1);
    m_now += 10 * Second - 1;
    QVERIFY(!engine().controller().progress(package).isSilent);
    m_now += 1;
    QTRY_COMPARE(told(0), QStringLiteral("2.0 of 128.0 MB, waiting for the server"));
    m_shown->openDetail(0);
    QCOMPARE(page(), QStringLiteral("2.0 of 128.0 MB, waiting for the server"));
    grow(1, 3 * MB);
    QTRY_COMPARE(page(), QStringLiteral("3.0 of 128.0 MB"));
    QTRY_COMPARE(told(0), QStringLiteral("3.0 of 128.0 MB"));
}

void ProgressFollowerTest::serverThatDoesNotEvenAnswerIsTold()
{
    engine().offer({1});
    engine().server().resource(archive(1)).holdsHead = true;
    engine().server().resource(archive(1)).holdsGet = true;
    QVERIFY(open());
    engine().install(1);
    QVERIFY(engine().waitForState(1, Package::PREPARING));
    QCOMPARE(told(0), QString());
    m_now += 10 * Second;
    QTRY_COMPARE(told(0), QStringLiteral("waiting for the server"));
    m_shown->openDetail(0);
    QCOMPARE(page(), QStringLiteral("waiting for the server"));
    engine().server().release(archive(1));
    QVERIFY(engine().waitForState(1, Package::INSTALLED));
    QVERIFY(engine().waitUntilSettled(1));
    QTRY_COMPARE(told(0), QString());
    QVERIFY(child<QLabel>(m_shown->window(), "DetailProgress")->isHidden());
}

void ProgressFollowerTest::answerToTheProbeIsASignOfLife()
{
    engine().offer({1});
    engine().server().resource(archive(1)).holdsGet = true;
    QVERIFY(open());
    engine().install(1);
    m_now += 10 * Second;
    QVERIFY(engine().controller().progress(engine().package(1)).isSilent);
    QVERIFY(engine().waitForState(1, Package::DOWNLOADING));
    QVERIFY(!engine().controller().progress(engine().package(1)).isSilent);
    m_now += 10 * Second;
    QTRY_VERIFY(told(0).endsWith(QStringLiteral(", waiting for the server")));
}

void ProgressFollowerTest::timeGoesOnAfterARefresh()
{
    offerSlow(1);
    QVERIFY(open());
    QVERIFY(downloadTo(1, 2 * MB));
    m_now += 6 * Second;
    grow(1, 8 * MB);
    const QString words = QStringLiteral("8.0 of 128.0 MB, 2 minutes left");
    QTRY_COMPARE(told(0), words);
    const QPointer<QProgressBar> before = &bar(0);
    QVERIFY(engine().refresh());
    QVERIFY(before != &bar(0));
    // What was measured before counts on.
    QCOMPARE(told(0), words);
    m_now += 6 * Second;
    grow(1, 14 * MB);
    QTRY_COMPARE(told(0), QStringLiteral("14.0 of 128.0 MB, 2 minutes left"));
    m_shown->openDetail(0);
    QCOMPARE(page(), told(0));
}

void ProgressFollowerTest::resumedBytesAreNoSpeed()
{
    offerSlow(1);
    engine().server().resource(archive(1)).holdAfter = {};
    engine().server().resource(archive(1)).resetAfter = 32 * MB;
    QVERIFY(open());
    MessageBoxAnswers answers;
    answers.expect(QStringLiteral("Download Error"),
                   QStringLiteral("Downloading failed for package : package-1"), QMessageBox::Ok);
    engine().install(1);
    QVERIFY(answers.waitForAll(engine().patience()));
    engine().server().resource(archive(1)).resetAfter = {};
    engine().server().resource(archive(1)).holdAfter = MB;
    const qint64 half = QFileInfo(engine().cached(QStringLiteral("package-1-1.0.zip"))).size();
    QVERIFY(half > 0);
    QVERIFY(engine().refresh());
    QVERIFY(downloadTo(1, half + MB));
    QTRY_VERIFY(told(0).endsWith(QStringLiteral(" of 128.0 MB")));
    m_now += 3 * Second;
    grow(1, half + 2 * MB);
    // With what lay there it would be less than a minute.
    QTRY_VERIFY(told(0).endsWith(QStringLiteral(" minutes left")));
}

void ProgressFollowerTest::waitingPackageNamesItsDependency()
{
    offerDependant(1, {QStringLiteral("2")});
    engine().offer({2});
    engine().server().resource(archive(2)).holdsGet = true;
    QVERIFY(open());
    engine().install(1);
    QVERIFY(engine().waitForState(1, Package::INSTALLING));
    QTRY_COMPARE(told(0), QStringLiteral("waits for package-2"));
    m_shown->openDetail(0);
    QCOMPARE(page(), QStringLiteral("waits for package-2"));
    QVERIFY(engine().refresh());
    QCOMPARE(told(0), QStringLiteral("waits for package-2"));
    engine().server().release(archive(2));
    QVERIFY(engine().waitForState(1, Package::INSTALLED));
    QVERIFY(engine().waitUntilSettled(1));
    QTRY_COMPARE(told(0), QString());
    QCOMPARE(told(1), QString());
}

void ProgressFollowerTest::ofSeveralTheRunningOneIsNamed()
{
    shutTheGate();
    offerDependant(1, {QStringLiteral("2"), QStringLiteral("3"), QStringLiteral("4")});
    for (int id = 2; id <= 4; ++id) {
        engine().offer({id});
        engine().server().resource(archive(id)).holdsGet = true;
    }
    QVERIFY(open());
    engine().install(1);
    QVERIFY(engine().waitForState(1, Package::INSTALLING));
    QTRY_COMPARE(told(0), QStringLiteral("waits for package-2"));
    engine().server().release(archive(3));
    QVERIFY(m_gate->waitUntilReached());
    QTRY_COMPARE(told(0), QStringLiteral("waits for package-3"));
    m_gate->open();
    QTRY_COMPARE(told(0), QStringLiteral("waits for package-2"));
    engine().server().release(archive(2));
    QTRY_COMPARE(told(0), QStringLiteral("waits for package-4"));
    engine().server().release(archive(4));
    QVERIFY(engine().waitForState(1, Package::INSTALLED));
    QVERIFY(engine().waitUntilSettled(1));
}

void ProgressFollowerTest::packageWaitsForTheRunningOne()
{
    shutTheGate();
    engine().offer({1});
    engine().offer({2});
    QVERIFY(open());
    engine().install(1);
    QVERIFY(m_gate->waitUntilReached());
    engine().install(2);
    QVERIFY(engine().waitForState(2, Package::INSTALLING));
    QTRY_COMPARE(told(1), QStringLiteral("waits for package-1"));
    QCOMPARE(told(0), QString());
    m_gate->open();
    QVERIFY(engine().waitForState(2, Package::INSTALLED));
    QVERIFY(engine().waitUntilSettled(2));
}

void ProgressFollowerTest::dependencyIsNamedRatherThanTheRunningOne()
{
    shutTheGate();
    offerDependant(1, {QStringLiteral("2")});
    engine().offer({2});
    engine().server().resource(archive(2)).holdsGet = true;
    engine().offer({3});
    QVERIFY(open());
    engine().install(3);
    QVERIFY(m_gate->waitUntilReached());
    engine().install(1);
    QVERIFY(engine().waitForState(1, Package::INSTALLING));
    QTRY_COMPARE(told(0), QStringLiteral("waits for package-2"));
    m_gate->open();
    engine().server().release(archive(2));
    QVERIFY(engine().waitForState(1, Package::INSTALLED));
    QVERIFY(engine().waitUntilSettled(1));
}

void ProgressFollowerTest::nameIsShownLetterForLetter()
{
    offerDependant(1, {QStringLiteral("2")});
    engine().offerObject(
        {{QStringLiteral("id"), 2},
         {QStringLiteral("name"), QJsonObject{{QStringLiteral("en"), QStringLiteral("<b>Li</b>")}}},
         {QStringLiteral("versions"),
          QJsonArray{QJsonObject{
              {QStringLiteral("version"), QStringLiteral("1.0")},
              {QStringLiteral("link"), engine().server().url(QStringLiteral("/held.zip"))}}}}});
    engine().server().serve(QStringLiteral("/held.zip"), "none").holdsGet = true;
    QVERIFY(open());
    engine().install(1);
    QVERIFY(engine().waitForState(1, Package::INSTALLING));
    const QString words = QStringLiteral("waits for <b>Li</b>");
    QTRY_COMPARE(bar(0).accessibleDescription(), words);
    QTextDocument shown;
    shown.setHtml(bar(0).toolTip());
    QCOMPARE(shown.toPlainText(), words);
    m_shown->openDetail(0);
    QCOMPARE(page(), words);
    QCOMPARE(child<QLabel>(m_shown->window(), "DetailProgress")->textFormat(), Qt::PlainText);
}

void ProgressFollowerTest::wordsGoWithTheirState()
{
    offerSlow(1);
    QVERIFY(open());
    m_shown->openDetail(0);
    QVERIFY(downloadTo(1, 2 * MB));
    QTRY_COMPARE(page(), QStringLiteral("2.0 of 128.0 MB"));
    QTRY_COMPARE(told(0), QStringLiteral("2.0 of 128.0 MB"));
    engine().package(1)->setState(Package::INSTALLING);
    // Without waiting for the next tick.
    QCOMPARE(page(), QString());
    QCOMPARE(told(0), QString());
}

void ProgressFollowerTest::wordsGoWithAnError()
{
    offerSlow(1);
    QVERIFY(open());
    m_shown->openDetail(0);
    QVERIFY(downloadTo(1, 2 * MB));
    QTRY_COMPARE(page(), QStringLiteral("2.0 of 128.0 MB"));
    MessageBoxAnswers answers;
    answers.expect(
        QStringLiteral("Dependency Error"),
        QStringLiteral("Unable to install one or more dependency for package : package-1"),
        QMessageBox::Ok);
    engine().package(1)->setState(Package::DEPENDENCY_ERROR);
    QVERIFY(answers.waitForAll());
    QCOMPARE(told(0), QString());
    QVERIFY(child<QLabel>(m_shown->window(), "DetailProgress")->isHidden());
}

void ProgressFollowerTest::packageAtRestTellsNothing()
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

KAVO_TEST_MAIN(ProgressFollowerTest)
#include "ProgressFollowerTest.moc"
