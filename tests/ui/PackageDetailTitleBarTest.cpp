#include "ui/detail/PackageDetailTitleBar.h"
#include "downloads/Download.h"
#include "tests/packages/MakePackage.h"
#include "tests/support/TestMain.h"
#include "tests/ui/Boxes.h"
#include "tests/ui/WidgetTest.h"
#include "ui/package/PackageProcessingWidget.h"

using namespace Kavo::Testing;
using Kavo::Models::Package;
using Kavo::Models::PackagePointer;
using Kavo::Ui::PackageDetailTitleBar;
using Kavo::Ui::PackageProcessingWidget;

namespace {

constexpr qint64 MB = 1024 * 1024;

PackagePointer named(const QString &name)
{
    return makePackage(1, {makeVersion("2.0"_s)}, name);
}

} // namespace

class PackageDetailTitleBarTest final : public WidgetTest
{
    Q_OBJECT

private slots:
    void init()
    {
        EngineTest::init();
        engine().start();
        m_package = named("Harbour"_s);
        m_bar = std::make_unique<PackageDetailTitleBar>(shared());
        m_bar->resize(800, 80);
        m_bar->show();
    }
    void cleanup()
    {
        m_bar.reset();
        EngineTest::cleanup();
    }

    void barWithoutPackageIgnoresClicks()
    {
        const MessageBoxAnswers answers;
        for (QPushButton *each : m_bar->findChildren<QPushButton *>())
            each->click();
        QVERIFY(answers.shown().isEmpty());
        QVERIFY(!indicates());
    }

    void stateSetsTheButtons_data()
    {
        table<Package::State, bool, QString, bool>(
            {"state", "update", "text", "indicator"},
            {{"available", Package::AVAILABLE, false, "Download"_s, false},
             {"update", Package::INSTALLED, true, "Update"_s, false},
             {"installed", Package::INSTALLED, false, "Installed"_s, false},
             {"preparing", Package::PREPARING, false, {}, true},
             {"downloading", Package::DOWNLOADING, false, {}, true},
             {"installing", Package::INSTALLING, false, {}, true},
             {"removing", Package::UNINSTALLING, false, {}, false},
             {"install error", Package::INSTALL_ERROR, false, {}, false},
             {"download error", Package::DOWNLOAD_ERROR, false, {}, false},
             {"dependency error", Package::DEPENDENCY_ERROR, false, {}, false},
             {"unknown", Package::UNKNOWN, false, {}, false}});
    }

    /// Of a package that comes with its state, and of one that gets it on the page.
    void stateSetsTheButtons()
    {
        QFETCH(Package::State, state);
        QFETCH(bool, update);
        QFETCH(QString, text);
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
            QTEST(indicates(), "indicator");
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

    void unbreakableNameLeavesTheButtonsOnTheBar()
    {
        m_bar->setPackage(named(QString(80, QLatin1Char('W'))));
        constexpr int PageWidth = 1000;
        QVERIFY(m_bar->minimumSizeHint().width() <= PageWidth);
        m_bar->resize(PageWidth, m_bar->sizeHint().height());
        for (const QPushButton *each : m_bar->findChildren<QPushButton *>())
            QVERIFY(!each->isVisible() || each->geometry().right() < PageWidth);
    }

    void packageBeforeIsNoLongerFollowed()
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
        QVERIFY(answers.shown().isEmpty());
        QCOMPARE(textOf(*m_bar, "DetailTitle"), "Highland"_s);
    }

    void errorIsTold_data()
    {
        table<Package::State, bool>({"state", "toldByHidden"},
                                    {{"install", Package::INSTALL_ERROR, false},
                                     {"download", Package::DOWNLOAD_ERROR, false},
                                     {"dependency", Package::DEPENDENCY_ERROR, true}});
    }

    // Fixed, see docs/compatibility.md.
    void errorIsTold()
    {
        QFETCH(Package::State, state);
        QFETCH(bool, toldByHidden);
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

    void barMayGoWhileAnErrorIsTold()
    {
        m_bar->setPackage(m_package);
        const BoxText box = errorBox("Harbour"_s, Package::INSTALL_ERROR);
        MessageBoxAnswers answers;
        answers.expect(box.title, box.text, [this](QMessageBox &) { m_bar.reset(); });
        m_package->setState(Package::INSTALL_ERROR);
        QCoreApplication::sendPostedEvents();
        QVERIFY(!m_bar);
    }

    void progressOfARunningDownloadIsShown()
    {
        engine().offer({1});
        server().serveGenerated("/package-1-1.0.zip"_s, 8 * MB).holdAfter = 3 * MB;
        QVERIFY(engine().refresh());
        engine().install(1);
        QVERIFY(engine().waitForState(1, Package::DOWNLOADING));
        const auto download = controller().runningDownload(package(1));
        QTRY_COMPARE(download->getCurrentSize(), 3 * MB);
        // Opened in the middle of the download.
        m_bar->setPackage(package(1));
        QVERIFY(indicates());
        QVERIFY(progress().startsWith("3.0 of 8.0 MB"_s));
        // As the transfer does from time to time.
        download->setCurrentSize(4 * MB);
        QTRY_VERIFY(progress().startsWith("4.0 of 8.0 MB"_s));
        m_bar.reset();
    }

    void progressGoesWithTheDownload()
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
        Offer offer{1};
        offer.remove = QStringList("package-1"_s);
        engine().offer(offer);
        QVERIFY(engine().refresh());
        m_bar->setPackage(package(1));
        action()->click();
        QVERIFY(waitUntilInstalled(1));
        QTRY_VERIFY(!button("Uninstall")->isHidden());
        MessageBoxAnswers answers;
        expectUninstall(answers, QMessageBox::Yes);
        button("Uninstall")->click();
        QVERIFY(answers.allShown());
        QCOMPARE(package(1)->state(), Package::AVAILABLE);
        QCOMPARE(action()->text(), "Download"_s);
    }

    void buttonsWithoutAnAddressAreOff_data()
    {
        const QString address = "http://addons.example.org/"_s;
        table<QString, QString>({"help", "manual"}, {{"both", address, address},
                                                     {"help", address, {}},
                                                     {"manual", {}, address},
                                                     {"blanks", " "_s, "\n"_s}});
    }

    void buttonsWithoutAnAddressAreOff()
    {
        QFETCH(QString, help);
        QFETCH(QString, manual);
        // Whatever the package before had.
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
