#include "ui/package/PackageActions.h"
#include "tests/components/Widgets.h"
#include "tests/dialogs/SharedController.h"
#include "tests/packages/MakePackage.h"
#include "tests/support/LogCapture.h"
#include "tests/support/MessageBoxAnswers.h"
#include "tests/support/TestMain.h"

#include <QDesktopServices>
#include <QUrl>

#include <memory>

using namespace Kavo::Testing;
using Kavo::Settings;
using Kavo::Models::Package;
using Kavo::Models::PackagePointer;
using Kavo::Ui::PackageActions;

namespace {

const QString DependencyLead =
    QStringLiteral("This package is dependent on following packages and will be installed if not "
                   "already installed or upgraded if outdated along with this package\n\n");
const QString MissingDependency =
    QStringLiteral("This package cannot be installed.\n\nOne or more Dependencies for this package "
                   "are not available to install");
const QString OlderVersionLead =
    QStringLiteral("Install older version?\n\nFollowing extensions depend on newer version and may "
                   "stop working\n\n");
const QString InstallTitle = QStringLiteral("Install Package");
const QString ChangeLogTitle = QStringLiteral("Change Log");
const QString ChangesOfTwo =
    QStringLiteral("<strong>Install ?</strong><strong>2.0</strong><ul><li>Better lights</li></ul>");

} // namespace

class PackageActionsTest final : public QObject
{
    Q_OBJECT

public slots:
    void openUrl(const QUrl &url) { m_opened.append(url); }

private slots:
    void init();
    void cleanup();

    void packageWithoutDependenciesIsInstalledAtOnce();
    void dependenciesAreConfirmed();
    void refusedDependenciesInstallNothing();
    void missingDependencyIsTold();
    void missingDependencyIsToldAfterTheChangeLog();
    void updateShowsTheChangeLog();
    void refusedChangeLogInstallsNothing();
    void changeLogIsRichText();

    void olderVersionOfAnAvailablePackageAsksForTheNewestsDependencies();
    void olderVersionThatNothingNeedsIsInstalledAtOnce();
    void olderVersionWarnsOfDependents();
    void refusedWarningInstallsNothing();
    void newerVersionFromTheListShowsItsChangeLog();
    void versionOfABusyPackageIsLeftAlone_data();
    void versionOfABusyPackageIsLeftAlone();

    void uninstallAsks();
    void refusedUninstallRemovesNothing();
    void escapeRefusesUninstall();
    void uninstallNamesTheDependents();
    void uninstallNamesWhatDependsOnDependents();
    void uninstallAsksAgainWhenMoreWouldGo();
    void uninstallTellsWhatIsInItsWay();
    void uninstallTellsOfAMissingSimulator();
    void waitCursorCoversTheRemoval();

    void helpAndManualAreOpened();
    void onlyPagesAreOpened_data();
    void onlyPagesAreOpened();
    void noPackageDoesNothing();
    void destroyedWidgetEndsTheAction();
    void destroyedWidgetEndsTheActionAlthoughItWasConfirmed();

private:
    void offer(int id, const char *version, const QStringList &depends = {},
               const QStringList &log = {});
    PackageActions actions(int id)
    {
        return PackageActions(sharedController(*m_engine), m_engine->package(id), m_widget.get());
    }
    Package::State state(int id) { return m_engine->package(id)->state(); }
    /// Whether an installation of the package was started; waits for its end.
    bool installs(int id)
    {
        const bool started = m_engine->package(id)->isBusy();
        return started && m_engine->waitUntilSettled(id) && state(id) == Package::INSTALLED;
    }

    std::unique_ptr<Engine> m_engine;
    std::unique_ptr<QWidget> m_widget;
    QList<QUrl> m_opened;
};

void PackageActionsTest::init()
{
    m_engine = std::make_unique<Engine>();
    m_widget = std::make_unique<QWidget>();
    m_widget->show();
    m_opened.clear();
}

void PackageActionsTest::cleanup()
{
    m_widget.reset();
    m_engine.reset();
}

void PackageActionsTest::offer(int id, const char *version, const QStringList &depends,
                               const QStringList &log)
{
    Offer offer;
    offer.id = id;
    offer.version = QString::fromLatin1(version);
    offer.depends = depends;
    offer.log = log;
    offer.remove = QStringList(QStringLiteral("package-%1").arg(id));
    m_engine->offer(offer);
}

void PackageActionsTest::packageWithoutDependenciesIsInstalledAtOnce()
{
    offer(1, "1.0");
    QVERIFY(m_engine->refresh());
    const MessageBoxAnswers answers;
    actions(1).install();
    QVERIFY(installs(1));
    QVERIFY(answers.shown().isEmpty());
}

void PackageActionsTest::dependenciesAreConfirmed()
{
    offer(2, "1.0");
    offer(1, "1.0", {QStringLiteral("3:1.0"), QStringLiteral("2:1.0")});
    offer(3, "1.0");
    QVERIFY(m_engine->refresh());
    MessageBoxAnswers answers;
    answers.expect(InstallTitle,
                   DependencyLead + QStringLiteral("package-2\npackage-3\n\nContinue?"),
                   QMessageBox::Yes);
    actions(1).install();
    QVERIFY(answers.allShown());
    QCOMPARE(answers.shown().first().icon, QMessageBox::Information);
    QCOMPARE(answers.shown().first().buttons, QMessageBox::Yes | QMessageBox::No);
    QCOMPARE(answers.shown().first().defaultButton, QMessageBox::NoButton);
    QCOMPARE(answers.shown().first().parent, m_widget.get());
    QVERIFY(installs(1));
    QCOMPARE(state(2), Package::INSTALLED);
    QCOMPARE(state(3), Package::INSTALLED);
}

void PackageActionsTest::refusedDependenciesInstallNothing()
{
    offer(1, "1.0", {QStringLiteral("2:1.0")});
    offer(2, "1.0");
    QVERIFY(m_engine->refresh());
    MessageBoxAnswers answers;
    answers.expect(InstallTitle, DependencyLead + QStringLiteral("package-2\n\nContinue?"),
                   QMessageBox::No);
    actions(1).install();
    QVERIFY(answers.allShown());
    QCOMPARE(state(1), Package::AVAILABLE);
    QCOMPARE(state(2), Package::AVAILABLE);
}

// Fixed, see docs/compatibility.md.
void PackageActionsTest::missingDependencyIsTold()
{
    offer(1, "1.0", {QStringLiteral("2:1.0"), QStringLiteral("99:1.0")});
    offer(2, "1.0");
    QVERIFY(m_engine->refresh());
    MessageBoxAnswers answers;
    answers.expect(QStringLiteral("Dependencies Error"), MissingDependency, QMessageBox::Ok);
    actions(1).install();
    QVERIFY(answers.allShown());
    QCOMPARE(answers.shown().first().icon, QMessageBox::Critical);
    QCOMPARE(state(1), Package::AVAILABLE);
}

void PackageActionsTest::missingDependencyIsToldAfterTheChangeLog()
{
    offer(1, "1.0");
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(1));
    offer(1, "2.0", {QStringLiteral("99:1.0")}, {QStringLiteral("Better lights")});
    QVERIFY(m_engine->refresh());
    MessageBoxAnswers answers;
    answers.expect(ChangeLogTitle, ChangesOfTwo, QMessageBox::Yes);
    answers.expect(QStringLiteral("Dependencies Error"), MissingDependency, QMessageBox::Ok);
    actions(1).install();
    QVERIFY(answers.allShown());
    QVERIFY(!m_engine->package(1)->isBusy());
    QCOMPARE(m_engine->controller().installedVersion(m_engine->package(1)), QStringLiteral("1.0"));
}

void PackageActionsTest::updateShowsTheChangeLog()
{
    offer(1, "1.0");
    offer(1, "2.0", {}, {QStringLiteral("Better lights")});
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(1, QStringLiteral("1.0")));
    MessageBoxAnswers answers;
    answers.expect(ChangeLogTitle, ChangesOfTwo, QMessageBox::Yes);
    actions(1).install();
    QVERIFY(answers.allShown());
    QCOMPARE(answers.shown().first().icon, QMessageBox::Question);
    QCOMPARE(answers.shown().first().defaultButton, QMessageBox::NoButton);
    QVERIFY(installs(1));
    QCOMPARE(m_engine->controller().installedVersion(m_engine->package(1)), QStringLiteral("2.0"));
}

void PackageActionsTest::refusedChangeLogInstallsNothing()
{
    offer(1, "1.0");
    offer(1, "2.0", {}, {QStringLiteral("Better lights")});
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(1, QStringLiteral("1.0")));
    MessageBoxAnswers answers;
    answers.expect(ChangeLogTitle, ChangesOfTwo, QMessageBox::No);
    actions(1).install();
    QVERIFY(answers.allShown());
    QVERIFY(!m_engine->package(1)->isBusy());
    QCOMPARE(m_engine->controller().installedVersion(m_engine->package(1)), QStringLiteral("1.0"));
}

void PackageActionsTest::changeLogIsRichText()
{
    offer(1, "1.0");
    offer(1, "2.0", {}, {QStringLiteral("Better lights")});
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(1, QStringLiteral("1.0")));
    Qt::TextFormat format = Qt::AutoText;
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [&format] {
        if (auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget())) {
            format = box->textFormat();
            box->reject();
        }
    });
    timer.start(2);
    actions(1).install();
    QCOMPARE(format, Qt::RichText);
    QVERIFY(!m_engine->package(1)->isBusy());
}

// Fixed, see docs/compatibility.md.
void PackageActionsTest::olderVersionOfAnAvailablePackageAsksForTheNewestsDependencies()
{
    offer(1, "1.0");
    offer(1, "2.0", {QStringLiteral("2:1.0")});
    offer(2, "1.0");
    QVERIFY(m_engine->refresh());
    MessageBoxAnswers answers;
    answers.expect(InstallTitle, DependencyLead + QStringLiteral("package-2\n\nContinue?"),
                   QMessageBox::Yes);
    actions(1).installVersion(QStringLiteral("1.0"));
    QVERIFY(answers.allShown());
    QVERIFY(installs(1));
    QCOMPARE(m_engine->controller().installedVersion(m_engine->package(1)), QStringLiteral("1.0"));
}

void PackageActionsTest::olderVersionThatNothingNeedsIsInstalledAtOnce()
{
    offer(1, "1.0");
    offer(1, "2.0", {QStringLiteral("99:1.0")});
    offer(1, "1.5");
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(1, QStringLiteral("1.5")));
    const MessageBoxAnswers answers;
    actions(1).installVersion(QStringLiteral("1.0"));
    QVERIFY(installs(1));
    QVERIFY(answers.shown().isEmpty());
    QCOMPARE(m_engine->controller().installedVersion(m_engine->package(1)), QStringLiteral("1.0"));
}

// Fixed, see docs/compatibility.md.
void PackageActionsTest::olderVersionWarnsOfDependents()
{
    offer(1, "1.0");
    offer(1, "2.0");
    offer(2, "1.0", {QStringLiteral("1:2.0")});
    offer(3, "1.0", {QStringLiteral("1:1.0")});
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(2));
    QVERIFY(m_engine->installAndWait(3));
    MessageBoxAnswers answers;
    answers.expect(InstallTitle, OlderVersionLead + QStringLiteral("package-2\n"),
                   QMessageBox::Yes);
    actions(1).installVersion(QStringLiteral("1.0"));
    QVERIFY(answers.allShown());
    QCOMPARE(answers.shown().first().icon, QMessageBox::Information);
    QVERIFY(installs(1));
    QCOMPARE(m_engine->controller().installedVersion(m_engine->package(1)), QStringLiteral("1.0"));
}

void PackageActionsTest::refusedWarningInstallsNothing()
{
    offer(1, "1.0");
    offer(1, "2.0");
    offer(2, "1.0", {QStringLiteral("1:2.0")});
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(2));
    MessageBoxAnswers answers;
    answers.expect(InstallTitle, OlderVersionLead + QStringLiteral("package-2\n"), QMessageBox::No);
    actions(1).installVersion(QStringLiteral("1.0"));
    QVERIFY(answers.allShown());
    QVERIFY(!m_engine->package(1)->isBusy());
    QCOMPARE(m_engine->controller().installedVersion(m_engine->package(1)), QStringLiteral("2.0"));
}

void PackageActionsTest::newerVersionFromTheListShowsItsChangeLog()
{
    offer(1, "1.0");
    // A dependency of the chosen version is not checked on this path.
    offer(1, "2.0", {}, {QStringLiteral("Better lights")});
    offer(1, "3.0", {QStringLiteral("99:1.0")});
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(1, QStringLiteral("1.0")));
    MessageBoxAnswers answers;
    answers.expect(ChangeLogTitle, ChangesOfTwo, QMessageBox::Yes);
    actions(1).installVersion(QStringLiteral("2.0"));
    QVERIFY(answers.allShown());
    QVERIFY(installs(1));
    QCOMPARE(m_engine->controller().installedVersion(m_engine->package(1)), QStringLiteral("2.0"));
}

void PackageActionsTest::versionOfABusyPackageIsLeftAlone_data()
{
    QTest::addColumn<int>("state");
    QTest::newRow("preparing") << int(Package::PREPARING);
    QTest::newRow("downloading") << int(Package::DOWNLOADING);
    QTest::newRow("installing") << int(Package::INSTALLING);
    QTest::newRow("removing") << int(Package::UNINSTALLING);
    QTest::newRow("install error") << int(Package::INSTALL_ERROR);
    QTest::newRow("download error") << int(Package::DOWNLOAD_ERROR);
    QTest::newRow("dependency error") << int(Package::DEPENDENCY_ERROR);
    QTest::newRow("unknown") << int(Package::UNKNOWN);
}

void PackageActionsTest::versionOfABusyPackageIsLeftAlone()
{
    QFETCH(int, state);
    offer(1, "1.0");
    offer(1, "2.0", {QStringLiteral("99:1.0")});
    QVERIFY(m_engine->refresh());
    m_engine->server().forgetRequests();
    m_engine->package(1)->setState(static_cast<Package::State>(state));
    const MessageBoxAnswers answers;
    actions(1).installVersion(QStringLiteral("1.0"));
    QVERIFY(answers.shown().isEmpty());
    QCOMPARE(int(this->state(1)), state);
    QVERIFY(m_engine->refresh());
    QCOMPARE(m_engine->server().log(), QStringList({QStringLiteral("GET /packages.json")}));
}

// Fixed, see docs/compatibility.md.
void PackageActionsTest::uninstallAsks()
{
    offer(1, "1.0");
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(1));
    MessageBoxAnswers answers;
    answers.expect(QStringLiteral("Uninstall Package"),
                   QStringLiteral("Uninstall package-1 from this system"), QMessageBox::Yes);
    actions(1).uninstall();
    QVERIFY(answers.allShown());
    QCOMPARE(answers.shown().first().icon, QMessageBox::Information);
    QCOMPARE(answers.shown().first().buttons, QMessageBox::Yes | QMessageBox::No);
    QVERIFY(answers.shown().first().isDestroying);
    QCOMPARE(state(1), Package::AVAILABLE);
    QVERIFY(!QFile::exists(m_engine->simulator(Engine::fileOf(1))));
}

void PackageActionsTest::refusedUninstallRemovesNothing()
{
    offer(1, "1.0");
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(1));
    MessageBoxAnswers answers;
    answers.expect(QStringLiteral("Uninstall Package"),
                   QStringLiteral("Uninstall package-1 from this system"), QMessageBox::No);
    actions(1).uninstall();
    QCOMPARE(state(1), Package::INSTALLED);
    QVERIFY(QFile::exists(m_engine->simulator(Engine::fileOf(1))));
}

void PackageActionsTest::escapeRefusesUninstall()
{
    offer(1, "1.0");
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(1));
    bool asked = false;
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [&asked] {
        if (QWidget *box = QApplication::activeModalWidget()) {
            asked = true;
            QTest::keyClick(box, Qt::Key_Escape);
        }
    });
    timer.start(2);
    actions(1).uninstall();
    QVERIFY(asked);
    QCOMPARE(state(1), Package::INSTALLED);
}

// Fixed, see docs/compatibility.md.
void PackageActionsTest::uninstallNamesTheDependents()
{
    offer(1, "1.0");
    offer(2, "1.0", {QStringLiteral("1:1.0")});
    offer(3, "1.0", {QStringLiteral("1:1.0")});
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(2));
    QVERIFY(m_engine->installAndWait(3));
    MessageBoxAnswers answers;
    answers.expect(QStringLiteral("Uninstall Package"),
                   QStringLiteral("Uninstall package-1 from this system\n\nFollowing dependent "
                                  "extensions will also be uninstalled\n\npackage-2\npackage-3\n"),
                   QMessageBox::Yes);
    actions(1).uninstall();
    QVERIFY(answers.allShown());
    for (const int id : {1, 2, 3})
        QCOMPARE(state(id), Package::AVAILABLE);
}

void PackageActionsTest::uninstallNamesWhatDependsOnDependents()
{
    // 4 needs 1 by way of 3 alone, and 5 in two ways; nothing of 6 goes, which is needed itself.
    offer(6, "1.0");
    offer(1, "1.0", {QStringLiteral("6")});
    offer(2, "1.0", {QStringLiteral("1")});
    offer(3, "1.0", {QStringLiteral("1")});
    offer(4, "1.0", {QStringLiteral("3")});
    offer(5, "1.0", {QStringLiteral("4"), QStringLiteral("2")});
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(5));
    MessageBoxAnswers answers;
    answers.expect(QStringLiteral("Uninstall Package"),
                   QStringLiteral("Uninstall package-1 from this system\n\nFollowing dependent "
                                  "extensions will also be uninstalled\n\n"
                                  "package-5\npackage-2\npackage-4\npackage-3\n"),
                   QMessageBox::Yes);
    actions(1).uninstall();
    QVERIFY(answers.allShown());
    for (const int id : {1, 2, 3, 4, 5})
        QCOMPARE(state(id), Package::AVAILABLE);
    QCOMPARE(state(6), Package::INSTALLED);
}

void PackageActionsTest::uninstallAsksAgainWhenMoreWouldGo()
{
    offer(1, "1.0");
    offer(2, "1.0", {QStringLiteral("1")});
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(1));
    m_engine->server().resource(QStringLiteral("/package-2-1.0.zip")).holdsGet = true;
    m_engine->install(2);
    QVERIFY(m_engine->waitForState(2, Package::DOWNLOADING));
    QStringList texts;
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [this, &texts] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (!box)
            return;
        m_engine->server().release(QStringLiteral("/package-2-1.0.zip"));
        // The first answer comes when the installation has ended.
        if (m_engine->package(2)->isBusy() || m_engine->controller().isBusy())
            return;
        texts.append(box->text());
        box->button(texts.size() == 1 ? QMessageBox::Yes : QMessageBox::No)->click();
    });
    timer.start(2);
    actions(1).uninstall();
    const QString question = QStringLiteral("Uninstall package-1 from this system");
    QCOMPARE(texts,
             QStringList({question, question + QStringLiteral("\n\nFollowing dependent extensions "
                                                              "will also be uninstalled\n\n"
                                                              "package-2\n")}));
    QCOMPARE(state(1), Package::INSTALLED);
    QCOMPARE(state(2), Package::INSTALLED);
}

void PackageActionsTest::uninstallTellsWhatIsInItsWay()
{
    offer(1, "1.0");
    offer(2, "1.0", {QStringLiteral("1:1.0")});
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(1));
    m_engine->server().resource(QStringLiteral("/package-2-1.0.zip")).holdsGet = true;
    m_engine->install(2);
    QVERIFY(m_engine->waitForState(2, Package::DOWNLOADING));
    MessageBoxAnswers answers;
    answers.expect(QStringLiteral("Uninstall Package"),
                   QStringLiteral("Uninstall package-1 from this system"), QMessageBox::Yes);
    answers.expect(QStringLiteral("Uninstall Package"),
                   QStringLiteral("This package cannot be uninstalled now.\n\nWork on the "
                                  "following packages has to end first\n\npackage-2\n"),
                   QMessageBox::Ok);
    actions(1).uninstall();
    QVERIFY(answers.allShown());
    QCOMPARE(state(1), Package::INSTALLED);
    m_engine->server().release(QStringLiteral("/package-2-1.0.zip"));
    QVERIFY(installs(2));
}

void PackageActionsTest::uninstallTellsOfAMissingSimulator()
{
    // A name may hold anything but a slash, and is no markup.
    const QString folder = m_engine->profile().folder(QStringLiteral("<b>X\nPlane</b>"));
    m_engine->settings()->setPending(Settings::INSTALLATION, folder);
    m_engine->settings()->apply();
    QVERIFY(writeFile(folder + QStringLiteral("X-Plane-x86_64"), "simulator"));
    offer(1, "1.0");
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(1));
    QVERIFY(QFile::remove(folder + QStringLiteral("X-Plane-x86_64")));
    MessageBoxAnswers answers;
    answers.expect(QStringLiteral("Uninstall Package"),
                   QStringLiteral("Uninstall package-1 from this system"), QMessageBox::Yes);
    answers.expect(QStringLiteral("Uninstall Package"),
                   QStringLiteral("This package cannot be uninstalled now.\n\nThe folder of the "
                                  "simulator is not there, or no simulator is in it\n\n") +
                       QString(folder).replace(QLatin1Char('\n'), QLatin1Char('?')) +
                       QLatin1Char('\n'),
                   QMessageBox::Ok);
    actions(1).uninstall();
    QVERIFY(answers.allShown());
    QCOMPARE(state(1), Package::INSTALLED);
    QVERIFY(QFile::exists(folder + Engine::fileOf(1)));
}

void PackageActionsTest::waitCursorCoversTheRemoval()
{
    offer(1, "1.0");
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(1));
    QList<Qt::CursorShape> shapes;
    connect(m_engine->package(1).data(), &Package::stateChanged, this, [&shapes] {
        const QCursor *cursor = QApplication::overrideCursor();
        shapes.append(cursor ? cursor->shape() : Qt::ArrowCursor);
    });
    MessageBoxAnswers answers;
    answers.expect(QStringLiteral("Uninstall Package"),
                   QStringLiteral("Uninstall package-1 from this system"), QMessageBox::Yes);
    QVERIFY(!QApplication::overrideCursor());
    actions(1).uninstall();
    QVERIFY(!QApplication::overrideCursor());
    QCOMPARE(shapes, QList<Qt::CursorShape>({Qt::WaitCursor, Qt::WaitCursor}));
}

void PackageActionsTest::helpAndManualAreOpened()
{
    QDesktopServices::setUrlHandler(QStringLiteral("http"), this, "openUrl");
    QDesktopServices::setUrlHandler(QStringLiteral("https"), this, "openUrl");
    m_engine->start();
    const PackagePointer package = makePackage(1, {});
    package->setHelpUrl(QStringLiteral("https://help.invalid/a page"));
    package->setManualUrl(QStringLiteral("HTTP://manual.invalid/"));
    PackageActions actions(sharedController(*m_engine), package, m_widget.get());
    actions.openHelp();
    QCOMPARE(m_opened, QList<QUrl>({QUrl(QStringLiteral("https://help.invalid/a page"))}));
    actions.openManual();
    QCOMPARE(m_opened.last(), QUrl(QStringLiteral("http://manual.invalid/")));
    QDesktopServices::unsetUrlHandler(QStringLiteral("http"));
    QDesktopServices::unsetUrlHandler(QStringLiteral("https"));
}

void PackageActionsTest::onlyPagesAreOpened_data()
{
    QTest::addColumn<QString>("address");
    for (const char *address :
         {"kavo-test://page", "file:///etc/passwd", "kavo-test:page", "--version", "page.html",
          "https:", "http:///page", "//server.invalid/page", "www.server.invalid"})
        QTest::newRow(address) << QString::fromLatin1(address);
}

void PackageActionsTest::onlyPagesAreOpened()
{
    QFETCH(QString, address);
    const QStringList schemes{QStringLiteral("kavo-test"), QStringLiteral("file"),
                              QStringLiteral("http"), QStringLiteral("https")};
    for (const QString &scheme : schemes)
        QDesktopServices::setUrlHandler(scheme, this, "openUrl");
    m_engine->start();
    const PackagePointer package = makePackage(1, {});
    package->setHelpUrl(address);
    package->setManualUrl(address);
    PackageActions actions(sharedController(*m_engine), package, m_widget.get());
    const LogCapture log;
    actions.openHelp();
    actions.openManual();
    for (const QString &scheme : schemes)
        QDesktopServices::unsetUrlHandler(scheme);
    QVERIFY(m_opened.isEmpty());
    QCOMPARE(log.count(QStringLiteral("Skipping address : ") + address), 2);
}

void PackageActionsTest::noPackageDoesNothing()
{
    m_engine->start();
    const MessageBoxAnswers answers;
    PackageActions actions(sharedController(*m_engine), PackagePointer(), m_widget.get());
    actions.install();
    actions.installVersion(QStringLiteral("1.0"));
    actions.uninstall();
    actions.openHelp();
    actions.openManual();
    QVERIFY(answers.shown().isEmpty());
}

void PackageActionsTest::destroyedWidgetEndsTheAction()
{
    offer(1, "1.0", {QStringLiteral("2:1.0")});
    offer(2, "1.0");
    QVERIFY(m_engine->refresh());
    bool asked = false;
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [this, &asked] {
        if (QApplication::activeModalWidget()) {
            asked = true;
            m_widget.reset();
        }
    });
    timer.start(2);
    actions(1).install();
    QVERIFY(asked);
    QCOMPARE(state(1), Package::AVAILABLE);
}

/// The answer and the end in one turn.
void PackageActionsTest::destroyedWidgetEndsTheActionAlthoughItWasConfirmed()
{
    offer(1, "1.0");
    offer(1, "2.0", {}, {QStringLiteral("Better lights")});
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(1, QStringLiteral("1.0")));
    bool asked = false;
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [this, &asked] {
        if (auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget())) {
            asked = true;
            box->button(QMessageBox::Yes)->click();
            m_widget.reset();
        }
    });
    timer.start(2);
    actions(1).install();
    QVERIFY(asked);
    QCOMPARE(state(1), Package::INSTALLED);
    QCOMPARE(m_engine->controller().installedVersion(m_engine->package(1)), QStringLiteral("1.0"));
}

KAVO_TEST_MAIN(PackageActionsTest)
#include "PackageActionsTest.moc"
