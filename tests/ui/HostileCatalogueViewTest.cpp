#include "tests/support/TestMain.h"
#include "tests/ui/WidgetTest.h"
#include "ui/detail/PackageDetailWidget.h"
#include "ui/package/ForeignDocument.h"
#include "ui/window/PackageContainer.h"

#include <QJsonArray>
#include <QListWidget>
#include <QSignalSpy>
#include <QTabWidget>
#include <QTextCursor>

using namespace Kavo::Testing;
using namespace Kavo::Ui;
using Kavo::Controllers::PackageController;
using Kavo::Models::Package;

namespace {

/// A package that says the same wherever it can say something, in two versions.
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

/// The worst packages that a catalogue can bring, in the real list and the real detail view.
class HostileCatalogueViewTest final : public WidgetTest
{
    Q_OBJECT

private slots:
    void cleanup()
    {
        m_container.reset();
        EngineTest::cleanup();
    }

    void worstTextsAreShown_data()
    {
        const QString halfAPair = QString(QChar(0xd800)) + QChar(0xdfff) + QChar(0xfffe);
        table<QString>(
            {"text"},
            {{"a million characters", QString(1000000, QLatin1Char('x'))},
             {"a million words", "x "_s.repeated(500000)},
             {"lines", "x\n"_s.repeated(2000)},
             {"zero characters", "a"_s + QString(100, QChar::Null) + "b"_s},
             {"control characters", "\u0001\u0007\u001b[31m\u007f\u2028"_s},
             {"half a pair", halfAPair},
             {"from right to left", "\u202e\u2067gnirts"_s},
             {"marks upon marks", "a"_s + QString(500, QChar(0x0301))},
             {"markup", "<b><table><tr><td>%1%2%n&amp;"_s},
             {"markup nested deep", "<ul><li>"_s.repeated(200)},
             {"markup nested without measure", "<b>"_s.repeated(100000)},
             {"ampersands", "&&&a&"_s},
             // Reading any of these would never end.
             {"picture of a device", "<b>a<img src='/dev/zero'>"_s},
             {"style sheet of a device",
              "<link rel=stylesheet type='text/css' href='/dev/zero'><b>a"_s},
             {"imported style sheet of a device", "<style>@import '/dev/zero';</style><b>a"_s},
             {"background of a table, a device", "<table background='/dev/zero'><tr><td>a"_s},
             {"background of a device", "<p style='background-image:&#117;rl(/dev/zero)'>a"_s}});
    }

    void worstTextsAreShown()
    {
        QFETCH(QString, text);
        engine().offerObject(packageSaying(text));
        engine().offer({2});
        QVERIFY(open());
        QCOMPARE(list().count(), 2);
        QVERIFY(!m_container->grab().isNull());
        // What comes after it can be read and used.
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
        // That they were shown at all says that no device was read.
        for (const char *name : {"DescriptionText", "ChangeLogText"})
            QVERIFY(!ForeignDocument(textOf(detail, name)).hasReferences());
        child<QPushButton>(detail, "BackButton")->click();
        QVERIFY(list().isVisible());
    }

    void picturesAreLeftOutOfRichText()
    {
        engine().offerObject(
            packageSaying("<style>b{color:red}</style><b>Night</b> <IMG src=\"a.png\"/>lights"_s));
        QVERIFY(open());
        const ForeignDocument shown(textOf(openDetail(0), "DescriptionText"));
        QCOMPARE(shown.toPlainText(), "Night lights"_s);
        const QTextCharFormat format = shown.find("Night"_s).charFormat();
        QCOMPARE(format.fontWeight(), int(QFont::Bold));
        QCOMPARE(format.foreground().color(), QColor(Qt::red));
    }

    void richTextIsShownAsItIsWritten()
    {
        const QString text = "<h1>Paid &amp; safe</h1>"_s;
        engine().offerObject(packageSaying(text));
        QVERIFY(open());
        // Descriptions may be rich; the card has room for one line of their words.
        QCOMPARE(plainText(*card(0), "PackageDescription"), "Paid & safe"_s);
        QCOMPARE(plainText(*card(0), "PackageName"), text);
        QCOMPARE(plainText(*card(0), "PackageAvailable"), "Available : "_s + text);
        const QWidget &detail = openDetail(0);
        QCOMPARE(plainText(detail, "DetailTitle"), text);
        QStringList facts;
        for (const QLabel *label : allChildren<QLabel>(detail, "FactLabel")) {
            QCOMPARE(label->textFormat(), Qt::PlainText);
            if (label->text().contains(text))
                facts.append(label->text().section(QLatin1Char('\t'), 0, 0));
        }
        QCOMPARE(facts, QStringList({"Available"_s, "Type"_s}));
    }

    void emptyPackagesAreShown()
    {
        for (int number = 0; number < 20; ++number)
            engine().offerObject({});
        engine().offerObject({{"versions"_s, QJsonArray{3, QJsonValue::Null}}});
        QVERIFY(open());
        QCOMPARE(list().count(), 21);
        for (const int row : {0, 20}) {
            QVERIFY(!card(row)->grab().isNull());
            const QWidget &detail = openDetail(row);
            QVERIFY(detail.isVisible());
            QVERIFY(!m_container->grab().isNull());
            child<QPushButton>(detail, "BackButton")->click();
        }
        // There is nothing to install of a package without versions.
        engine().install(0);
        QCOMPARE(package(0)->state(), Package::AVAILABLE);
    }

private:
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
    /// The text of a label that takes no markup.
    static QString plainText(const QWidget &root, const char *name)
    {
        const auto *label = child<QLabel>(root, name);
        return label->textFormat() == Qt::PlainText ? label->text() : "(not plain)"_s;
    }

    std::unique_ptr<PackageContainer> m_container;
};

KAVO_TEST_MAIN(HostileCatalogueViewTest)
#include "HostileCatalogueViewTest.moc"
