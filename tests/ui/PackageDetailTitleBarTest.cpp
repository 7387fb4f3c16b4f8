#include "ui/detail/PackageDetailTitleBar.h"
#include "downloads/Download.h"
#include "tests/components/Widgets.h"
#include "tests/dialogs/SharedController.h"
#include "tests/packages/MakePackage.h"
#include "tests/support/MessageBoxAnswers.h"
#include "tests/support/TestMain.h"
#include "ui/package/PackageProcessingWidget.h"

#include <memory>

using namespace Kavo::Testing;
using Kavo::Models::Package;
using Kavo::Models::PackagePointer;
using Kavo::Ui::PackageDetailTitleBar;
using Kavo::Ui::PackageProcessingWidget;

namespace {

PackagePointer somePackage(const QString &name = QStringLiteral("Harbour"))
{
    return makePackage(1, {makeVersion(QStringLiteral("2.0"))}, name);
}

} // namespace

class PackageDetailTitleBarTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { Kavo::Components::iconFont()->initFontAwesome(); }
    void init();
    void cleanup();

    void barWithoutPackageIgnoresClicks();
    void stateSetsTheButtons_data();
    void stateSetsTheButtons();
    void nameIsPlain();
    void unbreakableNameLeavesTheButtonsOnTheBar();
    void buttonsHaveTheirTexts();
    void barFollowsTheState();
    void actionIsStyledByItsState();
    void boundPackageIsNoLongerFollowed();
    void errorIsToldOnAVisibleBar_data();
    void errorIsToldOnAVisibleBar();
    void hiddenBarTellsDependencyErrorsOnly();
    void barMayGoWhileAnErrorIsTold();
    void progressOfARunningDownloadIsShown();
    void progressGoesWithTheDownload();
    void indicatorIsHiddenWhileRemoving();
    void buttonsStartTheirActions();
    void buttonsWithoutAnAddressAreOff_data();
    void buttonsWithoutAnAddressAreOff();

private:
    void bind(const PackagePointer &package) { m_bar->setPackage(package); }
    QPushButton *action() const;
    QPushButton *button(const char *name) const { return child<QPushButton>(*m_bar, name); }
    bool indicates() const { return !m_bar->findChild<PackageProcessingWidget *>()->isHidden(); }

    std::unique_ptr<Engine> m_engine;
    std::unique_ptr<PackageDetailTitleBar> m_bar;
};

void PackageDetailTitleBarTest::init()
{
    m_engine = std::make_unique<Engine>();
    m_engine->start();
    m_bar = std::make_unique<PackageDetailTitleBar>(sharedController(*m_engine));
    m_bar->resize(800, 80);
    m_bar->show();
}

void PackageDetailTitleBarTest::cleanup()
{
    m_bar.reset();
    m_engine.reset();
}

QPushButton *PackageDetailTitleBarTest::action() const
{
    for (const char *name : {"Download", "Update", "Installed"}) {
        if (auto *found = button(name))
            return found;
    }
    return nullptr;
}

void PackageDetailTitleBarTest::barWithoutPackageIgnoresClicks()
{
    const MessageBoxAnswers answers;
    for (QPushButton *each : m_bar->findChildren<QPushButton *>())
        each->click();
    QVERIFY(answers.shown().isEmpty());
    QVERIFY(!indicates());
}

void PackageDetailTitleBarTest::stateSetsTheButtons_data()
{
    QTest::addColumn<int>("state");
    QTest::addColumn<bool>("update");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("enabled");
    QTest::addColumn<bool>("uninstall");
    QTest::addColumn<bool>("indicator");
    QTest::newRow("available") << int(Package::AVAILABLE) << false << QStringLiteral("Download")
                               << true << false << false;
    QTest::newRow("update") << int(Package::INSTALLED) << true << QStringLiteral("Update") << true
                            << true << false;
    QTest::newRow("installed") << int(Package::INSTALLED) << false << QStringLiteral("Installed")
                               << false << true << false;
    const auto hidden = [](const char *title, Package::State state, bool indicator) {
        QTest::newRow(title) << int(state) << false << QString() << true << false << indicator;
    };
    hidden("preparing", Package::PREPARING, true);
    hidden("downloading", Package::DOWNLOADING, true);
    hidden("installing", Package::INSTALLING, true);
    hidden("removing", Package::UNINSTALLING, false);
    hidden("install error", Package::INSTALL_ERROR, false);
    hidden("download error", Package::DOWNLOAD_ERROR, false);
    hidden("dependency error", Package::DEPENDENCY_ERROR, false);
    hidden("unknown", Package::UNKNOWN, false);
}

void PackageDetailTitleBarTest::stateSetsTheButtons()
{
    QFETCH(int, state);
    QFETCH(bool, update);
    QFETCH(QString, text);
    QFETCH(bool, enabled);
    QFETCH(bool, uninstall);
    QFETCH(bool, indicator);
    const PackagePointer package = somePackage();
    package->setUpdateAvailable(update);
    package->setState(static_cast<Package::State>(state));
    bind(package);
    QCOMPARE(indicates(), indicator);
    QCOMPARE(!button("Uninstall")->isHidden(), uninstall);
    QCOMPARE(action()->isHidden(), text.isEmpty());
    if (text.isEmpty())
        return;
    QCOMPARE(action()->text(), text);
    QCOMPARE(action()->objectName(), text);
    QCOMPARE(action()->isEnabled(), enabled);
    QVERIFY(button("Uninstall")->isEnabled());
}

void PackageDetailTitleBarTest::nameIsPlain()
{
    bind(somePackage(QStringLiteral("<b>Harbour</b>")));
    QCOMPARE(m_bar->objectName(), QStringLiteral("PackageDetailTitleBar"));
    QCOMPARE(textOf(*m_bar, "DetailTitle"), QStringLiteral("<b>Harbour</b>"));
    QCOMPARE(child<QLabel>(*m_bar, "DetailTitle")->textFormat(), Qt::PlainText);
}

void PackageDetailTitleBarTest::unbreakableNameLeavesTheButtonsOnTheBar()
{
    bind(somePackage(QString(80, QLatin1Char('W'))));
    constexpr int PageWidth = 1000;
    QVERIFY(m_bar->minimumSizeHint().width() <= PageWidth);
    m_bar->resize(PageWidth, m_bar->sizeHint().height());
    for (const QPushButton *button : m_bar->findChildren<QPushButton *>()) {
        if (button->isVisible())
            QVERIFY(button->geometry().right() < PageWidth);
    }
}

void PackageDetailTitleBarTest::buttonsHaveTheirTexts()
{
    KAVO_NEEDS_ICON_FONT();
    const PackagePointer package = somePackage();
    package->setState(Package::INSTALLED);
    bind(package);
    QCOMPARE(button("Uninstall")->text(), QStringLiteral("Uninstall"));
    QCOMPARE(button("GetHelp")->text(), QStringLiteral("Get Help"));
    QCOMPARE(button("Manual")->text(), QStringLiteral("Manual"));
    for (const QPushButton *each : m_bar->findChildren<QPushButton *>())
        QVERIFY(!each->icon().isNull());
}

void PackageDetailTitleBarTest::barFollowsTheState()
{
    const PackagePointer package = somePackage();
    bind(package);
    package->setState(Package::DOWNLOADING);
    QVERIFY(action()->isHidden());
    QVERIFY(indicates());
    package->setState(Package::INSTALLED);
    QCOMPARE(action()->text(), QStringLiteral("Installed"));
    QVERIFY(!action()->isEnabled());
    QVERIFY(!indicates());
    package->setState(Package::AVAILABLE);
    QCOMPARE(action()->text(), QStringLiteral("Download"));
    QVERIFY(action()->isEnabled());
}

void PackageDetailTitleBarTest::actionIsStyledByItsState()
{
    qApp->setStyleSheet(
        QStringLiteral("#Download { color: #112233; } #Installed { color: #445566; }"));
    const PackagePointer package = somePackage();
    bind(package);
    QCOMPARE(action()->palette().color(QPalette::ButtonText), QColor(0x11, 0x22, 0x33));
    package->setState(Package::INSTALLED);
    QCOMPARE(action()->palette().color(QPalette::Disabled, QPalette::ButtonText),
             QColor(0x44, 0x55, 0x66));
    qApp->setStyleSheet(QString());
}

void PackageDetailTitleBarTest::boundPackageIsNoLongerFollowed()
{
    const PackagePointer first = somePackage();
    const PackagePointer second = somePackage(QStringLiteral("Highland"));
    bind(first);
    bind(second);
    const MessageBoxAnswers answers;
    first->setState(Package::DOWNLOADING);
    emit first->totalSize(100);
    emit first->downloadedSize(50);
    QVERIFY(!indicates());
    QCOMPARE(action()->text(), QStringLiteral("Download"));
    first->setState(Package::DEPENDENCY_ERROR);
    first->setState(Package::INSTALL_ERROR);
    QCoreApplication::sendPostedEvents();
    QVERIFY(answers.shown().isEmpty());
    QCOMPARE(textOf(*m_bar, "DetailTitle"), QStringLiteral("Highland"));
}

void PackageDetailTitleBarTest::errorIsToldOnAVisibleBar_data()
{
    QTest::addColumn<int>("state");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("text");
    QTest::newRow("install") << int(Package::INSTALL_ERROR) << QStringLiteral("Install Error")
                             << QStringLiteral("Installation failed for package : Harbour");
    QTest::newRow("download") << int(Package::DOWNLOAD_ERROR) << QStringLiteral("Download Error")
                              << QStringLiteral("Downloading failed for package : Harbour");
    QTest::newRow("dependency")
        << int(Package::DEPENDENCY_ERROR) << QStringLiteral("Dependency Error")
        << QStringLiteral("Unable to install one or more dependency for package : Harbour");
}

void PackageDetailTitleBarTest::errorIsToldOnAVisibleBar()
{
    QFETCH(int, state);
    QFETCH(QString, title);
    QFETCH(QString, text);
    const PackagePointer package = somePackage();
    package->setState(Package::INSTALLING);
    bind(package);
    MessageBoxAnswers answers;
    answers.expect(title, text, QMessageBox::Ok);
    package->setState(static_cast<Package::State>(state));
    QCoreApplication::sendPostedEvents();
    QVERIFY(answers.allShown());
    QCOMPARE(answers.shown().first().icon, QMessageBox::Critical);
    QVERIFY(!indicates());
    QVERIFY(action()->isHidden());
}

// Fixed, see docs/compatibility.md.
void PackageDetailTitleBarTest::hiddenBarTellsDependencyErrorsOnly()
{
    const PackagePointer package = somePackage();
    bind(package);
    m_bar->hide();
    MessageBoxAnswers answers;
    package->setState(Package::INSTALL_ERROR);
    package->setState(Package::DOWNLOAD_ERROR);
    QCoreApplication::sendPostedEvents();
    QVERIFY(answers.shown().isEmpty());
    answers.expect(QStringLiteral("Dependency Error"),
                   QStringLiteral("Unable to install one or more dependency for package : Harbour"),
                   QMessageBox::Ok);
    package->setState(Package::DEPENDENCY_ERROR);
    QCoreApplication::sendPostedEvents();
    QVERIFY(answers.allShown());
}

void PackageDetailTitleBarTest::barMayGoWhileAnErrorIsTold()
{
    const PackagePointer package = somePackage();
    bind(package);
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [this] {
        if (QApplication::activeModalWidget())
            m_bar.reset();
    });
    timer.start(2);
    package->setState(Package::INSTALL_ERROR);
    QCoreApplication::sendPostedEvents();
    QVERIFY(!m_bar);
}

void PackageDetailTitleBarTest::progressOfARunningDownloadIsShown()
{
    m_engine->offer({1, QStringLiteral("1.0")});
    m_engine->server().serveGenerated(QStringLiteral("/package-1-1.0.zip"), 8LL * 1024 * 1024);
    m_engine->server().resource(QStringLiteral("/package-1-1.0.zip")).holdAfter = 3LL * 1024 * 1024;
    QVERIFY(m_engine->refresh());
    m_engine->install(1);
    QVERIFY(m_engine->waitForState(1, Package::DOWNLOADING));
    const auto download = m_engine->controller().runningDownload(m_engine->package(1));
    QTRY_COMPARE(download->getCurrentSize(), 3LL * 1024 * 1024);
    // Opened in the middle of the download.
    bind(m_engine->package(1));
    QVERIFY(indicates());
    QVERIFY(textOf(*m_bar, "DetailProgress").startsWith(QStringLiteral("3.0 of 8.0 MB")));
    // As the transfer does from time to time.
    download->setCurrentSize(4LL * 1024 * 1024);
    QTRY_VERIFY(textOf(*m_bar, "DetailProgress").startsWith(QStringLiteral("4.0 of 8.0 MB")));
    m_bar.reset();
}

void PackageDetailTitleBarTest::progressGoesWithTheDownload()
{
    const PackagePointer package = somePackage();
    bind(package);
    package->setState(Package::DOWNLOADING);
    emit package->totalSize(2048);
    emit package->downloadedSize(1024);
    const auto *progress = child<QLabel>(*m_bar, "DetailProgress");
    QTRY_COMPARE(progress->text(), QStringLiteral("1.0 of 2.0 KB"));
    QVERIFY(!progress->isHidden());
    package->setState(Package::INSTALLING);
    QVERIFY(progress->isHidden());
    QVERIFY(indicates());
}

void PackageDetailTitleBarTest::indicatorIsHiddenWhileRemoving()
{
    const PackagePointer package = somePackage();
    package->setState(Package::INSTALLED);
    bind(package);
    package->setState(Package::UNINSTALLING);
    QVERIFY(!indicates());
}

void PackageDetailTitleBarTest::buttonsStartTheirActions()
{
    Offer offer;
    offer.id = 1;
    offer.remove = QStringList(QStringLiteral("package-1"));
    m_engine->offer(offer);
    QVERIFY(m_engine->refresh());
    bind(m_engine->package(1));
    action()->click();
    QVERIFY(m_engine->waitForState(1, Package::INSTALLED));
    QVERIFY(m_engine->waitUntilSettled(1));
    QTRY_VERIFY(!button("Uninstall")->isHidden());
    MessageBoxAnswers answers;
    answers.expect(QStringLiteral("Uninstall Package"),
                   QStringLiteral("Uninstall package-1 from this system"), QMessageBox::Yes);
    button("Uninstall")->click();
    QVERIFY(answers.allShown());
    QCOMPARE(m_engine->package(1)->state(), Package::AVAILABLE);
    QCOMPARE(action()->text(), QStringLiteral("Download"));
}

void PackageDetailTitleBarTest::buttonsWithoutAnAddressAreOff_data()
{
    QTest::addColumn<QString>("help");
    QTest::addColumn<QString>("manual");
    const QString address = QStringLiteral("http://addons.example.org/");
    QTest::newRow("both") << address << address;
    QTest::newRow("help") << address << QString();
    QTest::newRow("manual") << QString() << address;
    QTest::newRow("blanks") << QStringLiteral(" ") << QStringLiteral("\n");
}

void PackageDetailTitleBarTest::buttonsWithoutAnAddressAreOff()
{
    QFETCH(QString, help);
    QFETCH(QString, manual);
    // Whatever the package before had.
    for (const bool before : {true, false}) {
        const QString address = before ? QStringLiteral("http://x.example.org/") : QString();
        const PackagePointer other = somePackage();
        other->setHelpUrl(address);
        other->setManualUrl(address);
        bind(other);
        const PackagePointer package = somePackage();
        package->setHelpUrl(help);
        package->setManualUrl(manual);
        bind(package);
        QCOMPARE(button("GetHelp")->isEnabled(), !help.trimmed().isEmpty());
        QCOMPARE(button("Manual")->isEnabled(), !manual.trimmed().isEmpty());
        QVERIFY(button("GetHelp")->isVisible() && button("Manual")->isVisible());
    }
}

KAVO_TEST_MAIN(PackageDetailTitleBarTest)
#include "PackageDetailTitleBarTest.moc"
