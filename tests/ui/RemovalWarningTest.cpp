#include "tests/support/TestMain.h"
#include "tests/support/WithoutRights.h"
#include "tests/ui/Boxes.h"
#include "tests/ui/WindowTest.h"

#include <QFileInfo>

using namespace Kavo::Testing;

namespace {

const QString Title = "Uninstall Package"_s;
const QString Remaining = "The following files and folders could not be removed\n\n"_s;
const QString NotReturned =
    "The following originals could not be put back, and stay in the backup folder\n\n"_s;

QString listed(const QStringList &paths)
{
    QString lines;
    for (const QString &path : paths)
        lines += "\u2022 "_s + path + QLatin1Char('\n');
    return lines;
}

} // namespace

/// Tests the box in the real window that lists what a removal could not delete.
class RemovalWarningTest final : public WindowTest
{
    Q_OBJECT

private slots:
    void oneBoxListsAllPackages()
    {
        const QString lights = "locked/lights.txt"_s;
        Offer needed{1};
        needed.files = {{"locked/<b>a.txt"_s, "a"}, {lights, "package's"}};
        needed.remove = QStringList{"locked/<b>a.txt"_s, lights};
        needed.backup = QStringList{lights};
        // The second line of this name looks like a path.
        Offer needing{2, "1.0"_s, {"1"_s}, {{"locked/b\n/etc/passwd"_s, "b"}}};
        needing.remove = QStringList("locked/b\n"_s);
        QVERIFY(writeFile(simulator(lights), "original"));
        QVERIFY(openInstalled({needed, needing}));
        MessageBoxAnswers answers;
        expectUninstall(answers, QMessageBox::Yes, {"package-2"_s});
        const QStringList remaining{simulator("locked/<b>a.txt"_s), simulator("locked/b?"_s),
                                    simulator(lights)};
        answers.expect(Title,
                       Remaining + listed(remaining) + QLatin1Char('\n') + NotReturned +
                           listed({profile().backupFolder() + lights}),
                       QMessageBox::Ok);
        uninstall("locked"_s);
        QVERIFY(answers.allShown());
        QCOMPARE(answers.shown().last().icon, QMessageBox::Warning);
        for (const int id : {1, 2})
            QCOMPARE(package(id)->state(), Package::AVAILABLE);
    }

    void manyPathsAreCounted()
    {
        Offer offer{1};
        for (int number = 0; number < 105; ++number)
            offer.files.insert("locked/file-%1.txt"_s.arg(number), "x");
        offer.remove = QStringList("locked"_s);
        QVERIFY(openInstalled({offer}));
        QString text;
        QTimer timer;
        connect(&timer, &QTimer::timeout, this, [&text] {
            if (auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget())) {
                text = box->text();
                // The button is Yes in the question and Ok in the warning.
                box->buttons().first()->click();
            }
        });
        timer.start(2);
        uninstall("locked"_s);
        QVERIFY(text.startsWith(Remaining));
        QCOMPARE(text.count(simulator("locked/file-"_s)), 100);
        QVERIFY(text.endsWith("\nNot listed : 5\n"_s));
    }

private:
    /// Opens the window with these packages installed and shows the first of them.
    bool openInstalled(const QVector<Offer> &offers)
    {
        for (const Offer &offer : offers)
            engine().offer(offer);
        bool done = open();
        for (const Offer &offer : offers)
            done = done && installAndWait(offer.id);
        openDetail(0);
        return done && showsDetail();
    }
    /// Presses Uninstall as a user without write access to this folder of the simulator.
    void uninstall(const QString &locked)
    {
        letEverybodyWrite(QFileInfo(profile().home()).path());
        setMode(simulator(locked), 0555);
        {
            const WithoutRights withoutRights;
            child<QPushButton>(window(), "Uninstall")->click();
        }
        setMode(simulator(locked), 0755);
    }
};

KAVO_TEST_MAIN(RemovalWarningTest)
#include "RemovalWarningTest.moc"
