#include "ui/package/ProgressText.h"
#include "tests/support/TestMain.h"

#include <QTranslator>

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

} // namespace

class ProgressTextTest final : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { QCoreApplication::removeTranslator(&m_german); }

    void sizesAreInOneUnit_data();
    void sizesAreInOneUnit();
    void timeIsToldInItsUnit_data();
    void timeIsToldInItsUnit();
    void silentServerIsTold();
    void waitingWorkNamesWhatItWaitsFor();
    void nameIsShortAndOnOneLine();
    void stateDecidesWhatIsTold_data();
    void stateDecidesWhatIsTold();

private:
    bool speakGerman();

    QTranslator m_german;
};

bool ProgressTextTest::speakGerman()
{
    return m_german.load(QStringLiteral("qt_de"), QStringLiteral(KAVO_TRANSLATION_FOLDER)) &&
           QCoreApplication::installTranslator(&m_german);
}

void ProgressTextTest::sizesAreInOneUnit_data()
{
    QTest::addColumn<qint64>("received");
    QTest::addColumn<qint64>("total");
    QTest::addColumn<QString>("english");
    QTest::addColumn<QString>("german");
    const auto row = [](qint64 received, qint64 total, const char *english, const char *german) {
        QTest::newRow(english) << received << total << QString::fromUtf8(english)
                               << QString::fromUtf8(german);
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

void ProgressTextTest::sizesAreInOneUnit()
{
    QFETCH(qint64, received);
    QFETCH(qint64, total);
    QTEST(downloading(download(received, total)), "english");
    QVERIFY(speakGerman());
    QTEST(downloading(download(received, total)), "german");
}

void ProgressTextTest::timeIsToldInItsUnit_data()
{
    QTest::addColumn<qint64>("seconds");
    QTest::addColumn<QString>("english");
    QTest::addColumn<QString>("german");
    const auto row = [](qint64 seconds, const char *english, const char *german) {
        QTest::addRow("%lld", seconds)
            << seconds << QString::fromUtf8(english) << QString::fromUtf8(german);
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

void ProgressTextTest::timeIsToldInItsUnit()
{
    QFETCH(qint64, seconds);
    QFETCH(QString, english);
    QFETCH(QString, german);
    const WorkProgress progress = download(2 * MB, 5 * MB, seconds);
    QCOMPARE(downloading(progress), QStringLiteral("2.0 of 5.0 MB, ") + english);
    QVERIFY(speakGerman());
    QCOMPARE(downloading(progress), QStringLiteral("2,0 von 5,0 MB, ") + german);
}

void ProgressTextTest::silentServerIsTold()
{
    WorkProgress progress = download(2 * MB, 5 * MB, 30);
    progress.isSilent = true;
    QCOMPARE(downloading(progress), QStringLiteral("2.0 of 5.0 MB, waiting for the server"));
    QCOMPARE(ProgressText::of(progress, Package::PREPARING),
             QStringLiteral("waiting for the server"));
    QVERIFY(speakGerman());
    QCOMPARE(downloading(progress), QStringLiteral("2,0 von 5,0 MB, wartet auf den Server"));
}

void ProgressTextTest::waitingWorkNamesWhatItWaitsFor()
{
    WorkProgress progress;
    progress.waitsFor = QStringLiteral("Kavo Library");
    QCOMPARE(ProgressText::of(progress, Package::INSTALLING),
             QStringLiteral("waits for Kavo Library"));
    QVERIFY(speakGerman());
    QCOMPARE(ProgressText::of(progress, Package::INSTALLING),
             QStringLiteral("wartet auf Kavo Library"));
}

void ProgressTextTest::nameIsShortAndOnOneLine()
{
    WorkProgress progress;
    progress.waitsFor = QStringLiteral("a\nb %1 %n <b>c</b>");
    QCOMPARE(ProgressText::of(progress, Package::INSTALLING),
             QStringLiteral("waits for a?b %1 %n <b>c</b>"));
    const QString longest(80, QLatin1Char('x'));
    progress.waitsFor = longest;
    QCOMPARE(ProgressText::of(progress, Package::INSTALLING),
             QStringLiteral("waits for ") + longest);
    progress.waitsFor = longest + QLatin1Char('x');
    QCOMPARE(ProgressText::of(progress, Package::INSTALLING),
             QStringLiteral("waits for ") + longest.left(79) + QChar(0x2026));
    progress.waitsFor = QString(1000000, QLatin1Char('x'));
    const QString text = ProgressText::of(progress, Package::INSTALLING);
    QVERIFY(text.size() < 100);
    QVERIFY(text.endsWith(QLatin1Char('x') + QString(QChar(0x2026))));
}

void ProgressTextTest::stateDecidesWhatIsTold_data()
{
    QTest::addColumn<Package::State>("state");
    QTest::addColumn<QString>("text");
    const QString nothing;
    QTest::newRow("available") << Package::AVAILABLE << nothing;
    QTest::newRow("installed") << Package::INSTALLED << nothing;
    QTest::newRow("preparing") << Package::PREPARING << nothing;
    QTest::newRow("downloading") << Package::DOWNLOADING << QStringLiteral("2.0 of 5.0 MB");
    QTest::newRow("installing") << Package::INSTALLING << nothing;
    QTest::newRow("removing") << Package::UNINSTALLING << nothing;
    QTest::newRow("install error") << Package::INSTALL_ERROR << nothing;
    QTest::newRow("download error") << Package::DOWNLOAD_ERROR << nothing;
    QTest::newRow("dependency error") << Package::DEPENDENCY_ERROR << nothing;
    QTest::newRow("unknown") << Package::UNKNOWN << nothing;
}

void ProgressTextTest::stateDecidesWhatIsTold()
{
    QFETCH(Package::State, state);
    QTEST(ProgressText::of(download(2 * MB, 5 * MB), state), "text");
}

KAVO_TEST_MAIN(ProgressTextTest)
#include "ProgressTextTest.moc"
