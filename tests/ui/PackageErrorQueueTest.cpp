#include "ui/package/PackageErrorQueue.h"
#include "dialogs/MessageBoxes.h"
#include "tests/packages/MakePackage.h"
#include "tests/packages/PackageStates.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"
#include "tests/ui/Boxes.h"

#include <QLabel>
#include <QPointer>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <memory>

using namespace Kavo::Testing;
using Kavo::Dialogs::confirm;
using Kavo::Models::FailureReason;
using Kavo::Models::Package;
using Kavo::Models::PackagePointer;
using Kavo::Ui::PackageErrorQueue;

namespace {

int openBoxes()
{
    const QWidgetList windows = QApplication::topLevelWidgets();
    return static_cast<int>(std::count_if(windows.cbegin(), windows.cend(), [](QWidget *window) {
        return qobject_cast<QMessageBox *>(window) && window->isVisible();
    }));
}

/// Records the greatest number of boxes that are open at the same time.
class MostBoxes final
{
public:
    MostBoxes()
    {
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer,
                         [this] { m_most = qMax(m_most, openBoxes()); });
        m_timer.start(0);
    }
    int most() const { return m_most; }

private:
    QTimer m_timer;
    int m_most = 0;
};

} // namespace

class PackageErrorQueueTest final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_window = std::make_unique<QWidget>();
        m_window->show();
    }
    void cleanup() { m_window.reset(); }

    void windowHasOneQueue()
    {
        auto *child = new QWidget(m_window.get());
        const QWidget other;
        QCOMPARE(&PackageErrorQueue::of(*child), &queue());
        QVERIFY(&PackageErrorQueue::of(other) != &queue());
    }

    void errorIsShownAfterReportReturns()
    {
        MessageBoxAnswers answers;
        // An error that occurs again is shown again.
        for (int round = 0; round < 2; ++round) {
            expectError(answers, 1);
            report(1);
            QCOMPARE(answers.shown().size(), round);
            QVERIFY(answers.waitForAll());
            QCOMPARE(answers.shown().last().parent, m_window.get());
        }
    }

    void otherStatesShowNothing_data()
    {
        Rows<Package::State> rows;
        for (const Package::State state : packageStates()) {
            if (!Package::isError(state))
                rows.row(QByteArray::number(state), state);
        }
    }

    void otherStatesShowNothing()
    {
        const auto [state] = Rows<Package::State>::current();
        MessageBoxAnswers answers;
        report(1, state);
        // A box of the first report would be shown before this one.
        expectError(answers, 2);
        report(2);
        QVERIFY(answers.waitForAll());
    }

    void errorsComeOneAfterAnother()
    {
        const MostBoxes boxes;
        MessageBoxAnswers answers;
        for (int id = 1; id <= 6; ++id)
            expectError(answers, id);
        for (int id = 1; id <= 5; ++id)
            report(id);
        // One error occurs while another is shown.
        QTimer::singleShot(0, this, [this] { report(6); });
        QVERIFY(answers.waitForAll());
        QCOMPARE(boxes.most(), 1);
    }

    void errorReportedTwiceIsShownOnce()
    {
        MessageBoxAnswers answers;
        report(1);
        report(1);
        report(1, Package::DOWNLOAD_ERROR);
        report(2);
        expectError(answers, 1);
        expectError(answers, 1, Package::DOWNLOAD_ERROR);
        expectError(answers, 2);
        QVERIFY(answers.waitForAll());
        QTRY_COMPARE(openBoxes(), 0);
    }

    /// Packages without an id are distinguished by name, and packages of one name by id.
    void packagesAreDistinguished()
    {
        MessageBoxAnswers answers;
        for (const PackagePointer &failed :
             {makePackage(0, {}, "Harbour"_s), makePackage(0, {}, "Highland"_s),
              makePackage(1, {}, "Harbour"_s), makePackage(2, {}, "Harbour"_s)}) {
            queue().report(*failed, Package::INSTALL_ERROR);
            expectError(answers, failed->name());
        }
        QVERIFY(answers.waitForAll());
        QTRY_COMPARE(openBoxes(), 0);
    }

    void reasonIsShownBelow()
    {
        const PackagePointer failed = makePackage(1, {});
        failed->setFailure(FailureReason(FailureReason::Kind::SIZE_DIFFERS, {"1"_s, "2"_s}));
        queue().report(*failed, Package::INSTALL_ERROR);
        // An earlier failure is not the reason for a failed download.
        queue().report(*failed, Package::DOWNLOAD_ERROR);
        report(2);
        MessageBoxAnswers answers;
        expectError(answers, 1);
        expectError(answers, 1, Package::DOWNLOAD_ERROR);
        expectError(answers, 2);
        QVERIFY(answers.waitForAll());
        QStringList reasons;
        for (const auto &box : answers.shown())
            reasons.append(box.informativeText);
        QCOMPARE(
            reasons,
            QStringList({"The downloaded archive has 1 bytes; the catalogue says 2.\n\nNothing "
                         "was changed. What was installed before is still installed."_s,
                         QString(), QString()}));
        QTRY_COMPARE(openBoxes(), 0);
    }

    /// Names in archives are not trusted.
    void reasonIsPlainText()
    {
        const PackagePointer failed = makePackage(1, {});
        failed->setFailure(
            FailureReason(FailureReason::Kind::ENTRY_LEADS_OUT,
                          {"<img src='x'>"_s + QChar(0x202e) + QString(5000, QLatin1Char('W'))}));
        const BoxText text = errorBox("package-1"_s, Package::INSTALL_ERROR);
        MessageBoxAnswers answers;
        answers.expect(text.title, text.text, [](QMessageBox &box) {
            for (const QLabel *label : box.findChildren<QLabel *>())
                QVERIFY(label->text().isEmpty() || label->textFormat() == Qt::PlainText);
            box.accept();
        });
        queue().report(*failed, Package::INSTALL_ERROR);
        QVERIFY(answers.waitForAll());
        const QString reason = answers.shown().first().informativeText;
        QVERIFY(reason.contains("<img src='x'>?WWW"_s));
        QVERIFY(reason.size() < 400);
    }

    void boxesDoNotNestTheirEventLoops()
    {
        QVector<int> levels;
        QTimer timer;
        connect(&timer, &QTimer::timeout, this, [this, &levels] {
            QPointer<QWidget> box = QApplication::activeModalWidget();
            if (!box)
                return;
            levels.append(QThread::currentThread()->loopLevel());
            // One box closes and the next one is due in the same turn, before the event loop of the
            // first has ended.
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

    void errorWaitsForTheAnswerToAQuestion()
    {
        const MostBoxes boxes;
        bool answered = false;
        const BoxText error = errorBox("package-1"_s, Package::INSTALL_ERROR);
        MessageBoxAnswers answers;
        answers.expect("Question"_s, "Change log?"_s, QMessageBox::Yes);
        answers.expect("Question"_s, "Dependencies?"_s, QMessageBox::Yes);
        answers.expect(error.title, error.text, [&answered](QMessageBox &box) {
            QVERIFY(answered);
            box.accept();
        });
        expectError(answers, 2);
        QTimer::singleShot(0, this, [this] {
            report(1);
            report(2);
        });
        // The errors wait for the last of several questions.
        QVERIFY(confirm(m_window.get(), QMessageBox::Question, "Question"_s, "Change log?"_s));
        answered = confirm(m_window.get(), QMessageBox::Question, "Question"_s, "Dependencies?"_s);
        QVERIFY(answered);
        QVERIFY(answers.waitForAll());
        QCOMPARE(boxes.most(), 1);
    }

    void waitingErrorsEndWithTheWindow()
    {
        const BoxText text = errorBox("package-1"_s, Package::INSTALL_ERROR);
        MessageBoxAnswers answers;
        answers.expect(text.title, text.text, [this](QMessageBox &) { m_window.reset(); });
        report(1);
        report(2);
        QTRY_VERIFY(!m_window);
        QVERIFY(isQuiet());
        QCOMPARE(answers.shown().size(), 1);
    }

private:
    PackageErrorQueue &queue() { return PackageErrorQueue::of(*m_window); }
    void report(int id, Package::State state = Package::INSTALL_ERROR)
    {
        queue().report(*makePackage(id, {}), state);
    }

    std::unique_ptr<QWidget> m_window;
};

KAVO_TEST_MAIN(PackageErrorQueueTest)
#include "PackageErrorQueueTest.moc"
