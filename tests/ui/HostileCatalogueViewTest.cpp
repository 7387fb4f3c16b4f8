#include "tests/support/TestMain.h"
#include "tests/ui/WidgetTest.h"
#include "ui/detail/PackageDetailWidget.h"
#include "ui/package/ForeignDocument.h"
#include "ui/window/PackageContainer.h"

#include <QJsonArray>
#include <QListWidget>
#include <QSignalSpy>
#include <QTabWidget>

using namespace Kavo::Testing;
using namespace Kavo::Ui;
using Kavo::Controllers::PackageController;

namespace {

/// A package with this text in every field and in both versions.
QJsonObject packageSaying(const QString &text)
{
    const QJsonObject inEnglish{{"en"_s, text}};
    const QJsonObject version{{"version"_s, text},
                              {"log"_s, QJsonArray{text, text}},
                              {"depends"_s, QJsonArray{"no id"_s, QString(text + "."_s)}}};
    return {{"id"_s, 1},
            {"product_id"_s, 1},
            {"name"_s, inEnglish},
            {"short_description"_s, inEnglish},
            {"description"_s, inEnglish},
            {"type"_s, text},
            {"manual_url"_s, text},
            {"help_url"_s, text},
            {"icon"_s, text},
            {"banner"_s, QJsonArray{text, QString(), 3}},
            {"versions"_s, QJsonArray{version, version}}};
}

} // namespace

/// Tests the real list and the real detail view with the worst packages that a catalogue can
/// contain.
class HostileCatalogueViewTest final : public WidgetTest
{
    Q_OBJECT

private slots:
    void worstTextsAreShown_data()
    {
        const QString halfAPair = QString(QChar(0xd800)) + QChar(0xdfff) + QChar(0xfffe);
        Rows<QString>()
            .row("a million characters", QString(1000000, QLatin1Char('x')))
            .row("a million words", "x "_s.repeated(500000))
            .row("lines", "x\n"_s.repeated(2000))
            .row("zero characters", "a"_s + QString(100, QChar::Null) + "b"_s)
            .row("control characters", "\u0001\u0007\u001b[31m\u007f\u2028")
            .row("half a pair", halfAPair)
            .row("from right to left", "\u202e\u2067gnirts")
            .row("marks upon marks", "a"_s + QString(500, QChar(0x0301)))
            .row("markup", "<b><table><tr><td>%1%2%n&amp;")
            .row("markup nested deep", "<ul><li>"_s.repeated(200))
            .row("markup nested without measure", "<b>"_s.repeated(100000))
            .row("ampersands", "&&&a&")
            // Reading any of these would never end.
            .row("picture of a device", "<b>a<img src='/dev/zero'>")
            .row("style sheet of a device",
                 "<link rel=stylesheet type='text/css' href='/dev/zero'><b>a")
            .row("imported style sheet of a device", "<style>@import '/dev/zero';</style><b>a")
            .row("background of a table, a device", "<table background='/dev/zero'><tr><td>a")
            .row("background of a device", "<p style='background-image:&#117;rl(/dev/zero)'>a");
    }

    void worstTextsAreShown()
    {
        const auto [text] = Rows<QString>::current();
        offerObject(packageSaying(text));
        offer({2});
        QVERIFY(open());
        QCOMPARE(list().count(), 2);
        QVERIFY(!m_container->grab().isNull());
        // The package after it can still be read and used.
        list().scrollToBottom();
        QCOMPARE(textOf(*card(1), "PackageName"), "package-2"_s);
        QVERIFY(card(1)->isVisible());
        QVERIFY(m_container->rect().width() <= 1300);

        const QWidget &detail = openDetail(0);
        QVERIFY(detail.isVisible());
        auto *tabs = child<QTabWidget>(detail, "DetailTabs");
        for (int page = 0; page < tabs->count(); ++page) {
            tabs->setCurrentIndex(page);
            QVERIFY(!m_container->grab().isNull());
        }
        // Reading a device would never have ended. The shown texts contain no references.
        for (const char *name : {"DescriptionText", "ChangeLogText"})
            QVERIFY(!ForeignDocument(textOf(detail, name)).hasReferences());
        child<QPushButton>(detail, "BackButton")->click();
        QVERIFY(list().isVisible());
    }

    void emptyPackagesAreShown()
    {
        for (int number = 0; number < 20; ++number)
            offerObject(QJsonObject());
        offerObject({{"versions"_s, QJsonArray{3, QJsonValue::Null}}});
        QVERIFY(open());
        QCOMPARE(list().count(), 21);
        for (const int row : {0, 20}) {
            QVERIFY(!card(row)->grab().isNull());
            const QWidget &detail = openDetail(row);
            QVERIFY(detail.isVisible());
            QVERIFY(!m_container->grab().isNull());
            child<QPushButton>(detail, "BackButton")->click();
        }
        // A package without versions has nothing to install.
        install(0);
        QCOMPARE(state(0), Package::AVAILABLE);
    }

private:
    void tearDown() override { m_container.reset(); }
    bool open()
    {
        startServing();
        m_container = std::make_unique<PackageContainer>(shared());
        m_container->resize(1300, 700);
        m_container->show();
        return QSignalSpy(&controller(), &PackageController::list).wait(30000);
    }
    QListWidget &list() const { return *child<QListWidget>(*m_container, "PackageList"); }
    QWidget *card(int row) const { return list().indexWidget(list().model()->index(row, 0)); }
    const QWidget &openDetail(int row) const
    {
        child<QPushButton>(*card(row), "MoreDetail")->click();
        return *m_container->findChild<PackageDetailWidget *>();
    }

    std::unique_ptr<PackageContainer> m_container;
};

KAVO_TEST_MAIN(HostileCatalogueViewTest)
#include "HostileCatalogueViewTest.moc"
