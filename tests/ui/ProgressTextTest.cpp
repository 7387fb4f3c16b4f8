#include "ui/package/ProgressText.h"
#include "tests/packages/PackageStates.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QTranslator>

using namespace Kavo::Testing;
using Kavo::Models::Package;
using Kavo::Models::WorkProgress;
using Kavo::Ui::ProgressText;

namespace {

constexpr qint64 KB = 1024;
constexpr qint64 MB = 1024 * KB;
constexpr qint64 GB = 1024 * MB;

WorkProgress download(qint64 received, qint64 total, qint64 secondsLeft = -1)
{
    WorkProgress progress;
    progress.received = received;
    progress.total = total;
    if (secondsLeft >= 0)
        progress.secondsLeft = secondsLeft;
    return progress;
}

QString downloading(const WorkProgress &progress)
{
    return ProgressText::of(progress, Package::DOWNLOADING);
}

QString waiting(const WorkProgress &progress)
{
    return ProgressText::of(progress, Package::INSTALLING);
}

} // namespace

class ProgressTextTest final : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { QCoreApplication::removeTranslator(&m_german); }

    void bothSizesHaveOneUnit_data()
    {
        Rows<qint64, qint64, QString, QString> rows;
        const auto row = [&rows](qint64 received, qint64 total, const char *english,
                                 const char *german) {
            rows.row(english, received, total, english, german);
        };
        row(2 * MB, 5977 * KB, "2.0 of 5.8 MB", "2,0 von 5,8 MB");
        row(0, 5 * MB, "0.0 of 5.0 MB", "0,0 von 5,0 MB");
        row(0, 0, "0.0 KB", "0,0 KB");
        row(512, 1536, "0.5 of 1.5 KB", "0,5 von 1,5 KB");
        row(KB, MB - 1, "1.0 of 1,024.0 KB", "1,0 von 1.024,0 KB");
        row(512 * KB, MB, "0.5 of 1.0 MB", "0,5 von 1,0 MB");
        row(512 * MB, 2 * GB, "0.5 of 2.0 GB", "0,5 von 2,0 GB");
        row(3 * MB, 0, "3.0 MB", "3,0 MB");
        row(3 * MB, -1, "3.0 MB", "3,0 MB");
        row(7 * MB, 5 * MB, "7.0 MB", "7,0 MB");
        row(5 * MB, 5 * MB, "5.0 of 5.0 MB", "5,0 von 5,0 MB");
        row(2048 * GB, 5000 * 1024 * GB, "2.0 of 5,000.0 TB", "2,0 von 5.000,0 TB");
    }

    void bothSizesHaveOneUnit()
    {
        const auto [received, total, english, german] =
            Rows<qint64, qint64, QString, QString>::current();
        QCOMPARE(downloading(download(received, total)), english);
        QVERIFY(installGerman());
        QCOMPARE(downloading(download(received, total)), german);
    }

    void timeHasItsUnit_data()
    {
        Rows<qint64, QString, QString> rows;
        const auto row = [&rows](qint64 seconds, const char *english, const char *german) {
            rows.row(QByteArray::number(seconds), seconds, english, german);
        };
        row(0, "less than a minute left", "noch weniger als eine Minute");
        row(59, "less than a minute left", "noch weniger als eine Minute");
        row(60, "1 minute left", "noch 1 Minute");
        row(89, "1 minute left", "noch 1 Minute");
        row(90, "2 minutes left", "noch 2 Minuten");
        row(180, "3 minutes left", "noch 3 Minuten");
        row(7169, "119 minutes left", "noch 119 Minuten");
        row(7200, "2 hours left", "noch 2 Stunden");
        row(9000, "3 hours left", "noch 3 Stunden");
        row(86400, "24 hours left", "noch 24 Stunden");
    }

    void timeHasItsUnit()
    {
        const auto [seconds, english, german] = Rows<qint64, QString, QString>::current();
        const WorkProgress progress = download(2 * MB, 5 * MB, seconds);
        QCOMPARE(downloading(progress), "2.0 of 5.0 MB, "_s + english);
        QVERIFY(installGerman());
        QCOMPARE(downloading(progress), "2,0 von 5,0 MB, "_s + german);
    }

    void silentServerIsShown()
    {
        WorkProgress progress = download(2 * MB, 5 * MB, 30);
        progress.isSilent = true;
        QCOMPARE(downloading(progress), "2.0 of 5.0 MB, waiting for the server"_s);
        QCOMPARE(ProgressText::of(progress, Package::PREPARING), "waiting for the server"_s);
        QVERIFY(installGerman());
        QCOMPARE(downloading(progress), "2,0 von 5,0 MB, wartet auf den Server"_s);
    }

    void waitingWorkNamesWhatItWaitsFor()
    {
        WorkProgress progress;
        progress.waitsFor = "Kavo Library"_s;
        QCOMPARE(waiting(progress), "waits for Kavo Library"_s);
        QVERIFY(installGerman());
        QCOMPARE(waiting(progress), "wartet auf Kavo Library"_s);
    }

    void nameIsShortAndOnOneLine()
    {
        WorkProgress progress;
        progress.waitsFor = "a\nb %1 %n <b>c</b>"_s;
        QCOMPARE(waiting(progress), "waits for a?b %1 %n <b>c</b>"_s);
        const QString longest(80, QLatin1Char('x'));
        progress.waitsFor = longest;
        QCOMPARE(waiting(progress), "waits for "_s + longest);
        progress.waitsFor = longest + QLatin1Char('x');
        QCOMPARE(waiting(progress), "waits for "_s + longest.left(79) + QChar(0x2026));
        progress.waitsFor = QString(1000000, QLatin1Char('x'));
        const QString text = waiting(progress);
        QVERIFY(text.size() < 100);
        QVERIFY(text.endsWith(QLatin1Char('x') + QString(QChar(0x2026))));
    }

    void onlyADownloadShowsItsSize()
    {
        for (const Package::State state : packageStates()) {
            QCOMPARE(ProgressText::of(download(2 * MB, 5 * MB), state),
                     state == Package::DOWNLOADING ? "2.0 of 5.0 MB"_s : QString());
        }
    }

private:
    bool installGerman()
    {
        return m_german.load("qt_de"_s, QStringLiteral(KAVO_TRANSLATION_FOLDER)) &&
               QCoreApplication::installTranslator(&m_german);
    }

    QTranslator m_german;
};

KAVO_TEST_MAIN(ProgressTextTest)
#include "ProgressTextTest.moc"
