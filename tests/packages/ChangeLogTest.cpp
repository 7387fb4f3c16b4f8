#include "packages/model/ChangeLog.h"
#include "tests/packages/MakePackage.h"
#include "tests/support/Literals.h"

#include <QTest>

using namespace Kavo::Models;
using namespace Kavo::Testing;

class ChangeLogTest final : public QObject
{
    Q_OBJECT

private slots:
    void listsEachVersionWithItsLines()
    {
        QCOMPARE(changeLogHtml({makeVersion("2.0"_s, {}, {"Faster"_s, "<i>New</i>"_s}),
                                makeVersion("1.0"_s, {}, {"First"_s})}),
                 "<strong>2.0</strong><ul><li>Faster</li><li><i>New</i></li></ul>"
                 "<strong>1.0</strong><ul><li>First</li></ul>"_s);
    }

    // Fixed, see docs/compatibility.md.
    void versionWithoutLinesSaysNotAvailable()
    {
        QCOMPARE(changeLogHtml({makeVersion("1.0"_s)}),
                 "<strong>1.0</strong><p>Not available></p>"_s);
    }

    void noVersionsGiveNoText() { QVERIFY(changeLogHtml({}).isEmpty()); }
};

QTEST_GUILESS_MAIN(ChangeLogTest)
#include "ChangeLogTest.moc"
