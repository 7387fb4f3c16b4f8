#include "ui/package/PackageProcessingWidget.h"
#include "tests/components/Widgets.h"
#include "tests/support/Literals.h"
#include "tests/support/Table.h"
#include "tests/support/TestMain.h"

#include <QMovie>

using namespace Kavo::Testing;
using Kavo::Ui::PackageProcessingWidget;

namespace {

enum Mode : int { BUSY, EMPTY, HIDDEN, ERROR };

/// What the panel shows beside its text: "animation", "message" and the drawings.
QString partsOf(const PackageProcessingWidget &panel)
{
    QStringList shown;
    for (const char *name :
         {"ProcessingAnimation", "ProcessingMessage", "EmptyDrawing", "ErrorDrawing"}) {
        const auto *label = child<QLabel>(panel, name);
        if (label && !label->isHidden())
            shown.append(QString::fromLatin1(name));
    }
    return shown.join(QLatin1Char(' '));
}

const QString Animation = "ProcessingAnimation"_s;
const QString Message = "ProcessingMessage"_s;

} // namespace

class PackageProcessingWidgetTest final : public QObject
{
    Q_OBJECT

private slots:
    void panelHasItsLook()
    {
        const PackageProcessingWidget panel;
        QCOMPARE(panel.objectName(), "PackageProcessingWidget"_s);
        const auto *animation = child<QLabel>(panel, "ProcessingAnimation");
        QCOMPARE(animation->movie()->scaledSize(), QSize(72, 72));
        QVERIFY(animation->testAttribute(Qt::WA_TranslucentBackground));
        QCOMPARE(animation->alignment(), Qt::Alignment(Qt::AlignCenter));
        QCOMPARE(child<QLabel>(panel, "ProcessingMessage")->textFormat(), Qt::PlainText);
    }

    void modesShowWhatTheyAreFor_data()
    {
        table<int, QString, QString>(
            {"mode", "parts", "text"},
            {{"busy", BUSY, Animation, "before"_s},
             {"empty", EMPTY, Message + " EmptyDrawing"_s, "No items found"_s},
             {"error", ERROR, Message + " ErrorDrawing"_s, "before"_s}});
    }

    // Fixed, see docs/compatibility.md.
    void modesShowWhatTheyAreFor()
    {
        QFETCH(int, mode);
        PackageProcessingWidget panel;
        panel.setError("before"_s);
        QVERIFY(!panel.isHidden());
        QCOMPARE(partsOf(panel), Message + " ErrorDrawing"_s);
        QCOMPARE(textOf(panel, "ProcessingMessage"), "before"_s);
        // Whatever was shown before.
        for (const int before : {HIDDEN, BUSY, ERROR}) {
            panel.setMode(before);
            panel.setMode(mode);
            QVERIFY(!panel.isHidden());
            QTEST(partsOf(panel), "parts");
        }
        QTEST(textOf(panel, "ProcessingMessage"), "text");
        // Any other number changes nothing.
        for (const int other : {-1, 4, 99}) {
            panel.setMode(other);
            QVERIFY(!panel.isHidden());
            QTEST(partsOf(panel), "parts");
        }
        // A panel that is hidden keeps what it shows.
        panel.setMode(HIDDEN);
        QVERIFY(panel.isHidden());
        QTEST(partsOf(panel), "parts");
    }
};

KAVO_TEST_MAIN(PackageProcessingWidgetTest)
#include "PackageProcessingWidgetTest.moc"
