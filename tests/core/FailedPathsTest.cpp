#include "core/FailedPaths.h"

#include <QTest>

using Kavo::FailedPaths;

class FailedPathsTest final : public QObject
{
    Q_OBJECT

private slots:
    void eachIsKeptOnce();
    void manyAreCounted();
};

void FailedPathsTest::eachIsKeptOnce()
{
    FailedPaths failed;
    QVERIFY(failed.isEmpty());
    failed.add(QStringLiteral("/b"));
    failed.add(QStringLiteral("/a"));
    failed.add(QStringLiteral("/b"));
    FailedPaths others;
    others.add(QStringLiteral("/a"));
    others.add(QStringLiteral("/c"));
    failed.add(others);
    QVERIFY(!failed.isEmpty());
    QCOMPARE(failed.paths(),
             (QStringList{QStringLiteral("/b"), QStringLiteral("/a"), QStringLiteral("/c")}));
    QCOMPARE(failed.notKept(), 0);
}

void FailedPathsTest::manyAreCounted()
{
    FailedPaths failed;
    FailedPaths others;
    for (int number = 0; number < FailedPaths::Most + 3; ++number) {
        failed.add(QStringLiteral("/one/%1").arg(number));
        others.add(QStringLiteral("/other/%1").arg(number));
    }
    QCOMPARE(failed.paths().size(), FailedPaths::Most);
    QCOMPARE(failed.paths().last(), QStringLiteral("/one/%1").arg(FailedPaths::Most - 1));
    QCOMPARE(failed.notKept(), 3);
    failed.add(others);
    QCOMPARE(failed.paths().size(), FailedPaths::Most);
    QCOMPARE(failed.notKept(), 3 + FailedPaths::Most + 3);
}

QTEST_APPLESS_MAIN(FailedPathsTest)
#include "FailedPathsTest.moc"
