#include "ui/package/PackageProcessingWidget.h"
#include "tests/components/Widgets.h"
#include "tests/support/TestMain.h"

#include <QMovie>

using namespace Kavo::Testing;
using Kavo::Ui::PackageProcessingWidget;

class PackageProcessingWidgetTest final : public QObject
{
    Q_OBJECT

private slots:
    void panelHasItsLook();
    void modesShowWhatTheyAreFor_data();
    void modesShowWhatTheyAreFor();
    void hiddenModeLeavesTheLabels();
    void anyOtherModeChangesNothing();
    void errorShowsItsText();
    void errorModeShowsTheTextLastSet();
    void textOfAnErrorIsPlain();

private:
    bool animates(const PackageProcessingWidget &panel) const
    {
        return !child<QLabel>(panel, "ProcessingAnimation")->isHidden();
    }
    bool tells(const PackageProcessingWidget &panel) const
    {
        return !child<QLabel>(panel, "ProcessingMessage")->isHidden();
    }
};

void PackageProcessingWidgetTest::panelHasItsLook()
{
    const PackageProcessingWidget panel;
    QCOMPARE(panel.objectName(), QStringLiteral("PackageProcessingWidget"));
    const auto *animation = child<QLabel>(panel, "ProcessingAnimation");
    QCOMPARE(animation->movie()->scaledSize(), QSize(72, 72));
    QVERIFY(animation->testAttribute(Qt::WA_TranslucentBackground));
    QCOMPARE(animation->alignment(), Qt::Alignment(Qt::AlignCenter));
}

void PackageProcessingWidgetTest::modesShowWhatTheyAreFor_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<bool>("animation");
    QTest::addColumn<bool>("message");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("drawing");
    QTest::newRow("busy") << 0 << true << false << QStringLiteral("before") << QString();
    QTest::newRow("empty") << 1 << false << true << QStringLiteral("No items found")
                           << QStringLiteral("EmptyDrawing");
    QTest::newRow("error") << 3 << false << true << QStringLiteral("before")
                           << QStringLiteral("ErrorDrawing");
}

void PackageProcessingWidgetTest::modesShowWhatTheyAreFor()
{
    QFETCH(int, mode);
    QFETCH(bool, animation);
    QFETCH(bool, message);
    QFETCH(QString, text);
    PackageProcessingWidget panel;
    panel.setError(QStringLiteral("before"));
    panel.hide();
    panel.setMode(mode);
    QVERIFY(!panel.isHidden());
    QCOMPARE(animates(panel), animation);
    QCOMPARE(tells(panel), message);
    QCOMPARE(textOf(panel, "ProcessingMessage"), text);
    QFETCH(QString, drawing);
    for (const char *name : {"EmptyDrawing", "ErrorDrawing"}) {
        const auto *label = child<QLabel>(panel, name);
        QCOMPARE(label && !label->isHidden(), drawing == QLatin1String(name));
    }
}

void PackageProcessingWidgetTest::hiddenModeLeavesTheLabels()
{
    PackageProcessingWidget panel;
    panel.setError(QStringLiteral("text"));
    panel.setMode(2);
    QVERIFY(panel.isHidden());
    QVERIFY(tells(panel));
    QVERIFY(!animates(panel));
    panel.setMode(0);
    panel.setMode(2);
    QVERIFY(panel.isHidden());
    QVERIFY(!tells(panel));
    QVERIFY(animates(panel));
}

// Fixed, see docs/compatibility.md.
void PackageProcessingWidgetTest::anyOtherModeChangesNothing()
{
    PackageProcessingWidget panel;
    panel.setMode(1);
    for (const int mode : {-1, 4, 99}) {
        panel.setMode(mode);
        QVERIFY(!panel.isHidden());
        QVERIFY(tells(panel));
        QVERIFY(!animates(panel));
    }
}

void PackageProcessingWidgetTest::errorShowsItsText()
{
    PackageProcessingWidget panel;
    panel.hide();
    panel.setError(QStringLiteral("Server Error"));
    QVERIFY(!panel.isHidden());
    QVERIFY(tells(panel));
    QVERIFY(!animates(panel));
    QCOMPARE(textOf(panel, "ProcessingMessage"), QStringLiteral("Server Error"));
}

void PackageProcessingWidgetTest::errorModeShowsTheTextLastSet()
{
    PackageProcessingWidget panel;
    panel.setError(QStringLiteral("Server Error"));
    panel.setMode(0);
    panel.setMode(3);
    QCOMPARE(textOf(panel, "ProcessingMessage"), QStringLiteral("Server Error"));
    QVERIFY(tells(panel));
}

void PackageProcessingWidgetTest::textOfAnErrorIsPlain()
{
    const PackageProcessingWidget panel;
    QCOMPARE(child<QLabel>(panel, "ProcessingMessage")->textFormat(), Qt::PlainText);
}

KAVO_TEST_MAIN(PackageProcessingWidgetTest)
#include "PackageProcessingWidgetTest.moc"
