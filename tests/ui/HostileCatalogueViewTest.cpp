#include "tests/components/Widgets.h"
#include "tests/dialogs/SharedController.h"
#include "tests/support/TestMain.h"
#include "ui/detail/PackageDetailWidget.h"
#include "ui/package/ForeignDocument.h"
#include "ui/window/PackageContainer.h"

#include <QJsonArray>
#include <QListWidget>
#include <QSignalSpy>
#include <QTabWidget>
#include <QTextCursor>

#include <memory>

using namespace Kavo::Testing;
using namespace Kavo::Ui;
using Kavo::Controllers::PackageController;
using Kavo::Models::Package;

namespace {

QJsonObject inEnglish(const QString &text)
{
    return {{QStringLiteral("en"), text}};
}

/// A package that says the same wherever it can say something.
QJsonObject packageSaying(int id, const QString &text, int versions = 1)
{
    QJsonArray records;
    for (int number = 0; number < versions; ++number) {
        records.append(QJsonObject{
            {QStringLiteral("version"), text},
            {QStringLiteral("log"), QJsonArray{text, text}},
            {QStringLiteral("depends"),
             QJsonArray{QStringLiteral("no id"), QString(text + QLatin1Char('.'))}},
        });
    }
    return {{QStringLiteral("id"), id},
            {QStringLiteral("product_id"), id},
            {QStringLiteral("name"), inEnglish(text)},
            {QStringLiteral("short_description"), inEnglish(text)},
            {QStringLiteral("description"), inEnglish(text)},
            {QStringLiteral("type"), text},
            {QStringLiteral("manual_url"), text},
            {QStringLiteral("help_url"), text},
            {QStringLiteral("icon"), text},
            {QStringLiteral("banner"), QJsonArray{text, QString(), 3}},
            {QStringLiteral("versions"), records}};
}

} // namespace

/// The worst packages that a catalogue can bring, in the real list and the real detail view.
class HostileCatalogueViewTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { Kavo::Components::iconFont()->initFontAwesome(); }
    void init() { m_engine = std::make_unique<Engine>(); }
    void cleanup();

    void worstTextsAreShown_data();
    void worstTextsAreShown();
    void picturesAreLeftOutOfRichText();
    void richTextIsShownAsItIsWritten();
    void emptyPackagesAreShown();

private:
    void open();
    QListWidget &list() const { return *child<QListWidget>(*m_container, "PackageList"); }
    QWidget *card(int row) const;

    std::unique_ptr<Engine> m_engine;
    std::unique_ptr<PackageContainer> m_container;
};

void HostileCatalogueViewTest::cleanup()
{
    m_container.reset();
    m_engine.reset();
}

void HostileCatalogueViewTest::open()
{
    m_engine->start();
    m_engine->serveCatalogue();
    m_container = std::make_unique<PackageContainer>(sharedController(*m_engine));
    m_container->resize(1300, 700);
    m_container->show();
    QSignalSpy listed(&m_engine->controller(), &PackageController::list);
    QVERIFY(listed.wait(30000));
}

QWidget *HostileCatalogueViewTest::card(int row) const
{
    return list().indexWidget(list().model()->index(row, 0));
}

void HostileCatalogueViewTest::worstTextsAreShown_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("a million characters") << QString(1000000, QLatin1Char('x'));
    QTest::newRow("a million words") << QStringLiteral("x ").repeated(500000);
    QTest::newRow("lines") << QStringLiteral("x\n").repeated(2000);
    QTest::newRow("zero characters")
        << QStringLiteral("a") + QString(100, QChar::Null) + QStringLiteral("b");
    QTest::newRow("control characters") << QStringLiteral("\u0001\u0007\u001b[31m\u007f\u2028");
    QTest::newRow("half a pair") << QString(QChar(0xd800)) + QChar(0xdfff) + QChar(0xfffe);
    QTest::newRow("from right to left") << QStringLiteral("\u202e\u2067gnirts");
    QTest::newRow("marks upon marks") << QStringLiteral("a") + QString(500, QChar(0x0301));
    QTest::newRow("markup") << QStringLiteral("<b><table><tr><td>%1%2%n&amp;");
    // Reading any of these would never end.
    QTest::newRow("picture of a device") << QStringLiteral("<b>a<img src='/dev/zero'>");
    QTest::newRow("style sheet of a device")
        << QStringLiteral("<link rel=stylesheet type='text/css' href='/dev/zero'><b>a");
    QTest::newRow("imported style sheet of a device")
        << QStringLiteral("<style>@import '/dev/zero';</style><b>a");
    QTest::newRow("background of a table, a device")
        << QStringLiteral("<table background='/dev/zero'><tr><td>a");
    QTest::newRow("background of a device")
        << QStringLiteral("<p style='background-image:&#117;rl(/dev/zero)'>a");
    QTest::newRow("markup nested deep") << QStringLiteral("<ul><li>").repeated(200);
    QTest::newRow("markup nested without measure") << QStringLiteral("<b>").repeated(100000);
    QTest::newRow("ampersands") << QStringLiteral("&&&a&");
}

void HostileCatalogueViewTest::worstTextsAreShown()
{
    QFETCH(QString, text);
    m_engine->offerObject(packageSaying(1, text, 2));
    m_engine->offer({2});
    open();
    QCOMPARE(list().count(), 2);
    QVERIFY(!m_container->grab().isNull());
    // What comes after it can be read and used.
    list().scrollToBottom();
    QCOMPARE(textOf(*card(1), "PackageName"), QStringLiteral("package-2"));
    QVERIFY(card(1)->isVisible());
    QVERIFY(m_container->rect().width() <= 1300);

    child<QPushButton>(*card(0), "MoreDetail")->click();
    auto *detail = m_container->findChild<PackageDetailWidget *>();
    QVERIFY(detail->isVisible());
    auto *tabs = child<QTabWidget>(*detail, "DetailTabs");
    for (int page = 0; page < tabs->count(); ++page) {
        tabs->setCurrentIndex(page);
        QVERIFY(!m_container->grab().isNull());
    }
    // That they were shown at all says that no device was read.
    for (const char *name : {"DescriptionText", "ChangeLogText"})
        QVERIFY(!ForeignDocument(textOf(*detail, name)).hasReferences());
    child<QPushButton>(*detail, "BackButton")->click();
    QVERIFY(list().isVisible());
}

void HostileCatalogueViewTest::picturesAreLeftOutOfRichText()
{
    m_engine->offerObject(packageSaying(
        1, QStringLiteral("<style>b{color:red}</style><b>Night</b> <IMG src=\"a.png\"/>lights")));
    open();
    child<QPushButton>(*card(0), "MoreDetail")->click();
    const auto *detail = m_container->findChild<PackageDetailWidget *>();
    const ForeignDocument shown(textOf(*detail, "DescriptionText"));
    QCOMPARE(shown.toPlainText(), QStringLiteral("Night lights"));
    QCOMPARE(shown.find(QStringLiteral("Night")).charFormat().fontWeight(), int(QFont::Bold));
    QCOMPARE(shown.find(QStringLiteral("Night")).charFormat().foreground().color(),
             QColor(Qt::red));
}

void HostileCatalogueViewTest::richTextIsShownAsItIsWritten()
{
    const QString text = QStringLiteral("<h1>Paid &amp; safe</h1>");
    m_engine->offerObject(packageSaying(1, text));
    open();
    for (const char *name : {"PackageName", "PackageAvailable"}) {
        const auto *label = child<QLabel>(*card(0), name);
        QCOMPARE(label->textFormat(), Qt::PlainText);
        QVERIFY(label->text().contains(text));
    }
    // Descriptions may be rich; the card has room for one line of their words.
    const auto *description = child<QLabel>(*card(0), "PackageDescription");
    QCOMPARE(description->textFormat(), Qt::PlainText);
    QCOMPARE(description->text(), QStringLiteral("Paid & safe"));
    child<QPushButton>(*card(0), "MoreDetail")->click();
    auto *detail = m_container->findChild<PackageDetailWidget *>();
    QCOMPARE(textOf(*detail, "DetailTitle"), text);
    QCOMPARE(child<QLabel>(*detail, "DetailTitle")->textFormat(), Qt::PlainText);
    QStringList shown;
    for (const QLabel *label : allChildren<QLabel>(*detail, "FactLabel")) {
        if (!label->text().contains(text))
            continue;
        QCOMPARE(label->textFormat(), Qt::PlainText);
        shown.append(label->text());
    }
    // The version and the type, at least.
    QVERIFY(shown.size() >= 2);
}

void HostileCatalogueViewTest::emptyPackagesAreShown()
{
    for (int number = 0; number < 20; ++number)
        m_engine->offerObject({});
    m_engine->offerObject({{QStringLiteral("versions"), QJsonArray{3, QJsonValue::Null}}});
    open();
    QCOMPARE(list().count(), 21);
    for (const int row : {0, 20}) {
        QVERIFY(!card(row)->grab().isNull());
        child<QPushButton>(*card(row), "MoreDetail")->click();
        auto *detail = m_container->findChild<PackageDetailWidget *>();
        QVERIFY(detail->isVisible());
        QVERIFY(!m_container->grab().isNull());
        child<QPushButton>(*detail, "BackButton")->click();
    }
    // There is nothing to install of a package without versions.
    m_engine->install(0);
    QCOMPARE(m_engine->package(0)->state(), Package::AVAILABLE);
}

KAVO_TEST_MAIN(HostileCatalogueViewTest)
#include "HostileCatalogueViewTest.moc"
