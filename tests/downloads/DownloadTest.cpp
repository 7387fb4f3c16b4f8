#include "downloads/Download.h"
#include "tests/downloads/DownloadEvents.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QMetaEnum>
#include <QTranslator>

#include <limits>

using Kavo::Models::Download;
using namespace Kavo::Testing;

namespace {

/// Records every source text with its context, and translates all of them to "translated".
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
        return "translated"_s;
    }
    bool isEmpty() const override { return false; }

    mutable QStringList m_asked;
};

QSharedPointer<Download> make(const QString &url = "http://host/a"_s)
{
    return QSharedPointer<Download>::create(url, true, false);
}

} // namespace

class DownloadTest final : public QObject
{
    Q_OBJECT

private slots:
    void startsIdleAndEmpty()
    {
        QObject parent;
        const auto *download = new Download("http://host/a"_s, false, true, &parent);
        QCOMPARE(download->getProcess(), Download::Process::Idle);
        QCOMPARE(download->getFileSize(), 0);
        QCOMPARE(download->getCurrentSize(), 0);
        QCOMPARE(download->getPath(), QString());
        QVERIFY(download->isRestart());
        QVERIFY(!download->getId().isNull());
        QCOMPARE(download->parent(), &parent);
    }

    void requestIsForTheAddressAndFollowsRedirects()
    {
        const auto download = make("http://host:81/a/b?c=d"_s);
        QCOMPARE(download->getRequest()->url(), QUrl("http://host:81/a/b?c=d"_s));
        QT_WARNING_PUSH
        QT_WARNING_DISABLE_DEPRECATED
        const auto follows = QNetworkRequest::FollowRedirectsAttribute;
        QT_WARNING_POP
        QCOMPARE(download->getRequest()->attribute(follows), QVariant(true));
        QVERIFY(!download->getRequest()->hasRawHeader("Range"));
    }

    void addressesAreParsedTolerantly()
    {
        QCOMPARE(make("http://host/a b%zz"_s)->getRequest()->url(),
                 QUrl("http://host/a b%zz"_s, QUrl::TolerantMode));
        QVERIFY(make("http://host/a b"_s)->getRequest()->url().isValid());
    }

    // Fixed, see docs/compatibility.md.
    void phaseNumbersAreFixed()
    {
        QCOMPARE(int(Download::Process::Idle), 0);
        QCOMPARE(int(Download::Process::Header), 1);
        QCOMPARE(int(Download::Process::Download), 2);
        QCOMPARE(int(Download::Process::Finished), 3);
        QCOMPARE(sizeof(Download::Process), std::size_t(4));
    }

    // Fixed, see docs/compatibility.md.
    void metaObjectHasFiveSignalsAndNothingElse()
    {
        const QMetaObject &meta = Download::staticMetaObject;
        QStringList names;
        for (int index = meta.methodOffset(); index < meta.methodCount(); ++index) {
            QCOMPARE(meta.method(index).methodType(), QMetaMethod::Signal);
            names.append(QString::fromLatin1(meta.method(index).name()));
        }
        QCOMPARE(names, QStringList({"fileSize"_s, "currentSize"_s, "finished"_s, "error"_s,
                                     "processChanged"_s}));
        QCOMPARE(meta.propertyCount(), meta.propertyOffset());
        QCOMPARE(meta.enumeratorCount(), meta.enumeratorOffset());
        QCOMPARE(meta.method(meta.methodOffset()).parameterTypes(),
                 QList<QByteArray>{QByteArray("qlonglong")});
    }

    void idsDiffer()
    {
        const QString url = "http://host/a"_s;
        QVERIFY(make(url)->getId() != make(url)->getId());
    }

    // Fixed, see docs/compatibility.md.
    void everySetterAnnounces()
    {
        const auto download = make();
        const DownloadEvents events(download);
        download->setFileSize(5);
        download->setFileSize(5);
        download->setFileSize(0);
        download->setCurrentSize(3);
        download->setCurrentSize(3);
        download->setProcess(Download::Process::Header);
        download->setProcess(Download::Process::Header);
        QCOMPARE(events.list(),
                 QStringList({"size 5"_s, "size 5"_s, "size 0"_s, "Header"_s, "Header"_s}));
        QCOMPARE(events.currentSizes(), QList<qint64>({3, 3}));
        QCOMPARE(download->getCurrentSize(), 3);
        QCOMPARE(download->getProcess(), Download::Process::Header);
    }

    void finishedFollowsThePhase()
    {
        const auto download = make();
        download->setPath("/the/path"_s);
        const DownloadEvents events(download);
        download->setProcess(Download::Process::Finished);
        download->setProcess(Download::Process::Finished);
        QCOMPARE(events.list(), QStringList({"Finished"_s, "finished /the/path"_s, "Finished"_s,
                                             "finished /the/path"_s}));
    }

    void pathAndRestartArePlain()
    {
        const auto download = make();
        const DownloadEvents events(download);
        download->setPath("/the/path"_s);
        download->setRestart(true);
        QCOMPARE(download->getPath(), "/the/path"_s);
        QVERIFY(download->isRestart());
        QCOMPARE(events.list(), QStringList());
    }

    void sizesBeyondFourGibibytes()
    {
        constexpr auto Size = std::numeric_limits<qint64>::max();
        const auto download = make();
        const DownloadEvents events(download);
        download->setFileSize(Size);
        download->setCurrentSize(Size - 1);
        QCOMPARE(download->getFileSize(), Size);
        QCOMPARE(events.list(), QStringList("size 9223372036854775807"_s));
        QCOMPARE(events.currentSizes(), QList<qint64>({Size - 1}));
    }

    void announceRepeatsTheState()
    {
        const auto download = make();
        download->setPath("/the/path"_s);
        download->setProcess(Download::Process::Finished);
        const DownloadEvents events(download);
        download->announce();
        QCOMPARE(events.list(), QStringList("Finished"_s));

        const auto sized = make();
        sized->setFileSize(7);
        sized->setCurrentSize(3);
        const DownloadEvents sizedEvents(sized);
        sized->announce();
        QCOMPARE(sizedEvents.list(), QStringList({"size 7"_s, "Idle"_s}));
        QCOMPARE(sizedEvents.currentSizes(), QList<qint64>());
    }

    void failReportsServerErrorAndChangesNothing_data()
    {
        Rows<int, QString>()
            .row("idle", 0, "Download Error - ")
            .row("probe", 1, "Header Error - ")
            .row("transfer", 2, "Download Error - ")
            .row("finished", 3, "Download Error - ");
    }

    // Fixed, see docs/compatibility.md.
    void failReportsServerErrorAndChangesNothing()
    {
        const auto [process, label] = Rows<int, QString>::current();
        const auto download = make("http://host/a b"_s);
        download->setPath("/the/path"_s);
        download->setFileSize(7);
        download->setProcess(static_cast<Download::Process>(process));
        const DownloadEvents events(download);
        const LogCapture log;
        download->fail("the detail"_s);
        QCOMPARE(log.lines(),
                 QStringList(label + QUrl("http://host/a b"_s).toString() + " : the detail"_s));
        QCOMPARE(events.list(), QStringList(errorEvent()));
        QCOMPARE(int(download->getProcess()), process);
        QCOMPARE(download->getFileSize(), 7);
        QCOMPARE(download->getPath(), "/the/path"_s);
    }

    void errorTextIsTranslated()
    {
        RecordingTranslator translator;
        QVERIFY(QCoreApplication::installTranslator(&translator));
        const auto download = make();
        const DownloadEvents events(download);
        const LogCapture log;
        download->fail("the detail"_s);
        QCoreApplication::removeTranslator(&translator);
        QCOMPARE(translator.m_asked.filter("Server Error"_s),
                 QStringList("Kavo::Models::Download|Server Error"_s));
        QCOMPARE(events.list(), QStringList("error translated"_s));
        QVERIFY(log.contains("Download Error - http://host/a : the detail"_s));
    }

    void nameIsTheLastPartOfTheAddress_data()
    {
        Rows<QString, QString>()
            .row("file", "http://host/a/setup.zip", "setup.zip")
            .row("query", "http://host/a.7z?v=/1#top", "a.7z")
            .row("folder", "http://host/a/", "download")
            .row("root", "http://host/", "download")
            .row("host only", "http://host", "download")
            .row("empty", "", "download")
            .row("encoded", "http://host/a%20b%C3%BC.7z", "a b\u00fc.7z")
            .row("encoded slash", "http://host/a%2Fb", "b")
            .row("encoded way up", "http://host/a/%2e%2e%2fb", "b")
            .row("encoded absolute path", "http://host/%2Fetc%2Fpasswd", "passwd")
            .row("hidden", "http://host/.x", ".x");
    }

    void nameIsTheLastPartOfTheAddress()
    {
        const auto [url, name] = Rows<QString, QString>::current();
        QCOMPARE(make(url)->getFileName(), name);
    }

    // Fixed, see docs/compatibility.md.
    void nameAvoidsFilesOfTheWorkingFolder()
    {
        const ScratchProfile profile;
        QDir::setCurrent(profile.folder("work"_s));
        const QString url = "http://host/setup.zip"_s;
        const auto name = [&url](bool overwrite) {
            return Download(url, overwrite, false).getFileName();
        };
        QCOMPARE(name(false), "setup.zip"_s);
        QVERIFY(writeFile("setup.zip"_s, "x"));
        QCOMPARE(name(false), "setup.zip.0"_s);
        QVERIFY(writeFile("setup.zip.0"_s, "x"));
        QVERIFY(writeFile("setup.zip.2"_s, "x"));
        QCOMPARE(name(false), "setup.zip.1"_s);
        QVERIFY(writeFile("setup.zip.1"_s, "x"));
        QCOMPARE(name(false), "setup.zip.3"_s);
        QCOMPARE(name(true), "setup.zip"_s);
    }

    void nameIsChosenOnce()
    {
        const ScratchProfile profile;
        QDir::setCurrent(profile.folder("work"_s));
        Download download("http://host/setup.zip"_s, false, false);
        QCOMPARE(download.getFileName(), "setup.zip"_s);
        QVERIFY(writeFile("setup.zip"_s, "x"));
        QCOMPARE(download.getFileName(), "setup.zip"_s);
    }
};

KAVO_TEST_MAIN(DownloadTest)
#include "DownloadTest.moc"
