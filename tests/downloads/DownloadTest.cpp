#include "downloads/Download.h"
#include "tests/downloads/DownloadEvents.h"
#include "tests/downloads/DownloadSetup.h"
#include "tests/support/Archives.h"
#include "tests/support/TestMain.h"

#include <QMetaEnum>
#include <QTranslator>

using Kavo::Models::Download;
using namespace Kavo::Testing;

namespace {

/// Writes down what is asked for, and translates all of it.
class RecordingTranslator final : public QTranslator
{
public:
    QString translate(const char *context, const char *sourceText, const char *disambiguation,
                      int number) const override
    {
        Q_UNUSED(disambiguation)
        Q_UNUSED(number)
        m_asked.append(QString::fromLatin1(context) + QLatin1Char('|') +
                       QString::fromLatin1(sourceText));
        return QStringLiteral("translated");
    }
    bool isEmpty() const override { return false; }

    mutable QStringList m_asked;
};

QSharedPointer<Download> make(const QString &url)
{
    return QSharedPointer<Download>::create(url, true, false);
}

} // namespace

class DownloadTest final : public QObject
{
    Q_OBJECT

private slots:
    void startsIdleAndEmpty();
    void requestIsForTheAddressAndFollowsRedirects();
    void addressesAreParsedTolerantly();
    void phaseNumbersAreFixed();
    void metaObjectHasFiveSignalsAndNothingElse();
    void idsDiffer();
    void everySetterAnnounces();
    void finishedFollowsThePhase();
    void pathAndRestartArePlain();
    void sizesBeyondFourGibibytes();
    void announceRepeatsTheState();
    void failLogsThePhaseAndTellsServerError_data();
    void failLogsThePhaseAndTellsServerError();
    void failChangesNothing();
    void errorTextIsTranslated();
    void nameIsTheLastPartOfTheAddress_data();
    void nameIsTheLastPartOfTheAddress();
    void nameAvoidsFilesOfTheWorkingFolder();
    void nameIsChosenOnce();
    void nameNeverHasAFolder();
};

void DownloadTest::startsIdleAndEmpty()
{
    QObject parent;
    const auto *download = new Download(QStringLiteral("http://host/a"), false, true, &parent);
    QCOMPARE(download->getProcess(), Download::Process::Idle);
    QCOMPARE(download->getFileSize(), 0);
    QCOMPARE(download->getCurrentSize(), 0);
    QCOMPARE(download->getPath(), QString());
    QVERIFY(download->isRestart());
    QVERIFY(!download->getId().isNull());
    QCOMPARE(download->parent(), &parent);
}

void DownloadTest::requestIsForTheAddressAndFollowsRedirects()
{
    const auto download = make(QStringLiteral("http://host:81/a/b?c=d"));
    QCOMPARE(download->getRequest()->url(), QUrl(QStringLiteral("http://host:81/a/b?c=d")));
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    const auto follows = QNetworkRequest::FollowRedirectsAttribute;
    QT_WARNING_POP
    QCOMPARE(download->getRequest()->attribute(follows), QVariant(true));
    QVERIFY(!download->getRequest()->hasRawHeader("Range"));
}

void DownloadTest::addressesAreParsedTolerantly()
{
    QCOMPARE(make(QStringLiteral("http://host/a b%zz"))->getRequest()->url(),
             QUrl(QStringLiteral("http://host/a b%zz"), QUrl::TolerantMode));
    QVERIFY(make(QStringLiteral("http://host/a b"))->getRequest()->url().isValid());
}

// Fixed, see docs/compatibility.md.
void DownloadTest::phaseNumbersAreFixed()
{
    QCOMPARE(int(Download::Process::Idle), 0);
    QCOMPARE(int(Download::Process::Header), 1);
    QCOMPARE(int(Download::Process::Download), 2);
    QCOMPARE(int(Download::Process::Finished), 3);
    QCOMPARE(sizeof(Download::Process), std::size_t(4));
}

// Fixed, see docs/compatibility.md.
void DownloadTest::metaObjectHasFiveSignalsAndNothingElse()
{
    const QMetaObject &meta = Download::staticMetaObject;
    QStringList names;
    for (int index = meta.methodOffset(); index < meta.methodCount(); ++index) {
        QCOMPARE(meta.method(index).methodType(), QMetaMethod::Signal);
        names.append(QString::fromLatin1(meta.method(index).name()));
    }
    QCOMPARE(names, QStringList({QStringLiteral("fileSize"), QStringLiteral("currentSize"),
                                 QStringLiteral("finished"), QStringLiteral("error"),
                                 QStringLiteral("processChanged")}));
    QCOMPARE(meta.propertyCount(), meta.propertyOffset());
    QCOMPARE(meta.enumeratorCount(), meta.enumeratorOffset());
    QCOMPARE(meta.method(meta.methodOffset()).parameterTypes(),
             QList<QByteArray>{QByteArray("qlonglong")});
}

void DownloadTest::idsDiffer()
{
    const QString url = QStringLiteral("http://host/a");
    QVERIFY(make(url)->getId() != make(url)->getId());
}

// Fixed, see docs/compatibility.md.
void DownloadTest::everySetterAnnounces()
{
    const auto download = make(QStringLiteral("http://host/a"));
    const DownloadEvents events(download);
    download->setFileSize(5);
    download->setFileSize(5);
    download->setFileSize(0);
    download->setCurrentSize(3);
    download->setCurrentSize(3);
    download->setProcess(Download::Process::Header);
    download->setProcess(Download::Process::Header);
    QCOMPARE(events.list(), QStringList({QStringLiteral("fileSize 5"), QStringLiteral("fileSize 5"),
                                         QStringLiteral("fileSize 0"), QStringLiteral("process 1"),
                                         QStringLiteral("process 1")}));
    QCOMPARE(events.currentSizes(), QList<qint64>({3, 3}));
    QCOMPARE(download->getCurrentSize(), 3);
    QCOMPARE(download->getProcess(), Download::Process::Header);
}

void DownloadTest::finishedFollowsThePhase()
{
    const auto download = make(QStringLiteral("http://host/a"));
    download->setPath(QStringLiteral("/the/path"));
    const DownloadEvents events(download);
    download->setProcess(Download::Process::Finished);
    download->setProcess(Download::Process::Finished);
    QCOMPARE(events.list(),
             QStringList({QStringLiteral("process 3"), QStringLiteral("finished /the/path"),
                          QStringLiteral("process 3"), QStringLiteral("finished /the/path")}));
}

void DownloadTest::pathAndRestartArePlain()
{
    const auto download = make(QStringLiteral("http://host/a"));
    const DownloadEvents events(download);
    download->setPath(QStringLiteral("/the/path"));
    download->setRestart(true);
    QCOMPARE(download->getPath(), QStringLiteral("/the/path"));
    QVERIFY(download->isRestart());
    QCOMPARE(events.list(), QStringList());
}

void DownloadTest::sizesBeyondFourGibibytes()
{
    constexpr qint64 Size = Q_INT64_C(9223372036854775807);
    const auto download = make(QStringLiteral("http://host/a"));
    const DownloadEvents events(download);
    download->setFileSize(Size);
    download->setCurrentSize(Size - 1);
    QCOMPARE(download->getFileSize(), Size);
    QCOMPARE(events.list(), QStringList(QStringLiteral("fileSize 9223372036854775807")));
    QCOMPARE(events.currentSizes(), QList<qint64>({Size - 1}));
}

void DownloadTest::announceRepeatsTheState()
{
    const auto download = make(QStringLiteral("http://host/a"));
    download->setPath(QStringLiteral("/the/path"));
    download->setProcess(Download::Process::Finished);
    const DownloadEvents events(download);
    download->announce();
    QCOMPARE(events.list(), QStringList(QStringLiteral("process 3")));

    const auto sized = make(QStringLiteral("http://host/a"));
    sized->setFileSize(7);
    sized->setCurrentSize(3);
    const DownloadEvents sizedEvents(sized);
    sized->announce();
    QCOMPARE(sizedEvents.list(),
             QStringList({QStringLiteral("fileSize 7"), QStringLiteral("process 0")}));
    QCOMPARE(sizedEvents.currentSizes(), QList<qint64>());
}

void DownloadTest::failLogsThePhaseAndTellsServerError_data()
{
    QTest::addColumn<int>("process");
    QTest::addColumn<QString>("label");
    QTest::newRow("idle") << 0 << QStringLiteral("Download Error - ");
    QTest::newRow("probe") << 1 << QStringLiteral("Header Error - ");
    QTest::newRow("transfer") << 2 << QStringLiteral("Download Error - ");
    QTest::newRow("finished") << 3 << QStringLiteral("Download Error - ");
}

// Fixed, see docs/compatibility.md.
void DownloadTest::failLogsThePhaseAndTellsServerError()
{
    QFETCH(int, process);
    QFETCH(QString, label);
    const auto download = make(QStringLiteral("http://host/a b"));
    download->setProcess(static_cast<Download::Process>(process));
    const DownloadEvents events(download);
    const LogCapture log;
    download->fail(QStringLiteral("the detail"));
    QCOMPARE(log.lines(), QStringList(label + QUrl(QStringLiteral("http://host/a b")).toString() +
                                      QStringLiteral(" : the detail")));
    QCOMPARE(events.list(), QStringList(QStringLiteral("error Server Error")));
}

// Fixed, see docs/compatibility.md.
void DownloadTest::failChangesNothing()
{
    const auto download = make(QStringLiteral("http://host/a"));
    download->setPath(QStringLiteral("/the/path"));
    download->setFileSize(7);
    download->setProcess(Download::Process::Download);
    const LogCapture log;
    download->fail(QStringLiteral("the detail"));
    QCOMPARE(download->getProcess(), Download::Process::Download);
    QCOMPARE(download->getFileSize(), 7);
    QCOMPARE(download->getPath(), QStringLiteral("/the/path"));
}

void DownloadTest::errorTextIsTranslated()
{
    RecordingTranslator translator;
    QVERIFY(QCoreApplication::installTranslator(&translator));
    const auto download = make(QStringLiteral("http://host/a"));
    const DownloadEvents events(download);
    const LogCapture log;
    download->fail(QStringLiteral("the detail"));
    QCoreApplication::removeTranslator(&translator);
    QCOMPARE(translator.m_asked.filter(QStringLiteral("Server Error")),
             QStringList(QStringLiteral("Kavo::Models::Download|Server Error")));
    QCOMPARE(events.list(), QStringList(QStringLiteral("error translated")));
    QVERIFY(log.contains(QStringLiteral("Download Error - http://host/a : the detail")));
}

void DownloadTest::nameIsTheLastPartOfTheAddress_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<QString>("name");
    QTest::newRow("file") << QStringLiteral("http://host/a/setup.zip")
                          << QStringLiteral("setup.zip");
    QTest::newRow("query") << QStringLiteral("http://host/a.7z?v=/1#top") << QStringLiteral("a.7z");
    QTest::newRow("folder") << QStringLiteral("http://host/a/") << QStringLiteral("download");
    QTest::newRow("root") << QStringLiteral("http://host/") << QStringLiteral("download");
    QTest::newRow("host only") << QStringLiteral("http://host") << QStringLiteral("download");
    QTest::newRow("empty") << QString() << QStringLiteral("download");
    QTest::newRow("encoded") << QStringLiteral("http://host/a%20b%C3%BC.7z")
                             << QString::fromUtf8("a b\u00fc.7z");
    QTest::newRow("encoded slash") << QStringLiteral("http://host/a%2Fb") << QStringLiteral("b");
    QTest::newRow("hidden") << QStringLiteral("http://host/.x") << QStringLiteral(".x");
}

void DownloadTest::nameIsTheLastPartOfTheAddress()
{
    QFETCH(QString, url);
    QTEST(make(url)->getFileName(), "name");
}

// Fixed, see docs/compatibility.md.
void DownloadTest::nameAvoidsFilesOfTheWorkingFolder()
{
    const ScratchProfile profile;
    QDir::setCurrent(profile.folder(QStringLiteral("work")));
    const QString url = QStringLiteral("http://host/setup.zip");
    const auto name = [&url](bool overwrite) {
        return Download(url, overwrite, false).getFileName();
    };
    QCOMPARE(name(false), QStringLiteral("setup.zip"));
    QVERIFY(writeFile(QStringLiteral("setup.zip"), "x"));
    QCOMPARE(name(false), QStringLiteral("setup.zip.0"));
    QVERIFY(writeFile(QStringLiteral("setup.zip.0"), "x"));
    QVERIFY(writeFile(QStringLiteral("setup.zip.2"), "x"));
    QCOMPARE(name(false), QStringLiteral("setup.zip.1"));
    QVERIFY(writeFile(QStringLiteral("setup.zip.1"), "x"));
    QCOMPARE(name(false), QStringLiteral("setup.zip.3"));
    QCOMPARE(name(true), QStringLiteral("setup.zip"));
}

void DownloadTest::nameIsChosenOnce()
{
    const ScratchProfile profile;
    QDir::setCurrent(profile.folder(QStringLiteral("work")));
    Download download(QStringLiteral("http://host/setup.zip"), false, false);
    QCOMPARE(download.getFileName(), QStringLiteral("setup.zip"));
    QVERIFY(writeFile(QStringLiteral("setup.zip"), "x"));
    QCOMPARE(download.getFileName(), QStringLiteral("setup.zip"));
}

void DownloadTest::nameNeverHasAFolder()
{
    for (const char *url : {"http://host/a/%2e%2e%2fb", "http://host/%2Fetc%2Fpasswd"})
        QVERIFY(!make(QString::fromLatin1(url))->getFileName().contains(QLatin1Char('/')));
}

KAVO_TEST_MAIN(DownloadTest)
#include "DownloadTest.moc"
