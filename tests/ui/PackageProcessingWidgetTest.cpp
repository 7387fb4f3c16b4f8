#include "ui/package/PackageProcessingWidget.h"
#include "tests/components/Widgets.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QMovie>

using namespace Kavo::Testing;
using Kavo::Ui::PackageProcessingWidget;

namespace {

enum Mode : int { BUSY, EMPTY, HIDDEN, ERROR };

/// The object names of the visible labels.
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
    void panelHasItsProperties()
    {
        const PackageProcessingWidget panel;
        QCOMPARE(panel.objectName(), "PackageProcessingWidget"_s);
        const auto *animation = child<QLabel>(panel, "ProcessingAnimation");
        QCOMPARE(animation->movie()->scaledSize(), QSize(72, 72));
        QVERIFY(animation->testAttribute(Qt::WA_TranslucentBackground));
        QCOMPARE(animation->alignment(), Qt::Alignment(Qt::AlignCenter));
        QCOMPARE(child<QLabel>(panel, "ProcessingMessage")->textFormat(), Qt::PlainText);
    }

    void modesShowTheirWidgets_data()
    {
        Rows<int, QString, QString>()
            .row("busy", BUSY, Animation, "before")
            .row("empty", EMPTY, Message + " EmptyDrawing"_s, "No items found")
            .row("error", ERROR, Message + " ErrorDrawing"_s, "before");
    }

    // Fixed, see docs/compatibility.md.
    void modesShowTheirWidgets()
    {
        const auto [mode, parts, text] = Rows<int, QString, QString>::current();
        PackageProcessingWidget panel;
        panel.setError("before"_s);
        QVERIFY(!panel.isHidden());
        QCOMPARE(partsOf(panel), Message + " ErrorDrawing"_s);
        QCOMPARE(textOf(panel, "ProcessingMessage"), "before"_s);
        // The result does not depend on the previous mode.
        for (const int before : {HIDDEN, BUSY, ERROR}) {
            panel.setMode(before);
            panel.setMode(mode);
            QVERIFY(!panel.isHidden());
            QCOMPARE(partsOf(panel), parts);
        }
        QCOMPARE(textOf(panel, "ProcessingMessage"), text);
        // Other numbers have no effect.
        for (const int other : {-1, 4, 99}) {
            panel.setMode(other);
            QVERIFY(!panel.isHidden());
            QCOMPARE(partsOf(panel), parts);
        }
        // A hidden panel keeps its content.
        panel.setMode(HIDDEN);
        QVERIFY(panel.isHidden());
        QCOMPARE(partsOf(panel), parts);
    }
};

KAVO_TEST_MAIN(PackageProcessingWidgetTest)
#include "PackageProcessingWidgetTest.moc"
