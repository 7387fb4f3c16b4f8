#include "ui/window/PackageContainer.h"
#include "tests/support/TestMain.h"
#include "tests/ui/Boxes.h"
#include "tests/ui/WidgetTest.h"
#include "ui/detail/PackageDetailWidget.h"
#include "ui/list/PackageWidget.h"
#include "ui/package/PackageProcessingWidget.h"
#include "ui/window/PackageSidebar.h"

#include <QComboBox>
#include <QFileInfo>
#include <QListWidget>
#include <QPointer>
#include <QSignalSpy>

using namespace Kavo::Testing;
using namespace Kavo::Ui;
using Kavo::Settings;
using Kavo::Controllers::PackageController;

namespace {

const QString FirstArchive = "/package-1-1.0.zip"_s;

} // namespace

class PackageContainerTest final : public WidgetTest
{
    Q_OBJECT

private slots:
    void catalogueBecomesCards()
    {
        QVERIFY(open(3));
        QCOMPARE(m_container->objectName(), "PackageContainer"_s);
        QCOMPARE(list().count(), 3);
        QCOMPARE(list().selectionMode(), QAbstractItemView::NoSelection);
        QCOMPARE(list().verticalScrollMode(), QAbstractItemView::ScrollPerPixel);
        for (int row = 0; row < 3; ++row) {
            QCOMPARE(textOf(*card(row), "PackageName"), "package-%1"_s.arg(row + 1));
            QCOMPARE(list().item(row)->sizeHint(), QSize(card(row)->sizeHint().width(), 128));
            QVERIFY(card(row)->isVisible());
        }
    }

    void contentStaysReadableOnAWideScreen()
    {
        QVERIFY(open());
        m_container->resize(3840, 2000);
        const auto *sidebar = m_container->findChild<PackageSidebar *>();
        for (const QString &filter : {"false"_s, "true"_s}) {
            set(Settings::SHOW_FILTER, filter);
            emit controller().list();
            QCOMPARE(sidebar->isVisible(), filter == "true"_s);
            QTRY_COMPARE(list().width(), 1200);
            // The list is centred together with the sidebar.
            const auto left = [this, sidebar] {
                return (sidebar->isVisible() ? sidebar->geometry() : list().geometry()).left();
            };
            const auto right = [this] {
                return m_container->width() - 1 - list().geometry().right();
            };
            QTRY_VERIFY(qAbs(left() - right()) < 8);
            emit controller().detail(package(1));
            QTRY_COMPARE(m_container->findChild<PackageDetailWidget *>()->width(), 1200);
        }
    }

    void signalsSwitchTheArea_data()
    {
        Rows<QString>()
            .row("busy", "processing")
            .row("empty", "processing")
            .row("list", "list sidebar")
            .row("error", "processing")
            .row("detail", "detail");
    }

    void signalsSwitchTheArea()
    {
        const auto [expected] = Rows<QString>::current();
        set(Settings::SHOW_FILTER, "true"_s);
        QVERIFY(open());
        const PackagePointer first = package(1);
        const QMap<QByteArray, std::function<void()>> send{
            {"busy", [this] { emit controller().busy(); }},
            {"empty", [this] { emit controller().empty(); }},
            {"list", [this] { emit controller().list(); }},
            {"error", [this] { emit controller().error("Server Error"_s); }},
            {"detail", [this, first] { emit controller().detail(first); }}};
        // The result does not depend on what was shown before. An update does not change it.
        for (const char *before : {"list", "detail", "busy", "error"}) {
            send[before]();
            send[QTest::currentDataTag()]();
            QCOMPARE(area(), expected);
            emit controller().update();
            QCOMPARE(area(), expected);
        }
    }

    // Fixed, see docs/compatibility.md.
    void choicesOfTheSidebarLeaveTheListUnchanged()
    {
        QVERIFY(open());
        const QPointer<PackageWidget> first(card(0));
        auto *sidebar = m_container->findChild<PackageSidebar *>();
        sidebar->findChild<QComboBox *>()->setCurrentIndex(1);
        auto *types = sidebar->findChild<QListWidget *>();
        for (int row = 0; row < types->count(); ++row)
            types->item(row)->setCheckState(Qt::Unchecked);
        QCoreApplication::sendPostedEvents();
        QCOMPARE(list().count(), 2);
        QCOMPARE(card(0), first.data());
        QVERIFY(card(1)->isVisible());
    }

    void updateHidesAShownListOnlyWhileItIsFilled()
    {
        QVERIFY(open());
        QVERIFY(list().isVisible());
        // Each row that is added to a visible list causes a new layout of all rows.
        int hidden = 0;
        connect(list().model(), &QAbstractItemModel::rowsInserted, m_container.get(),
                [this, &hidden] { hidden += list().isHidden() ? 1 : 0; });
        emit controller().update();
        QCOMPARE(hidden, 2);
        QVERIFY(list().isVisible());
        QVERIFY(card(0)->isVisible());
        offer({3});
        QVERIFY(refresh());
        QCOMPARE(list().count(), 3);
        QCOMPARE(m_container->findChildren<PackageWidget *>().size(), 3);
    }

    void failedCatalogueIsReported()
    {
        start();
        QSignalSpy busy(&controller(), &PackageController::busy);
        m_container = std::make_unique<PackageContainer>(shared());
        m_container->show();
        QCOMPARE(busy.count(), 1);
        QCOMPARE(area(), "processing"_s);
        const auto *panel = processing();
        QTRY_COMPARE(textOf(*panel, "ProcessingMessage"), "Server Error"_s);
        QVERIFY(panel->isVisible());
        QCOMPARE(area(), "processing"_s);
        // The list comes back with the next catalogue.
        offer({1});
        QVERIFY(refresh());
        QCOMPARE(area(), "list"_s);
    }

    void hiddenDetailReportsDependencyErrors()
    {
        QVERIFY(open());
        emit controller().detail(package(1));
        controller().showList();
        MessageBoxAnswers answers;
        const auto isShown = [this, &answers](Package::State state) {
            expectError(answers, 1, state);
            package(1)->setState(state);
            return answers.waitForAll();
        };
        // The hidden detail view and the card both report it, and one box is shown.
        QVERIFY(isShown(Package::DEPENDENCY_ERROR));
        // Only the card reports an install error.
        QVERIFY(isShown(Package::INSTALL_ERROR));
        // Only the detail view reports if the list is hidden.
        emit controller().busy();
        QVERIFY(isShown(Package::DEPENDENCY_ERROR));
        package(1)->setState(Package::INSTALL_ERROR);
        package(2)->setState(Package::DEPENDENCY_ERROR);
        QVERIFY(isQuiet());
    }

    void errorIsShownAfterAChangeOfView_data()
    {
        Rows<bool, QString> rows;
        for (const char *next : {"refresh", "detail", "detail of another", "list"})
            rows.row(QByteArray("list, ") + next, false, next)
                .row(QByteArray("page, ") + next, true, next);
    }

    /// The view changes in the same turn of the event loop, so before the box can be shown.
    void errorIsShownAfterAChangeOfView()
    {
        const auto [page, next] = Rows<bool, QString>::current();
        QVERIFY(open());
        if (page)
            emit controller().detail(package(1));
        MessageBoxAnswers answers;
        expectError(answers, 1);
        package(1)->setState(Package::INSTALL_ERROR);
        if (next == "refresh"_s)
            QVERIFY(refresh());
        else if (next == "list"_s)
            controller().showList();
        else
            emit controller().detail(package(next == "detail"_s ? 1 : 2));
        QVERIFY(answers.waitForAll());
        QVERIFY(isQuiet());
    }

    void openErrorBoxDoesNotDelayTheRecord()
    {
        QVERIFY(open());
        server().resource(FirstArchive).body = "no archive";
        const BoxText box = errorBox("package-1"_s, Package::INSTALL_ERROR);
        MessageBoxAnswers answers;
        answers.expect(box.title, box.text, [this](QMessageBox &shown) {
            QCOMPARE(recordedStatus(1), int(Package::INSTALL_ERROR));
            QVERIFY(!controller().isBusy());
            shown.accept();
        });
        install(1);
        QVERIFY(answers.waitForAll());
    }

    void refreshKeepsTheErrorBox()
    {
        QVERIFY(open());
        const QPointer<PackageWidget> failed = card(0);
        const BoxText text = errorBox("package-1"_s, Package::INSTALL_ERROR);
        MessageBoxAnswers answers;
        answers.expect(text.title, text.text, [this, &failed](QMessageBox &box) {
            const QPointer<QWidget> guard = &box;
            emit controller().update();
            // The user has not read the box yet.
            QVERIFY(!failed && guard && box.isVisible());
            box.close();
        });
        package(1)->setState(Package::INSTALL_ERROR);
        QVERIFY(isQuiet());
        QCOMPARE(list().count(), 2);
    }

    void refreshCancelsAQuestion()
    {
        offer({5, "1.0"_s, {"1:1.0"_s}});
        QVERIFY(open());
        MessageBoxAnswers answers;
        answers.expect("Install Package"_s,
                       "This package is dependent on following packages and will be installed if "
                       "not already installed or upgraded if outdated along with this "
                       "package\n\npackage-1\n\nContinue?"_s,
                       [this](QMessageBox &) { emit controller().update(); });
        QTest::mouseClick(child<QPushButton>(*card(0), "Download"), Qt::LeftButton);
        QCOMPARE(package(5)->state(), Package::AVAILABLE);
        QCOMPARE(list().count(), 3);
    }

    void refreshKeepsTheStateOfADownload()
    {
        QVERIFY(open(1));
        server().serveGenerated(FirstArchive, 4000000).holdAfter = 1000000;
        child<QPushButton>(*card(0), "Download")->click();
        QVERIFY(waitForState(1, Package::DOWNLOADING));
        QVERIFY(refresh());
        QCOMPARE(child<QPushButton>(*card(0), "Busy")->text(), "Downloading"_s);
        QTRY_COMPARE(QFileInfo(cached("package-1-1.0.zip"_s)).size(), 1000000LL);
        MessageBoxAnswers answers;
        // The generated bytes are not an archive.
        expectError(answers, 1);
        server().release(FirstArchive);
        QVERIFY(answers.waitForAll());
        QCOMPARE(child<QPushButton>(*card(0), "Error")->text(), "Install Error"_s);
    }

private:
    void tearDown() override { m_container.reset(); }
    /// Shows a container with these packages.
    bool open(int packages = 2)
    {
        for (int id = 1; id <= packages; ++id)
            offer({id});
        startServing();
        m_container = std::make_unique<PackageContainer>(shared());
        m_container->resize(1300, 700);
        m_container->show();
        QSignalSpy listed(&controller(), &PackageController::list);
        return listed.wait();
    }
    /// What the container shows: "list", "detail", "sidebar" and "processing".
    QString area() const
    {
        QStringList shown;
        const auto add = [&shown](const QWidget &part, const QString &name) {
            if (!part.isHidden())
                shown.append(name);
        };
        add(list(), "list"_s);
        add(*m_container->findChild<PackageDetailWidget *>(), "detail"_s);
        add(*m_container->findChild<PackageSidebar *>(), "sidebar"_s);
        add(*processing(), "processing"_s);
        return shown.join(QLatin1Char(' '));
    }
    QListWidget &list() const { return *child<QListWidget>(*m_container, "PackageList"); }
    PackageWidget *card(int row) const
    {
        return qobject_cast<PackageWidget *>(list().indexWidget(list().model()->index(row, 0)));
    }
    /// The panel of the container, not that of the detail view.
    PackageProcessingWidget *processing() const
    {
        return m_container->findChild<PackageProcessingWidget *>({}, Qt::FindDirectChildrenOnly);
    }

    std::unique_ptr<PackageContainer> m_container;
};

KAVO_TEST_MAIN(PackageContainerTest)
#include "PackageContainerTest.moc"
