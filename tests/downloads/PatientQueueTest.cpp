#include "downloads/PatientQueue.h"

#include <QTest>

using Kavo::Managers::PatientQueue;
using Kavo::Models::Download;

class PatientQueueTest final : public QObject
{
    Q_OBJECT

private slots:
    void fewAreOnTheirWay();
    void orderIsThatOfTheirComing();
    void preferredGoFirst();
    void preferenceMayEnd();
    void preferredNeedNotWaitForTheOthers();
    void hostsDoNotWaitForOneAnother();
    void removedOnesDoNotGo();
    void oneGoesOnce();
    void oneThatHasEndedMayComeAgain();
    void thoseOnTheirWayCountWhileNobodyWaits();

private:
    using Pointer = PatientQueue::DownloadPointer;

    static Pointer make(const char *url)
    {
        return Pointer::create(QString::fromLatin1(url), true, true);
    }
    /// Takes all that may go; their paths.
    static QStringList takeAll(PatientQueue &queue, QList<Pointer> &taken);
    static QStringList words(const char *text)
    {
        return QString::fromLatin1(text).split(QLatin1Char(' '));
    }
    static QString host() { return QStringLiteral("http://host:80"); }
};

QStringList PatientQueueTest::takeAll(PatientQueue &queue, QList<Pointer> &taken)
{
    QStringList names;
    while (const Pointer next = queue.take(host())) {
        taken.append(next);
        names.append(next->getRequest()->url().path());
    }
    return names;
}

void PatientQueueTest::fewAreOnTheirWay()
{
    PatientQueue queue;
    QList<Pointer> all;
    QList<Pointer> taken;
    for (int number = 0; number < 10; ++number) {
        all.append(make("http://host:80/a"));
        queue.append(all.last());
    }
    QCOMPARE(takeAll(queue, taken).size(), PatientQueue::MostOthersOnTheirWay);
    QVERIFY(takeAll(queue, taken).isEmpty());
    queue.ended(*taken.takeFirst());
    QCOMPARE(takeAll(queue, taken).size(), 1);
    while (!taken.isEmpty()) {
        queue.ended(*taken.takeFirst());
        takeAll(queue, taken);
    }
    QVERIFY(!queue.take(host()));
}

void PatientQueueTest::orderIsThatOfTheirComing()
{
    PatientQueue queue;
    QList<Pointer> taken;
    QStringList order;
    for (const char *url : {"http://host:80/1", "http://host:80/2", "http://host:80/3",
                            "http://host:80/4", "http://host:80/5"})
        queue.append(make(url));
    order = takeAll(queue, taken);
    for (int number = 0; number < 2; ++number) {
        queue.ended(*taken.takeFirst());
        order += takeAll(queue, taken);
    }
    QCOMPARE(order.join(QString()), QStringLiteral("/1/2/3/4/5"));
}

void PatientQueueTest::preferredGoFirst()
{
    PatientQueue queue;
    QList<Pointer> taken;
    QList<Pointer> all;
    for (int number = 0; number < 9; ++number) {
        all.append(Pointer::create(QStringLiteral("http://host:80/%1").arg(number), true, true));
        queue.append(all.last());
    }
    queue.prefer(*all.at(7), true);
    queue.prefer(*all.at(5), true);
    QCOMPARE(takeAll(queue, taken), words("/5 /7 /0"));
}

void PatientQueueTest::preferenceMayEnd()
{
    PatientQueue queue;
    QList<Pointer> taken;
    const Pointer first = make("http://host:80/1");
    const Pointer second = make("http://host:80/2");
    const Pointer third = make("http://host:80/3");
    for (const Pointer &each : {first, second, third})
        queue.append(each);
    queue.prefer(*third, true);
    queue.prefer(*third, true);
    queue.prefer(*second, true);
    queue.prefer(*third, false);
    QCOMPARE(takeAll(queue, taken), words("/2 /1 /3"));
    queue.prefer(*third, true);
    QVERIFY(takeAll(queue, taken).isEmpty());
}

void PatientQueueTest::preferredNeedNotWaitForTheOthers()
{
    PatientQueue queue;
    QList<Pointer> taken;
    for (int number = 0; number < 9; ++number)
        queue.append(make("http://host:80/far"));
    takeAll(queue, taken);
    const Pointer near = make("http://host:80/near");
    queue.append(near);
    QVERIFY(takeAll(queue, taken).isEmpty());
    queue.prefer(*near, true);
    QCOMPARE(takeAll(queue, taken), words("/near"));
    QCOMPARE(taken.size(), PatientQueue::MostOnTheirWay);
    // Its place is not for the others.
    queue.ended(*taken.takeFirst());
    QVERIFY(takeAll(queue, taken).isEmpty());
}

void PatientQueueTest::hostsDoNotWaitForOneAnother()
{
    PatientQueue queue;
    QList<Pointer> taken;
    for (int number = 0; number < 9; ++number)
        queue.append(make("http://host:80/a"));
    takeAll(queue, taken);
    for (const char *url : {"http://other:80/a", "https://host:80/a", "http://host:81/a"}) {
        const Pointer elsewhere = make(url);
        queue.append(elsewhere);
        QCOMPARE(queue.take(PatientQueue::hostOf(*elsewhere)), elsewhere);
    }
}

void PatientQueueTest::removedOnesDoNotGo()
{
    PatientQueue queue;
    QList<Pointer> taken;
    const Pointer first = make("http://host:80/1");
    const Pointer second = make("http://host:80/2");
    const Pointer third = make("http://host:80/3");
    for (const Pointer &each : {first, second, third})
        queue.append(each);
    queue.prefer(*third, true);
    queue.remove(*third);
    queue.remove(*first);
    queue.remove(*first);
    QCOMPARE(takeAll(queue, taken), words("/2"));
}

void PatientQueueTest::oneGoesOnce()
{
    PatientQueue queue;
    QList<Pointer> taken;
    const Pointer one = make("http://host:80/1");
    queue.append(one);
    queue.append(one);
    QCOMPARE(takeAll(queue, taken), words("/1"));
}

void PatientQueueTest::oneThatHasEndedMayComeAgain()
{
    PatientQueue queue;
    QList<Pointer> taken;
    const Pointer one = make("http://host:80/1");
    for (int time = 0; time < 2; ++time) {
        queue.append(one);
        QCOMPARE(takeAll(queue, taken), words("/1"));
        queue.ended(*one);
    }
}

void PatientQueueTest::thoseOnTheirWayCountWhileNobodyWaits()
{
    PatientQueue queue;
    QList<Pointer> taken;
    for (int number = 0; number < PatientQueue::MostOthersOnTheirWay; ++number)
        queue.append(make("http://host:80/a"));
    takeAll(queue, taken);
    queue.ended(*taken.takeFirst());
    const Pointer gone = make("http://host:80/gone");
    queue.append(gone);
    queue.remove(*gone);
    for (int number = 0; number < 5; ++number)
        queue.append(make("http://host:80/b"));
    QCOMPARE(takeAll(queue, taken), words("/b"));
}

QTEST_GUILESS_MAIN(PatientQueueTest)
#include "PatientQueueTest.moc"
