#include "downloads/PatientQueue.h"

#include "tests/support/Literals.h"

#include <QTest>

using Kavo::Managers::PatientQueue;
using namespace Kavo::Testing;

/// Tests the order and the limits of the queue. Unless a test uses other hosts, all downloads are
/// from one host.
class PatientQueueTest final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_queue = std::make_unique<PatientQueue>();
        m_taken.clear();
    }

    void numberOfRunningDownloadsIsLimited()
    {
        appendAll(0, 9);
        takeAll();
        QCOMPARE(m_taken.size(), PatientQueue::MostOthersOnTheirWay);
        QCOMPARE(takeAll(), QString());
        endOne();
        QVERIFY(!takeAll().isEmpty());
        QCOMPARE(m_taken.size(), PatientQueue::MostOthersOnTheirWay);
        while (!m_taken.isEmpty()) {
            endOne();
            takeAll();
        }
        QVERIFY(!m_queue->take("http://host:80"_s));
    }

    void orderIsFirstInFirstOut()
    {
        appendAll(1, 5);
        QString order = takeAll();
        for (int number = 0; number < 2; ++number) {
            endOne();
            order += takeAll();
        }
        QCOMPARE(order, "/1/2/3/4/5"_s);
    }

    void preferredGoFirst()
    {
        const auto all = appendAll(0, 8);
        m_queue->prefer(*all.at(7), true);
        m_queue->prefer(*all.at(5), true);
        QCOMPARE(takeAll(), "/5/7/0"_s);
    }

    void preferenceMayEnd()
    {
        const auto all = appendAll(0, 2);
        m_queue->prefer(*all.at(2), true);
        m_queue->prefer(*all.at(2), true);
        m_queue->prefer(*all.at(1), true);
        m_queue->prefer(*all.at(2), false);
        QCOMPARE(takeAll(), "/1/0/2"_s);
        m_queue->prefer(*all.at(2), true);
        QCOMPARE(takeAll(), QString());
    }

    void preferredHaveAPlaceOfTheirOwn()
    {
        appendAll(1, 9);
        takeAll();
        const Pointer near = append(10);
        QCOMPARE(takeAll(), QString());
        m_queue->prefer(*near, true);
        QCOMPARE(takeAll(), "/10"_s);
        QCOMPARE(m_taken.size(), PatientQueue::MostOnTheirWay);
        // Other downloads do not get the place of a preferred one.
        endOne();
        QCOMPARE(takeAll(), QString());
    }

    void hostsDoNotWaitForOneAnother()
    {
        appendAll(1, 9);
        takeAll();
        for (const QString &url :
             {"http://other:80/a"_s, "https://host:80/a"_s, "http://host:81/a"_s}) {
            const Pointer elsewhere = make(url);
            m_queue->append(elsewhere);
            QCOMPARE(m_queue->take(PatientQueue::hostOf(*elsewhere)), elsewhere);
        }
    }

    void removedOnesAreNotTaken()
    {
        const auto all = appendAll(0, 2);
        m_queue->prefer(*all.at(2), true);
        m_queue->remove(*all.at(2));
        m_queue->remove(*all.at(0));
        m_queue->remove(*all.at(0));
        QCOMPARE(takeAll(), "/1"_s);
    }

    void oneIsTakenOnce()
    {
        const Pointer one = append(1);
        m_queue->append(one);
        QCOMPARE(takeAll(), "/1"_s);
    }

    void endedOneMayBeAppendedAgain()
    {
        const Pointer one = append(1);
        QCOMPARE(takeAll(), "/1"_s);
        endOne();
        m_queue->append(one);
        QCOMPARE(takeAll(), "/1"_s);
    }

    void runningOnesCountWhileNoneIsWaiting()
    {
        appendAll(1, PatientQueue::MostOthersOnTheirWay);
        takeAll();
        endOne();
        m_queue->remove(*append(50));
        appendAll(60, 64);
        QCOMPARE(takeAll(), "/60"_s);
    }

private:
    using Pointer = PatientQueue::DownloadPointer;

    static Pointer make(const QString &url) { return Pointer::create(url, true, true); }
    Pointer append(int number)
    {
        const Pointer download = make("http://host:80/%1"_s.arg(number));
        m_queue->append(download);
        return download;
    }
    /// Appends downloads with the numbers from `first` to `last`.
    QList<Pointer> appendAll(int first, int last)
    {
        QList<Pointer> all;
        for (int number = first; number <= last; ++number)
            all.append(append(number));
        return all;
    }
    /// Takes all downloads that may start. Returns their numbers, such as "/1/2/3".
    QString takeAll()
    {
        QString numbers;
        while (const Pointer next = m_queue->take("http://host:80"_s)) {
            m_taken.append(next);
            numbers += next->getRequest()->url().path();
        }
        return numbers;
    }
    /// Ends the download that was taken first.
    void endOne() { m_queue->ended(*m_taken.takeFirst()); }

    std::unique_ptr<PatientQueue> m_queue;
    QList<Pointer> m_taken;
};

QTEST_GUILESS_MAIN(PatientQueueTest)
#include "PatientQueueTest.moc"
