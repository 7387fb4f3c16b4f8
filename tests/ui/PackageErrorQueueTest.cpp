#include "ui/package/PackageErrorQueue.h"
#include "dialogs/MessageBoxes.h"
#include "tests/packages/MakePackage.h"
#include "tests/support/MessageBoxAnswers.h"
#include "tests/support/TestMain.h"

#include <QApplication>
#include <QLabel>
#include <QPointer>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <memory>

using namespace Kavo::Testing;
using Kavo::Models::FailureReason;
using Kavo::Models::Package;
using Kavo::Models::PackagePointer;
using Kavo::Ui::PackageErrorQueue;

namespace {

const QString Title = QStringLiteral("Install Error");

PackagePointer somePackage(int id)
{
    return makePackage(id, {}, QStringLiteral("package-%1").arg(id));
}

QString textFor(int id)
{
    return QStringLiteral("Installation failed for package : package-%1").arg(id);
}

int openBoxes()
{
    const QWidgetList windows = QApplication::topLevelWidgets();
    return static_cast<int>(std::count_if(windows.cbegin(), windows.cend(), [](QWidget *window) {
        return qobject_cast<QMessageBox *>(window) && window->isVisible();
    }));
}

} // namespace

class PackageErrorQueueTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { m_window.reset(); }

    void windowHasOneQueue();
    void errorIsNotToldFromWhereItIsReported();
    void onlyErrorsAreTold_data();
    void onlyErrorsAreTold();
    void errorsComeOneAfterAnother();
    void errorOfTwoPlacesIsToldOnce();
    void packagesOfOneNumberAreToldApart();
    void packagesOfOneNameAreToldApart();
    void reasonIsToldBelow();
    void reasonIsPlainText();
    void boxIsNotShownFromTheLoopOfAnother();
    void errorThatComesAgainIsToldAgain();
    void errorWaitsForTheAnswerToAQuestion();
    void errorWaitsForTheLastOfSeveralDialogs();
    void waitingErrorsGoWithTheWindow();

private:
    void report(int id, Package::State state = Package::INSTALL_ERROR)
    {
        PackageErrorQueue::of(*m_window).report(*somePackage(id), state);
    }

    std::unique_ptr<QWidget> m_window;
};

void PackageErrorQueueTest::init()
{
    m_window = std::make_unique<QWidget>();
    m_window->show();
}

void PackageErrorQueueTest::windowHasOneQueue()
{
    auto *child = new QWidget(m_window.get());
    const QWidget other;
    QCOMPARE(&PackageErrorQueue::of(*child), &PackageErrorQueue::of(*m_window));
    QVERIFY(&PackageErrorQueue::of(other) != &PackageErrorQueue::of(*m_window));
}

void PackageErrorQueueTest::errorIsNotToldFromWhereItIsReported()
{
    MessageBoxAnswers answers;
    answers.expect(Title, textFor(1), QMessageBox::Ok);
    report(1);
    QVERIFY(answers.shown().isEmpty());
    QVERIFY(answers.waitForAll());
    QCOMPARE(answers.shown().first().parent, m_window.get());
}

void PackageErrorQueueTest::onlyErrorsAreTold_data()
{
    QTest::addColumn<int>("state");
    for (int state = Package::AVAILABLE; state <= Package::UNKNOWN; ++state) {
        if (!Package::isError(static_cast<Package::State>(state)))
            QTest::addRow("%d", state) << state;
    }
}

void PackageErrorQueueTest::onlyErrorsAreTold()
{
    QFETCH(int, state);
    MessageBoxAnswers answers;
    report(1, static_cast<Package::State>(state));
    // Whatever was to be told of it would come before this.
    answers.expect(Title, textFor(2), QMessageBox::Ok);
    report(2);
    QVERIFY(answers.waitForAll());
}

void PackageErrorQueueTest::errorsComeOneAfterAnother()
{
    int most = 0;
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [&most] { most = qMax(most, openBoxes()); });
    timer.start(0);
    MessageBoxAnswers answers;
    for (int id = 1; id <= 5; ++id) {
        answers.expect(Title, textFor(id), QMessageBox::Ok);
        report(id);
    }
    // And one that comes while another is told.
    QTimer::singleShot(0, this, [this] { report(6); });
    answers.expect(Title, textFor(6), QMessageBox::Ok);
    QVERIFY(answers.waitForAll());
    QCOMPARE(most, 1);
}

void PackageErrorQueueTest::errorOfTwoPlacesIsToldOnce()
{
    MessageBoxAnswers answers;
    report(1);
    report(1);
    report(1, Package::DOWNLOAD_ERROR);
    report(2);
    answers.expect(Title, textFor(1), QMessageBox::Ok);
    answers.expect(QStringLiteral("Download Error"),
                   QStringLiteral("Downloading failed for package : package-1"), QMessageBox::Ok);
    answers.expect(Title, textFor(2), QMessageBox::Ok);
    QVERIFY(answers.waitForAll());
    QTRY_COMPARE(openBoxes(), 0);
}

/// Entries of a catalogue that lack theirs have all the same.
void PackageErrorQueueTest::packagesOfOneNumberAreToldApart()
{
    MessageBoxAnswers answers;
    auto &queue = PackageErrorQueue::of(*m_window);
    for (const char *name : {"Harbour", "Highland"}) {
        const QString text = QString::fromLatin1(name);
        queue.report(*makePackage(0, {}, text), Package::INSTALL_ERROR);
        answers.expect(Title, QStringLiteral("Installation failed for package : ") + text,
                       QMessageBox::Ok);
    }
    QVERIFY(answers.waitForAll());
}

void PackageErrorQueueTest::packagesOfOneNameAreToldApart()
{
    MessageBoxAnswers answers;
    auto &queue = PackageErrorQueue::of(*m_window);
    for (const int id : {1, 2}) {
        queue.report(*makePackage(id, {}, QStringLiteral("Harbour")), Package::INSTALL_ERROR);
        answers.expect(Title, QStringLiteral("Installation failed for package : Harbour"),
                       QMessageBox::Ok);
    }
    QVERIFY(answers.waitForAll());
    QTRY_COMPARE(openBoxes(), 0);
}

void PackageErrorQueueTest::reasonIsToldBelow()
{
    MessageBoxAnswers answers;
    auto &queue = PackageErrorQueue::of(*m_window);
    const PackagePointer failed = somePackage(1);
    failed->setFailure(FailureReason(FailureReason::Kind::SIZE_DIFFERS,
                                     {QStringLiteral("1"), QStringLiteral("2")}));
    queue.report(*failed, Package::INSTALL_ERROR);
    // What has come before a failed download is not its reason.
    queue.report(*failed, Package::DOWNLOAD_ERROR);
    queue.report(*somePackage(2), Package::INSTALL_ERROR);
    answers.expect(Title, textFor(1), QMessageBox::Ok);
    answers.expect(QStringLiteral("Download Error"),
                   QStringLiteral("Downloading failed for package : package-1"), QMessageBox::Ok);
    answers.expect(Title, textFor(2), QMessageBox::Ok);
    QVERIFY(answers.waitForAll());
    QCOMPARE(answers.shown().at(0).informativeText,
             QStringLiteral("The downloaded archive has 1 bytes; the catalogue says 2.\n\n"
                            "Nothing was changed. What was installed before is still installed."));
    QCOMPARE(answers.shown().at(1).informativeText, QString());
    QCOMPARE(answers.shown().at(2).informativeText, QString());
    QTRY_COMPARE(openBoxes(), 0);
}

/// Names in archives come from outside, like all others.
void PackageErrorQueueTest::reasonIsPlainText()
{
    const PackagePointer failed = somePackage(1);
    failed->setFailure(FailureReason(
        FailureReason::Kind::ENTRY_LEADS_OUT,
        {QStringLiteral("<img src='x'>") + QChar(0x202e) + QString(5000, QLatin1Char('W'))}));
    QString text;
    int richLabels = 0;
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [&text, &richLabels] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (!box)
            return;
        text = box->informativeText();
        const QList<QLabel *> labels = box->findChildren<QLabel *>();
        for (const QLabel *label : labels)
            richLabels += !label->text().isEmpty() && label->textFormat() != Qt::PlainText;
        box->accept();
    });
    timer.start(10);
    PackageErrorQueue::of(*m_window).report(*failed, Package::INSTALL_ERROR);
    QTRY_VERIFY(!text.isEmpty());
    QVERIFY(text.contains(QLatin1String("<img src='x'>?WWW")));
    QVERIFY(text.size() < 400);
    QCOMPARE(richLabels, 0);
}

void PackageErrorQueueTest::boxIsNotShownFromTheLoopOfAnother()
{
    QVector<int> levels;
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [this, &levels] {
        QPointer<QWidget> box = QApplication::activeModalWidget();
        if (!box)
            return;
        levels.append(QThread::currentThread()->loopLevel());
        // One box closes and the next is due in the same turn, before the loop of the first ends.
        const bool first = levels.size() == 1;
        QMetaObject::invokeMethod(box.data(), &QWidget::close, Qt::QueuedConnection);
        if (first)
            report(2);
    });
    timer.start(2);
    report(1);
    QTRY_COMPARE(levels.size(), 2);
    QTRY_COMPARE(openBoxes(), 0);
    QCOMPARE(levels.at(1), levels.at(0));
}

void PackageErrorQueueTest::errorThatComesAgainIsToldAgain()
{
    MessageBoxAnswers answers;
    for (int round = 0; round < 2; ++round) {
        answers.expect(Title, textFor(1), QMessageBox::Ok);
        report(1);
        QVERIFY(answers.waitForAll());
    }
}

void PackageErrorQueueTest::errorWaitsForTheAnswerToAQuestion()
{
    int most = 0;
    bool answered = false;
    bool answeredBefore = false;
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [&] {
        most = qMax(most, openBoxes());
        const QWidget *box = QApplication::activeModalWidget();
        if (box && box->windowTitle() == Title)
            answeredBefore = answered;
    });
    timer.start(0);
    MessageBoxAnswers answers;
    answers.expect(QStringLiteral("Question"), QStringLiteral("Continue?"), QMessageBox::Yes);
    answers.expect(Title, textFor(1), QMessageBox::Ok);
    answers.expect(Title, textFor(2), QMessageBox::Ok);
    QTimer::singleShot(0, this, [this] {
        report(1);
        report(2);
    });
    answered = Kavo::Dialogs::confirm(m_window.get(), QMessageBox::Question,
                                      QStringLiteral("Question"), QStringLiteral("Continue?"));
    QVERIFY(answered);
    QVERIFY(answers.waitForAll());
    QVERIFY(answeredBefore);
    QCOMPARE(most, 1);
}

void PackageErrorQueueTest::errorWaitsForTheLastOfSeveralDialogs()
{
    MessageBoxAnswers answers;
    const auto ask = [this, &answers](const QString &text) {
        answers.expect(QStringLiteral("Question"), text, QMessageBox::Yes);
        return Kavo::Dialogs::confirm(m_window.get(), QMessageBox::Question,
                                      QStringLiteral("Question"), text);
    };
    QTimer::singleShot(0, this, [this] { report(1); });
    QVERIFY(ask(QStringLiteral("Change log?")));
    QVERIFY(ask(QStringLiteral("Dependencies?")));
    answers.expect(Title, textFor(1), QMessageBox::Ok);
    QVERIFY(answers.waitForAll());
}

void PackageErrorQueueTest::waitingErrorsGoWithTheWindow()
{
    QTimer timer;
    int boxes = 0;
    connect(&timer, &QTimer::timeout, this, [this, &boxes] {
        if (QApplication::activeModalWidget()) {
            ++boxes;
            m_window.reset();
        }
    });
    timer.start(0);
    report(1);
    report(2);
    QTRY_VERIFY(!m_window);
    QCoreApplication::sendPostedEvents();
    QVERIFY(!QApplication::activeModalWidget());
    QCOMPARE(boxes, 1);
}

KAVO_TEST_MAIN(PackageErrorQueueTest)
#include "PackageErrorQueueTest.moc"
