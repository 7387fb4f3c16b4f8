#include "tests/components/Widgets.h"
#include "tests/support/MessageBoxAnswers.h"
#include "tests/support/TestMain.h"
#include "tests/support/WithoutRights.h"
#include "tests/ui/ShownWindow.h"

#include <QFileInfo>

#include <memory>

using namespace Kavo::Testing;
using Kavo::Models::Package;

namespace {

const QString Title = QStringLiteral("Uninstall Package");
const QString Question = QStringLiteral("Uninstall package-1 from this system");
const QString Remaining =
    QStringLiteral("The following files and folders could not be removed\n\n");
const QString NotReturned = QStringLiteral(
    "The following originals could not be put back, and stay in the backup folder\n\n");

QString listed(const QStringList &paths)
{
    QString lines;
    for (const QString &path : paths)
        lines += QStringLiteral("\u2022 ") + path + QLatin1Char('\n');
    return lines;
}

} // namespace

/// What a removal leaves behind is told in one box of the real window.
class RemovalWarningTest final : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_shown = std::make_unique<ShownWindow>(); }
    void cleanup() { m_shown.reset(); }

    void nothingIsToldOfACompleteRemoval();
    void oneBoxTellsOfAllPackages();
    void manyPathsAreCounted();

private:
    Engine &engine() { return m_shown->engine(); }
    QString simulator(const char *path) { return engine().simulator(QString::fromUtf8(path)); }
    /// Opens the window with these packages installed and shows the first of them.
    bool open(const QVector<Offer> &offers);
    /// Presses Uninstall as a user who may not change this folder of the simulator.
    void uninstall(const char *locked);

    std::unique_ptr<ShownWindow> m_shown;
};

bool RemovalWarningTest::open(const QVector<Offer> &offers)
{
    for (const Offer &offer : offers)
        engine().offer(offer);
    if (!m_shown->open())
        return false;
    for (const Offer &offer : offers) {
        if (!engine().installAndWait(offer.id))
            return false;
    }
    m_shown->openDetail(0);
    return m_shown->showsDetail();
}

void RemovalWarningTest::uninstall(const char *locked)
{
    letEverybodyWrite(QFileInfo(engine().profile().home()).path());
    setMode(simulator(locked), 0555);
    {
        const WithoutRights withoutRights;
        child<QPushButton>(m_shown->window(), "Uninstall")->click();
    }
    setMode(simulator(locked), 0755);
}

void RemovalWarningTest::nothingIsToldOfACompleteRemoval()
{
    Offer offer{1};
    offer.remove = QStringList{QStringLiteral("package-1")};
    QVERIFY(writeFile(simulator("Custom Scenery/mine/apt.dat"), "mine"));
    QVERIFY(open({offer}));
    MessageBoxAnswers answers;
    answers.expect(Title, Question, QMessageBox::Yes);
    uninstall("Custom Scenery");
    QVERIFY(answers.allShown());
    QCOMPARE(engine().package(1)->state(), Package::AVAILABLE);
}

void RemovalWarningTest::oneBoxTellsOfAllPackages()
{
    const QString lights = QStringLiteral("locked/lights.txt");
    Offer needed{1};
    needed.files = {{QStringLiteral("locked/<b>a.txt"), "a"}, {lights, "package's"}};
    needed.remove = QStringList{QStringLiteral("locked/<b>a.txt"), lights};
    needed.backup = QStringList{lights};
    Offer needing{2};
    needing.depends = QStringList{QStringLiteral("1")};
    // It would look like a path of its own.
    needing.files = {{QStringLiteral("locked/b\n/etc/passwd"), "b"}};
    needing.remove = QStringList{QStringLiteral("locked/b\n")};
    QVERIFY(writeFile(engine().simulator(lights), "original"));
    QVERIFY(open({needed, needing}));
    MessageBoxAnswers answers;
    answers.expect(Title,
                   Question + QStringLiteral("\n\nFollowing dependent extensions will also be "
                                             "uninstalled\n\npackage-2\n"),
                   QMessageBox::Yes);
    const QStringList remaining{simulator("locked/<b>a.txt"), simulator("locked/b?"),
                                engine().simulator(lights)};
    answers.expect(Title,
                   Remaining + listed(remaining) + QLatin1Char('\n') + NotReturned +
                       listed({engine().profile().backupFolder() + lights}),
                   QMessageBox::Ok);
    uninstall("locked");
    QVERIFY(answers.allShown());
    QCOMPARE(answers.shown().last().icon, QMessageBox::Warning);
    for (const int id : {1, 2})
        QCOMPARE(engine().package(id)->state(), Package::AVAILABLE);
}

void RemovalWarningTest::manyPathsAreCounted()
{
    Offer offer{1};
    for (int number = 0; number < 105; ++number)
        offer.files.insert(QStringLiteral("locked/file-%1.txt").arg(number), "x");
    offer.remove = QStringList{QStringLiteral("locked")};
    QVERIFY(open({offer}));
    QString text;
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [&text] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (!box)
            return;
        text = box->text();
        // Yes of the question, Ok of the warning.
        box->buttons().first()->click();
    });
    timer.start(2);
    uninstall("locked");
    QVERIFY(text.startsWith(Remaining));
    QCOMPARE(text.count(simulator("locked/file-")), 100);
    QVERIFY(text.endsWith(QStringLiteral("\nNot listed : 5\n")));
}

KAVO_TEST_MAIN(RemovalWarningTest)
#include "RemovalWarningTest.moc"
