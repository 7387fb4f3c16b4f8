#include "ui/package/PackageActions.h"
#include "tests/packages/MakePackage.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestMain.h"
#include "tests/ui/Boxes.h"
#include "tests/ui/WidgetTest.h"

#include <QDesktopServices>
#include <QUrl>

using namespace Kavo::Testing;
using Kavo::Settings;
using Kavo::Ui::PackageActions;
using Handler = std::function<void(QMessageBox &)>;

namespace {

const QString InstallTitle = "Install Package"_s;
const QString UninstallTitle = "Uninstall Package"_s;
const QString ChangesOfTwo =
    "<strong>Install ?</strong><strong>2.0</strong><ul><li>Better lights</li></ul>"_s;
const QString SecondArchive = "/package-2-1.0.zip"_s;

QString dependencies(const QString &names)
{
    return "This package is dependent on following packages and will be installed if not "
           "already installed or upgraded if outdated along with this package\n\n"_s +
           names + "\n\nContinue?"_s;
}

void expectMissingDependency(MessageBoxAnswers &answers)
{
    answers.expect("Dependencies Error"_s,
                   "This package cannot be installed.\n\nOne or more Dependencies for this package "
                   "are not available to install"_s,
                   QMessageBox::Ok);
}

void expectOlderVersionWarning(MessageBoxAnswers &answers, QMessageBox::StandardButton answer)
{
    answers.expect(InstallTitle,
                   "Install older version?\n\nFollowing extensions depend on newer version and may "
                   "stop working\n\npackage-2\n"_s,
                   answer);
}

} // namespace

class PackageActionsTest final : public WidgetTest
{
    Q_OBJECT

public slots:
    void openUrl(const QUrl &url) { m_opened.append(url); }

private slots:
    void packageWithoutDependenciesIsInstalledAtOnce()
    {
        offer(1, "1.0");
        QVERIFY(refresh());
        const MessageBoxAnswers answers;
        actions(1).install();
        QVERIFY(installs(1));
    }

    void dependenciesAreConfirmed()
    {
        offer(2, "1.0");
        offer(1, "1.0", {"3:1.0"_s, "2:1.0"_s});
        offer(3, "1.0");
        QVERIFY(refresh());
        MessageBoxAnswers answers;
        const QString question = dependencies("package-2\npackage-3"_s);
        answers.expect(InstallTitle, question, QMessageBox::No);
        actions(1).install();
        QVERIFY(answers.allShown());
        for (const int id : {1, 2, 3})
            QCOMPARE(state(id), Package::AVAILABLE);
        answers.expect(InstallTitle, question, QMessageBox::Yes);
        actions(1).install();
        QVERIFY(answers.allShown());
        const MessageBoxAnswers::Shown box = answers.shown().last();
        QCOMPARE(box.icon, QMessageBox::Information);
        QCOMPARE(box.buttons, QMessageBox::Yes | QMessageBox::No);
        QCOMPARE(box.defaultButton, QMessageBox::NoButton);
        QCOMPARE(box.parent, m_widget.get());
        QVERIFY(installs(1));
        QCOMPARE(state(2), Package::INSTALLED);
        QCOMPARE(state(3), Package::INSTALLED);
    }

    // Fixed, see docs/compatibility.md.
    void missingDependencyIsReported()
    {
        offer(1, "1.0", {"2:1.0"_s, "99:1.0"_s});
        offer(2, "1.0");
        QVERIFY(refresh());
        MessageBoxAnswers answers;
        expectMissingDependency(answers);
        actions(1).install();
        QVERIFY(answers.allShown());
        QCOMPARE(answers.shown().first().icon, QMessageBox::Critical);
        QCOMPARE(state(1), Package::AVAILABLE);
    }

    void missingDependencyIsReportedAfterTheChangeLog()
    {
        QVERIFY(installFirstOfTwo({"99:1.0"_s}));
        MessageBoxAnswers answers;
        answers.expect("Change Log"_s, ChangesOfTwo, QMessageBox::Yes);
        expectMissingDependency(answers);
        actions(1).install();
        QVERIFY(answers.allShown());
        QVERIFY(!package(1)->isBusy());
        QCOMPARE(installedVersion(1), "1.0"_s);
    }

    void updateShowsTheChangeLog()
    {
        QVERIFY(installFirstOfTwo());
        MessageBoxAnswers answers;
        answers.expect("Change Log"_s, ChangesOfTwo, QMessageBox::No);
        actions(1).install();
        QVERIFY(answers.allShown());
        QVERIFY(!package(1)->isBusy());
        QCOMPARE(installedVersion(1), "1.0"_s);
        answers.expect("Change Log"_s, ChangesOfTwo, QMessageBox::Yes);
        actions(1).install();
        QVERIFY(answers.allShown());
        QCOMPARE(answers.shown().last().icon, QMessageBox::Question);
        QCOMPARE(answers.shown().last().defaultButton, QMessageBox::NoButton);
        QCOMPARE(answers.shown().last().textFormat, Qt::RichText);
        QVERIFY(installs(1));
        QCOMPARE(installedVersion(1), "2.0"_s);
    }

    // Fixed, see docs/compatibility.md.
    void olderVersionOfAnAvailablePackageAsksForTheNewestsDependencies()
    {
        offer(1, "1.0");
        offer(1, "2.0", {"2:1.0"_s});
        offer(2, "1.0");
        QVERIFY(refresh());
        MessageBoxAnswers answers;
        answers.expect(InstallTitle, dependencies("package-2"_s), QMessageBox::Yes);
        actions(1).installVersion("1.0"_s);
        QVERIFY(answers.allShown());
        QVERIFY(installs(1));
        QCOMPARE(installedVersion(1), "1.0"_s);
    }

    void olderVersionWithoutDependentsIsInstalledAtOnce()
    {
        offer(1, "1.0");
        offer(1, "2.0", {"99:1.0"_s});
        offer(1, "1.5");
        QVERIFY(refresh());
        QVERIFY(installAndWait(1, "1.5"_s));
        const MessageBoxAnswers answers;
        actions(1).installVersion("1.0"_s);
        QVERIFY(installs(1));
        QCOMPARE(installedVersion(1), "1.0"_s);
    }

    // Fixed, see docs/compatibility.md.
    void olderVersionWarnsAboutDependents()
    {
        offer(1, "1.0");
        offer(1, "2.0");
        offer(2, "1.0", {"1:2.0"_s});
        offer(3, "1.0", {"1:1.0"_s});
        QVERIFY(refresh());
        QVERIFY(installAndWait(2));
        QVERIFY(installAndWait(3));
        MessageBoxAnswers answers;
        expectOlderVersionWarning(answers, QMessageBox::No);
        actions(1).installVersion("1.0"_s);
        QVERIFY(answers.allShown());
        QCOMPARE(answers.shown().first().icon, QMessageBox::Information);
        QVERIFY(!package(1)->isBusy());
        QCOMPARE(installedVersion(1), "2.0"_s);
        expectOlderVersionWarning(answers, QMessageBox::Yes);
        actions(1).installVersion("1.0"_s);
        QVERIFY(answers.allShown());
        QVERIFY(installs(1));
        QCOMPARE(installedVersion(1), "1.0"_s);
    }

    /// A dependency of the newest version is not checked on this path.
    void newerVersionFromTheListShowsItsChangeLog()
    {
        offer(1, "3.0", {"99:1.0"_s});
        QVERIFY(installFirstOfTwo());
        MessageBoxAnswers answers;
        answers.expect("Change Log"_s, ChangesOfTwo, QMessageBox::Yes);
        actions(1).installVersion("2.0"_s);
        QVERIFY(answers.allShown());
        QVERIFY(installs(1));
        QCOMPARE(installedVersion(1), "2.0"_s);
    }

    void busyPackageInstallsNoOtherVersion()
    {
        offer(1, "1.0");
        offer(1, "2.0", {"99:1.0"_s});
        QVERIFY(refresh());
        server().forgetRequests();
        const MessageBoxAnswers answers;
        for (const auto state :
             {Package::PREPARING, Package::DOWNLOADING, Package::INSTALLING, Package::UNINSTALLING,
              Package::INSTALL_ERROR, Package::DOWNLOAD_ERROR, Package::DEPENDENCY_ERROR,
              Package::UNKNOWN}) {
            package(1)->setState(state);
            actions(1).installVersion("1.0"_s);
            QCOMPARE(this->state(1), state);
        }
        QVERIFY(refresh());
        QCOMPARE(server().log(), QStringList("GET /packages.json"_s));
    }

    // Fixed, see docs/compatibility.md.
    void uninstallAsks()
    {
        QVERIFY(installFirst());
        const QString file = simulator(Engine::fileOf(1));
        MessageBoxAnswers answers;
        expectUninstall(answers, QMessageBox::No);
        actions(1).uninstall();
        answers.expect(UninstallTitle, uninstallQuestion(),
                       [](QMessageBox &box) { QTest::keyClick(&box, Qt::Key_Escape); });
        actions(1).uninstall();
        QVERIFY(answers.allShown());
        QCOMPARE(state(1), Package::INSTALLED);
        QVERIFY(QFile::exists(file));

        QList<Qt::CursorShape> shapes;
        connect(package(1).data(), &Package::stateChanged, m_widget.get(), [&shapes] {
            const QCursor *cursor = QApplication::overrideCursor();
            shapes.append(cursor ? cursor->shape() : Qt::ArrowCursor);
        });
        expectUninstall(answers, QMessageBox::Yes);
        QVERIFY(!QApplication::overrideCursor());
        actions(1).uninstall();
        QVERIFY(!QApplication::overrideCursor());
        QCOMPARE(shapes, QList<Qt::CursorShape>({Qt::WaitCursor, Qt::WaitCursor}));
        QVERIFY(answers.allShown());
        QCOMPARE(answers.shown().last().icon, QMessageBox::Information);
        QCOMPARE(answers.shown().last().buttons, QMessageBox::Yes | QMessageBox::No);
        QVERIFY(answers.shown().last().isDestroying);
        QCOMPARE(state(1), Package::AVAILABLE);
        QVERIFY(!QFile::exists(file));
    }

    // Fixed, see docs/compatibility.md.
    void uninstallListsAllDependents()
    {
        // Package 4 needs 1 through 3 only, and 5 needs it in two ways. Package 6 stays, because 1
        // needs it, not the other way round.
        offer(6, "1.0");
        offer(1, "1.0", {"6"_s});
        offer(2, "1.0", {"1:1.0"_s});
        offer(3, "1.0", {"1:1.0"_s});
        offer(4, "1.0", {"3"_s});
        offer(5, "1.0", {"4"_s, "2"_s});
        QVERIFY(refresh());
        QVERIFY(installAndWait(5));
        MessageBoxAnswers answers;
        expectUninstall(answers, QMessageBox::Yes,
                        {"package-5"_s, "package-2"_s, "package-4"_s, "package-3"_s});
        actions(1).uninstall();
        for (const int id : {1, 2, 3, 4, 5})
            QCOMPARE(state(id), Package::AVAILABLE);
        QCOMPARE(state(6), Package::INSTALLED);
    }

    void uninstallAsksAgainIfThereAreMoreDependents()
    {
        QVERIFY(downloadDependent());
        MessageBoxAnswers answers;
        // The first question is answered after the installation has ended.
        answers.expect(UninstallTitle, uninstallQuestion(), [this](QMessageBox &box) {
            server().release(SecondArchive);
            QVERIFY(waitUntilInstalled(2));
            QTRY_VERIFY(!controller().isBusy());
            box.button(QMessageBox::Yes)->click();
        });
        expectUninstall(answers, QMessageBox::No, {"package-2"_s});
        actions(1).uninstall();
        QCOMPARE(state(1), Package::INSTALLED);
        QCOMPARE(state(2), Package::INSTALLED);
    }

    void uninstallReportsWorkInProgress()
    {
        QVERIFY(downloadDependent());
        MessageBoxAnswers answers;
        expectUninstall(answers, QMessageBox::Yes);
        answers.expect(UninstallTitle,
                       "This package cannot be uninstalled now.\n\nWork on the "
                       "following packages has to end first\n\npackage-2\n"_s,
                       QMessageBox::Ok);
        actions(1).uninstall();
        QVERIFY(answers.allShown());
        QCOMPARE(state(1), Package::INSTALLED);
        server().release(SecondArchive);
        QVERIFY(installs(2));
    }

    void uninstallReportsAMissingSimulator()
    {
        // A file name may contain anything but a slash, and is shown as plain text.
        const QString folder = profile().folder("<b>X\nPlane</b>"_s);
        const QString simulator = folder + "X-Plane-x86_64"_s;
        set(Settings::INSTALLATION, folder);
        QVERIFY(writeFile(simulator, "simulator"));
        QVERIFY(installFirst());
        QVERIFY(QFile::remove(simulator));
        MessageBoxAnswers answers;
        expectUninstall(answers, QMessageBox::Yes);
        answers.expect(UninstallTitle,
                       "This package cannot be uninstalled now.\n\nThe folder of the "
                       "simulator is not there, or no simulator is in it\n\n%1\n"_s.arg(
                           QString(folder).replace(QLatin1Char('\n'), QLatin1Char('?'))),
                       QMessageBox::Ok);
        actions(1).uninstall();
        QCOMPARE(state(1), Package::INSTALLED);
        QVERIFY(QFile::exists(folder + Engine::fileOf(1)));
    }

    void pagesAreOpened_data()
    {
        Rows<QString, QString> rows;
        rows.row("https", "https://help.invalid/a page", "https://help.invalid/a page")
            .row("capitals", "HTTP://manual.invalid/", "http://manual.invalid/");
        // No other address is opened.
        for (const char *address :
             {"kavo-test://page", "file:///etc/passwd", "kavo-test:page", "--version", "page.html",
              "https:", "http:///page", "//server.invalid/page", "www.server.invalid"})
            rows.row(address, address, "");
    }

    void pagesAreOpened()
    {
        const auto [address, opened] = Rows<QString, QString>::current();
        const QStringList schemes{"kavo-test"_s, "file"_s, "http"_s, "https"_s};
        for (const QString &scheme : schemes)
            QDesktopServices::setUrlHandler(scheme, this, "openUrl");
        start();
        for (const bool help : {true, false}) {
            const PackagePointer package = makePackage(1, {});
            package->setHelpUrl(help ? address : QString());
            package->setManualUrl(help ? QString() : address);
            PackageActions actions(shared(), package, m_widget.get());
            const LogCapture log;
            help ? actions.openHelp() : actions.openManual();
            QCOMPARE(log.count("Skipping address : "_s + address), opened.isEmpty() ? 1 : 0);
        }
        for (const QString &scheme : schemes)
            QDesktopServices::unsetUrlHandler(scheme);
        QCOMPARE(m_opened,
                 opened.isEmpty() ? QList<QUrl>() : QList<QUrl>({QUrl(opened), QUrl(opened)}));
    }

    void noPackageDoesNothing()
    {
        start();
        const MessageBoxAnswers answers;
        PackageActions actions(shared(), PackagePointer(), m_widget.get());
        actions.install();
        actions.installVersion("1.0"_s);
        actions.uninstall();
        actions.openHelp();
        actions.openManual();
    }

    /// The widget is destroyed before the answer, together with it, or at the next question.
    void destroyedWidgetEndsTheAction()
    {
        const Handler leave = [this](QMessageBox &) { m_widget.reset(); };
        const Handler confirm = [](QMessageBox &box) { box.button(QMessageBox::Yes)->click(); };
        const Handler both = [&](QMessageBox &box) {
            confirm(box);
            leave(box);
        };
        offer(2, "1.0");
        QVERIFY(installFirstOfTwo({"2:1.0"_s}));
        for (const Handler *handle : {&leave, &both, &confirm}) {
            m_widget = std::make_unique<QWidget>();
            MessageBoxAnswers answers;
            answers.expect("Change Log"_s, ChangesOfTwo, *handle);
            if (handle == &confirm)
                answers.expect(InstallTitle, dependencies("package-2"_s), leave);
            actions(1).install();
            QVERIFY(answers.allShown());
            QVERIFY(!m_widget);
            QCOMPARE(state(1), Package::INSTALLED);
            QCOMPARE(installedVersion(1), "1.0"_s);
        }
    }

private:
    void setUp() override
    {
        m_widget = std::make_unique<QWidget>();
        m_widget->show();
        m_opened.clear();
    }
    void tearDown() override { m_widget.reset(); }
    void offer(int id, const char *version, const QStringList &depends = {},
               const QStringList &log = {})
    {
        Offer offer{id, QString::fromLatin1(version), depends};
        offer.log = log;
        offer.remove = QStringList("package-%1"_s.arg(id));
        engine().offer(offer);
    }
    bool installFirst()
    {
        offer(1, "1.0");
        return refresh() && installAndWait(1);
    }
    /// Installs version 1.0 of a package that is offered in 2.0 as well.
    bool installFirstOfTwo(const QStringList &needsOfTheSecond = {})
    {
        offer(1, "1.0");
        offer(1, "2.0", needsOfTheSecond, {"Better lights"_s});
        return refresh() && installAndWait(1, "1.0"_s);
    }
    /// Installs package 1 and starts the download of package 2, which needs it.
    bool downloadDependent()
    {
        offer(2, "1.0", {"1:1.0"_s});
        if (!installFirst())
            return false;
        server().resource(SecondArchive).holdsGet = true;
        install(2);
        return waitForState(2, Package::DOWNLOADING);
    }
    PackageActions actions(int id) { return {shared(), package(id), m_widget.get()}; }
    /// Waits for the end of an installation. Returns whether one was started and succeeded.
    bool installs(int id)
    {
        const bool started = package(id)->isBusy();
        return started && waitUntilSettled(id) && state(id) == Package::INSTALLED;
    }

    std::unique_ptr<QWidget> m_widget;
    QList<QUrl> m_opened;
};

KAVO_TEST_MAIN(PackageActionsTest)
#include "PackageActionsTest.moc"
