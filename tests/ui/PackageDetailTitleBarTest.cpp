#include "ui/detail/PackageDetailTitleBar.h"
#include "tests/packages/MakePackage.h"
#include "tests/support/TestMain.h"
#include "tests/ui/Boxes.h"
#include "tests/ui/WidgetTest.h"
#include "ui/package/PackageProcessingWidget.h"

using namespace Kavo::Testing;
using Kavo::Models::PackagePointer;
using Kavo::Ui::PackageDetailTitleBar;
using Kavo::Ui::PackageProcessingWidget;

namespace {

PackagePointer named(const QString &name)
{
    return makePackage(1, {makeVersion("2.0"_s)}, name);
}

} // namespace

class PackageDetailTitleBarTest final : public WidgetTest
{
    Q_OBJECT

private slots:
    void barWithoutPackageIgnoresClicks()
    {
        const MessageBoxAnswers answers;
        for (QPushButton *each : m_bar->findChildren<QPushButton *>())
            each->click();
        QVERIFY(!indicates());
    }

    void stateSetsTheButtons_data()
    {
        Rows<Package::State, bool, QString, bool>()
            .row("available", Package::AVAILABLE, false, "Download", false)
            .row("update", Package::INSTALLED, true, "Update", false)
            .row("installed", Package::INSTALLED, false, "Installed", false)
            .row("preparing", Package::PREPARING, false, "", true)
            .row("downloading", Package::DOWNLOADING, false, "", true)
            .row("installing", Package::INSTALLING, false, "", true)
            .row("removing", Package::UNINSTALLING, false, "", false)
            .row("install error", Package::INSTALL_ERROR, false, "", false)
            .row("download error", Package::DOWNLOAD_ERROR, false, "", false)
            .row("dependency error", Package::DEPENDENCY_ERROR, false, "", false)
            .row("unknown", Package::UNKNOWN, false, "", false);
    }

    /// The package has the state from the beginning, or gets it while it is shown.
    void stateSetsTheButtons()
    {
        const auto [state, update, text, indicator] =
            Rows<Package::State, bool, QString, bool>::current();
        m_bar->hide();
        for (const auto before : {state, Package::DOWNLOADING, Package::INSTALLED}) {
            m_package->setUpdateAvailable(update);
            m_package->setState(before);
            m_bar->setPackage(m_package);
            MessageBoxAnswers answers;
            if (state == Package::DEPENDENCY_ERROR && before != state)
                expectError(answers, "Harbour"_s, state);
            m_package->setState(state);
            QVERIFY(isQuiet());
            QCOMPARE(indicates(), indicator);
            QCOMPARE(!button("Uninstall")->isHidden(), state == Package::INSTALLED);
            QCOMPARE(action()->isHidden(), text.isEmpty());
            if (text.isEmpty())
                continue;
            QCOMPARE(action()->text(), text);
            QCOMPARE(action()->objectName(), text);
            QCOMPARE(action()->isEnabled(), text != "Installed"_s);
            QVERIFY(button("Uninstall")->isEnabled());
        }
    }

    void actionIsStyledByItsState()
    {
        qApp->setStyleSheet("#Download { color: #112233; } #Installed { color: #445566; }"_s);
        m_bar->setPackage(m_package);
        QCOMPARE(action()->palette().color(QPalette::ButtonText), QColor(0x11, 0x22, 0x33));
        m_package->setState(Package::INSTALLED);
        QCOMPARE(action()->palette().color(QPalette::Disabled, QPalette::ButtonText),
                 QColor(0x44, 0x55, 0x66));
        qApp->setStyleSheet({});
    }

    void barHasItsTexts()
    {
        KAVO_NEEDS_ICON_FONT();
        m_bar->setPackage(named("<b>Harbour</b>"_s));
        QCOMPARE(m_bar->objectName(), "PackageDetailTitleBar"_s);
        QCOMPARE(textOf(*m_bar, "DetailTitle"), "<b>Harbour</b>"_s);
        QCOMPARE(child<QLabel>(*m_bar, "DetailTitle")->textFormat(), Qt::PlainText);
        QCOMPARE(button("Uninstall")->text(), "Uninstall"_s);
        QCOMPARE(button("GetHelp")->text(), "Get Help"_s);
        QCOMPARE(button("Manual")->text(), "Manual"_s);
        for (const QPushButton *each : m_bar->findChildren<QPushButton *>())
            QVERIFY(!each->icon().isNull());
    }

    void longNameKeepsTheButtonsOnTheBar()
    {
        m_bar->setPackage(named(QString(80, QLatin1Char('W'))));
        constexpr int PageWidth = 1000;
        QVERIFY(m_bar->minimumSizeHint().width() <= PageWidth);
        m_bar->resize(PageWidth, m_bar->sizeHint().height());
        for (const QPushButton *each : m_bar->findChildren<QPushButton *>())
            QVERIFY(!each->isVisible() || each->geometry().right() < PageWidth);
    }

    void previousPackageIsNotFollowed()
    {
        m_bar->setPackage(m_package);
        m_bar->setPackage(named("Highland"_s));
        const MessageBoxAnswers answers;
        m_package->setState(Package::DOWNLOADING);
        emit m_package->totalSize(100);
        emit m_package->downloadedSize(50);
        QVERIFY(!indicates());
        QCOMPARE(action()->text(), "Download"_s);
        m_package->setState(Package::DEPENDENCY_ERROR);
        m_package->setState(Package::INSTALL_ERROR);
        QVERIFY(isQuiet());
        QCOMPARE(textOf(*m_bar, "DetailTitle"), "Highland"_s);
    }

    void errorIsShown_data()
    {
        Rows<Package::State, bool>()
            .row("install", Package::INSTALL_ERROR, false)
            .row("download", Package::DOWNLOAD_ERROR, false)
            .row("dependency", Package::DEPENDENCY_ERROR, true);
    }

    // Fixed, see docs/compatibility.md.
    void errorIsShown()
    {
        const auto [state, toldByHidden] = Rows<Package::State, bool>::current();
        for (const bool visible : {true, false}) {
            m_bar->setVisible(visible);
            m_package->setState(Package::INSTALLING);
            m_bar->setPackage(m_package);
            MessageBoxAnswers answers;
            if (visible || toldByHidden)
                expectError(answers, "Harbour"_s, state);
            m_package->setState(state);
            QVERIFY(isQuiet());
            QVERIFY(answers.allShown());
            QVERIFY(!visible || answers.shown().first().icon == QMessageBox::Critical);
            QVERIFY(!indicates());
            QVERIFY(action()->isHidden());
        }
    }

    void progressEndsWithTheDownload()
    {
        m_bar->setPackage(m_package);
        m_package->setState(Package::DOWNLOADING);
        emit m_package->totalSize(2048);
        emit m_package->downloadedSize(1024);
        QTRY_COMPARE(progress(), "1.0 of 2.0 KB"_s);
        QVERIFY(!child<QLabel>(*m_bar, "DetailProgress")->isHidden());
        m_package->setState(Package::INSTALLING);
        QVERIFY(child<QLabel>(*m_bar, "DetailProgress")->isHidden());
        QVERIFY(indicates());
    }

    void buttonsStartTheirActions()
    {
        offer(Offer{1}.removing({"package-1"_s}));
        QVERIFY(refresh());
        m_bar->setPackage(package(1));
        action()->click();
        QVERIFY(waitUntilInstalled(1));
        QTRY_VERIFY(!button("Uninstall")->isHidden());
        MessageBoxAnswers answers;
        expectUninstall(answers, QMessageBox::Yes);
        button("Uninstall")->click();
        QCOMPARE(package(1)->state(), Package::AVAILABLE);
        QCOMPARE(action()->text(), "Download"_s);
    }

    void buttonsWithoutAnAddressAreDisabled_data()
    {
        const QString address = "http://addons.example.org/"_s;
        Rows<QString, QString>()
            .row("both", address, address)
            .row("help", address, "")
            .row("manual", "", address)
            .row("blanks", " ", "\n");
    }

    void buttonsWithoutAnAddressAreDisabled()
    {
        const auto [help, manual] = Rows<QString, QString>::current();
        // The result does not depend on the previous package.
        for (const QString &before : {"http://x.example.org/"_s, QString()}) {
            const PackagePointer other = named("Highland"_s);
            other->setHelpUrl(before);
            other->setManualUrl(before);
            m_bar->setPackage(other);
            m_package->setHelpUrl(help);
            m_package->setManualUrl(manual);
            m_bar->setPackage(m_package);
            QCOMPARE(button("GetHelp")->isEnabled(), !help.trimmed().isEmpty());
            QCOMPARE(button("Manual")->isEnabled(), !manual.trimmed().isEmpty());
            QVERIFY(button("GetHelp")->isVisible() && button("Manual")->isVisible());
        }
    }

private:
    void setUp() override
    {
        start();
        m_package = named("Harbour"_s);
        m_bar = std::make_unique<PackageDetailTitleBar>(shared());
        m_bar->resize(800, 80);
        m_bar->show();
    }
    void tearDown() override { m_bar.reset(); }
    QPushButton *action() const
    {
        for (const char *name : {"Download", "Update", "Installed"}) {
            if (auto *found = button(name))
                return found;
        }
        return nullptr;
    }
    QPushButton *button(const char *name) const { return child<QPushButton>(*m_bar, name); }
    QString progress() const { return textOf(*m_bar, "DetailProgress"); }
    bool indicates() const { return !m_bar->findChild<PackageProcessingWidget *>()->isHidden(); }

    PackagePointer m_package;
    std::unique_ptr<PackageDetailTitleBar> m_bar;
};

KAVO_TEST_MAIN(PackageDetailTitleBarTest)
#include "PackageDetailTitleBarTest.moc"
