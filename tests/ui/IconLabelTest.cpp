#include "ui/list/IconLabel.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

using namespace Kavo::Testing;
using Kavo::Ui::IconLabel;

namespace {

/// The part of the tile above the animation.
QImage letterOf(const QString &name)
{
    IconLabel label(name);
    label.setTile(Qt::darkBlue);
    return label.grab(QRect(0, 0, label.width(), label.height() / 2)).toImage();
}

} // namespace

class IconLabelTest final : public QObject
{
    Q_OBJECT

private slots:
    void tileShowsTheFirstLetterOrDigit_data()
    {
        Rows<QString, QString>()
            .row("capital letter", "Trees", "T")
            .row("small letter", "trees", "T")
            .row("digit", "3D trees", "3")
            .row("letter after signs", "(- trees", "T")
            .row("letter beyond ASCII", "élan", "É")
            .row("letter with a combining mark", u8"e\u0301lan", u8"E\u0301")
            .row("letter beyond 16 bits", u8"\U00010400 trees", u8"\U00010400");
    }
    void tileShowsTheFirstLetterOrDigit()
    {
        const auto [name, letter] = Rows<QString, QString>::current();
        QCOMPARE(letterOf(name), letterOf(letter));
        QVERIFY(letterOf(name) != letterOf({}));
    }

    void nameWithoutALetterLeavesTheTileEmpty() { QCOMPARE(letterOf("- (!)"_s), letterOf({})); }
};

KAVO_TEST_MAIN(IconLabelTest)
#include "IconLabelTest.moc"
