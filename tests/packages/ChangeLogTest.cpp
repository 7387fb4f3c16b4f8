#include "packages/model/ChangeLog.h"
#include "tests/packages/MakePackage.h"

#include <QTest>

using namespace Kavo::Models;
using Kavo::Testing::makeVersion;

class ChangeLogTest final : public QObject
{
    Q_OBJECT

private slots:
    void listsEachVersionWithItsLines();
    void versionWithoutLinesSaysNotAvailable();
    void noVersionsGiveNoText();
};

void ChangeLogTest::listsEachVersionWithItsLines()
{
    QCOMPARE(changeLogHtml({makeVersion(QStringLiteral("2.0"), {},
                                        {QStringLiteral("Faster"), QStringLiteral("<i>New</i>")}),
                            makeVersion(QStringLiteral("1.0"), {}, {QStringLiteral("First")})}),
             QStringLiteral("<strong>2.0</strong><ul><li>Faster</li><li><i>New</i></li></ul>"
                            "<strong>1.0</strong><ul><li>First</li></ul>"));
}

void ChangeLogTest::versionWithoutLinesSaysNotAvailable()
{
    QCOMPARE(changeLogHtml({makeVersion(QStringLiteral("1.0"))}),
             // Fixed, see docs/compatibility.md.
             QStringLiteral("<strong>1.0</strong><p>Not available></p>"));
}

void ChangeLogTest::noVersionsGiveNoText()
{
    QVERIFY(changeLogHtml({}).isEmpty());
}

QTEST_GUILESS_MAIN(ChangeLogTest)
#include "ChangeLogTest.moc"
