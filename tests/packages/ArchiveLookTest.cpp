#include "core/Installation.h"
#include "tests/packages/Engine.h"
#include "tests/packages/GatedExtractor.h"
#include "tests/support/LogCapture.h"
#include "tests/support/RunUntil.h"
#include "tests/support/TestMain.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <memory>
#include <sys/stat.h>
#include <unistd.h>

using namespace Kavo;
using namespace Kavo::Models;
using namespace Kavo::Testing;
using Kind = FailureReason::Kind;

Q_DECLARE_METATYPE(FailureReason::Kind)

/// What is looked at before an installation changes anything, by real installations: an archive or
/// a simulator that is known to be bad costs nothing, and the version before stays installed.
class ArchiveLookTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void archiveMustBeTheOneOfTheCatalogue_data();
    void archiveMustBeTheOneOfTheCatalogue();
    void resumedArchiveIsCompared_data();
    void resumedArchiveIsCompared();
    void sharedArchiveIsComparedForEach();
    void catalogueThatSaysNothingOfTheArchiveIsFollowed_data();
    void catalogueThatSaysNothingOfTheArchiveIsFollowed();

    void simulatorThatIsGoneIsNotMadeAnew_data();
    void simulatorThatIsGoneIsNotMadeAnew();
    void simulatorForWindowsIsOne();

    void whatIsNoFileIsNoArchive_data();
    void whatIsNoFileIsNoArchive();
    void linksAreLookedAtInEveryFormat_data();
    void linksAreLookedAtInEveryFormat();
    void cpioIsLookedAt_data();
    void cpioIsLookedAt();
    void folderOutsideIsRefused();

    void failedFirstInstallationLeavesNothingBehind_data();
    void failedFirstInstallationLeavesNothingBehind();
    void replacedOriginalOfAFailedInstallationComesBack();

private:
    /// Offers 1.0 and installs it, then offers 2.0 with these keys.
    void offerUpdate(const QJsonObject &keys);
    QByteArray &archive(const char *version) const;
    static QJsonObject keysOf(const QByteArray &archive);
    /// Whether the update to 2.0 fails for this reason and 1.0 is there as before, also after a
    /// refresh.
    bool updateChangesNothing(Kind kind);

    std::unique_ptr<Engine> m_engine;
};

const QString AddOn = QStringLiteral("plugin/plugin.xpl");

/// An entry in the form "newc": thirteen numbers of eight digits, the name and the content, padded.
QByteArray cpioEntry(const QByteArray &name, int mode, const QByteArray &content)
{
    QByteArray header("070701");
    const QVector<int> numbers{1, mode, 0, 0, 1, 0, content.size(), 0, 0, 0, 0, name.size() + 1, 0};
    for (const int number : numbers)
        header += QByteArray::number(number, 16).rightJustified(8, '0');
    const auto padded = [](const QByteArray &bytes) -> QByteArray {
        return bytes + QByteArray((4 - bytes.size() % 4) % 4, '\0');
    };
    return padded(header + name + '\0') + padded(content);
}

void ArchiveLookTest::init()
{
    m_engine = std::make_unique<Engine>();
}

void ArchiveLookTest::cleanup()
{
    m_engine.reset();
}

void ArchiveLookTest::offerUpdate(const QJsonObject &keys)
{
    for (const char *version : {"1.0", "2.0"}) {
        Offer offer{7, QLatin1String(version)};
        offer.files = {{AddOn, version}};
        offer.remove = QStringList{QStringLiteral("plugin")};
        if (offer.version == QLatin1String("2.0"))
            offer.more = keys;
        m_engine->offer(offer);
    }
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("1.0")));
}

QByteArray &ArchiveLookTest::archive(const char *version) const
{
    return m_engine->server()
        .resource(QStringLiteral("/package-7-%1.zip").arg(QLatin1String(version)))
        .body;
}

QJsonObject ArchiveLookTest::keysOf(const QByteArray &archive)
{
    const QByteArray digest = QCryptographicHash::hash(archive, QCryptographicHash::Sha256);
    return {{QStringLiteral("size"), archive.size()},
            {QStringLiteral("sha256"), QString::fromLatin1(digest.toHex())}};
}

bool ArchiveLookTest::updateChangesNothing(Kind kind)
{
    const auto before = fileTree(m_engine->simulator({}));
    const LogCapture log;
    if (m_engine->installAndWait(7, QStringLiteral("2.0")))
        return false;
    const FailureReason reason = m_engine->package(7)->failure();
    const bool isRefused =
        m_engine->package(7)->state() == Package::INSTALL_ERROR && reason.kind() == kind &&
        reason.isHarmless() &&
        log.contains(QStringLiteral("Installation failed : ") + reason.logText());
    return isRefused && fileTree(m_engine->simulator({})) == before && m_engine->refresh() &&
           m_engine->package(7)->state() == Package::INSTALLED &&
           m_engine->recordedVersion(7) == QLatin1String("1.0");
}

/// An archive of version 2.0.
QByteArray content()
{
    static const QByteArray bytes = archiveOf({{AddOn, "2.0"}}, QStringLiteral("zip"));
    return bytes;
}

void ArchiveLookTest::archiveMustBeTheOneOfTheCatalogue_data()
{
    QTest::addColumn<QJsonObject>("keys");
    QTest::addColumn<Kind>("kind");
    const QJsonObject right = keysOf(content());
    const auto with = [&right](const char *key, const QJsonValue &value) {
        QJsonObject keys = right;
        keys.insert(QLatin1String(key), value);
        return keys;
    };
    const QString digest = right.value(QLatin1String("sha256")).toString();
    QTest::newRow("right") << right << Kind::NONE;
    QTest::newRow("right, in capitals") << with("sha256", digest.toUpper()) << Kind::NONE;
    QTest::newRow("one byte more") << with("size", content().size() - 1) << Kind::SIZE_DIFFERS;
    QTest::newRow("one byte less") << with("size", content().size() + 1) << Kind::SIZE_DIFFERS;
    QTest::newRow("nothing expected") << with("size", 0) << Kind::SIZE_DIFFERS;
    QTest::newRow("another content")
        << with("sha256",
                QString(digest).replace(0, 1,
                                        digest.at(0) == QLatin1Char('0') ? QStringLiteral("1")
                                                                         : QStringLiteral("0")))
        << Kind::CHECKSUM_DIFFERS;
    QTest::newRow("half a digest") << with("sha256", digest.left(32)) << Kind::CHECKSUM_DIFFERS;
    QTest::newRow("no digest") << with("sha256", QStringLiteral("unknown"))
                               << Kind::CHECKSUM_DIFFERS;
}

void ArchiveLookTest::archiveMustBeTheOneOfTheCatalogue()
{
    QFETCH(QJsonObject, keys);
    QFETCH(Kind, kind);
    offerUpdate(keys);
    archive("2.0") = content();
    if (kind == Kind::NONE) {
        QVERIFY(m_engine->installAndWait(7, QStringLiteral("2.0")));
        QCOMPARE(readFile(m_engine->simulator(AddOn)), QByteArray("2.0"));
        QVERIFY(m_engine->package(7)->failure().isNone());
        return;
    }
    QVERIFY(updateChangesNothing(kind));
    // What has differed is not gone on with.
    QCOMPARE(filesUnder(m_engine->cached({})).filter(QStringLiteral("package-7")), QStringList());
}

void ArchiveLookTest::resumedArchiveIsCompared_data()
{
    QTest::addColumn<int>("present");
    QTest::addColumn<bool>("isRight");
    for (const bool isRight : {true, false}) {
        const char *name = isRight ? "right" : "wrong";
        QTest::addRow("%s, half of it is there", name) << content().size() / 2 << isRight;
        QTest::addRow("%s, all of it is there", name) << content().size() << isRight;
    }
}

void ArchiveLookTest::resumedArchiveIsCompared()
{
    QFETCH(int, present);
    QFETCH(bool, isRight);
    offerUpdate(keysOf(content()));
    archive("2.0") = content();
    QByteArray half = content().left(present);
    if (!isRight)
        half[present / 2] = static_cast<char>(~half.at(present / 2));
    QVERIFY(writeFile(m_engine->cached(QStringLiteral("package-7-2.0.zip")), half));
    if (isRight)
        QVERIFY(m_engine->installAndWait(7, QStringLiteral("2.0")));
    else
        QVERIFY(updateChangesNothing(Kind::CHECKSUM_DIFFERS));
}

void ArchiveLookTest::sharedArchiveIsComparedForEach()
{
    const QByteArray shared =
        archiveOf({{QStringLiteral("shared.txt"), "x"}}, QStringLiteral("zip"));
    // Each of them may be the one that starts the transfer.
    for (const int id : {1, 2, 3}) {
        Offer offer{id};
        offer.link = QStringLiteral("/shared.zip");
        if (id == 2)
            offer.more = keysOf(shared);
        if (id == 3)
            offer.more = keysOf("something else");
        m_engine->offer(offer);
    }
    m_engine->server().resource(QStringLiteral("/shared.zip")).body = shared;
    QVERIFY(m_engine->refresh());
    for (const int id : {1, 2, 3})
        m_engine->install(id);
    for (const int id : {1, 2, 3})
        QVERIFY(m_engine->waitUntilSettled(id));
    QCOMPARE(m_engine->package(1)->state(), Package::INSTALLED);
    QCOMPARE(m_engine->package(2)->state(), Package::INSTALLED);
    QCOMPARE(m_engine->package(3)->state(), Package::INSTALL_ERROR);
}

void ArchiveLookTest::catalogueThatSaysNothingOfTheArchiveIsFollowed_data()
{
    QTest::addColumn<QJsonObject>("keys");
    const auto row = [](const char *name, const char *key, const QJsonValue &value) {
        QTest::newRow(name) << QJsonObject{{QLatin1String(key), value}};
    };
    row("empty digest", "sha256", QString());
    row("digest that is no text", "sha256", 5);
    row("size that is no number", "size", QStringLiteral("many"));
    row("negative size", "size", -1);
    row("half a byte", "size", 0.5);
    row("size beyond all numbers", "size", 1e300);
    row("no size", "size", QJsonValue());
}

void ArchiveLookTest::catalogueThatSaysNothingOfTheArchiveIsFollowed()
{
    QFETCH(QJsonObject, keys);
    offerUpdate(keys);
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("2.0")));
}

void ArchiveLookTest::simulatorThatIsGoneIsNotMadeAnew_data()
{
    QTest::addColumn<bool>("hasFolder");
    QTest::newRow("empty place of a disk") << true;
    QTest::newRow("no folder") << false;
}

void ArchiveLookTest::simulatorThatIsGoneIsNotMadeAnew()
{
    QFETCH(bool, hasFolder);
    offerUpdate({});
    const QString folder = m_engine->simulator({}).chopped(1);
    const QString elsewhere =
        m_engine->profile().folder(QStringLiteral("elsewhere")) + QStringLiteral("simulator");
    const auto before = fileTree(folder);
    QVERIFY(QDir().rename(folder, elsewhere));
    if (hasFolder)
        QVERIFY(QDir().mkpath(folder));

    QVERIFY(!m_engine->installAndWait(7, QStringLiteral("2.0")));
    QVERIFY(m_engine->package(7)->failure().kind() == Kind::SIMULATOR_MISSING);
    QCOMPARE(QFileInfo::exists(folder), hasFolder);
    QCOMPARE(fileTree(folder).keys(), QStringList());

    QDir().rmdir(folder);
    QVERIFY(QDir().rename(elsewhere, folder));
    QVERIFY(m_engine->refresh());
    QCOMPARE(fileTree(folder), before);
    QCOMPARE(m_engine->package(7)->state(), Package::INSTALLED);
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("2.0")));
}

void ArchiveLookTest::simulatorForWindowsIsOne()
{
    offerUpdate({});
    QVERIFY(QFile::rename(m_engine->simulator(simulatorExecutable()),
                          m_engine->simulator(QStringLiteral("X-Plane.exe"))));
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("2.0")));
}

void ArchiveLookTest::whatIsNoFileIsNoArchive_data()
{
    QTest::addColumn<QString>("replacement");
    for (const char *replacement : {"nothing", "folder", "pipe", "link to nothing"})
        QTest::newRow(replacement) << QString::fromLatin1(replacement);
}

void ArchiveLookTest::whatIsNoFileIsNoArchive()
{
    QFETCH(QString, replacement);
    const GatedExtractor extractor(m_engine->profile().folder(QStringLiteral("tools")));
    m_engine->setExtractor(extractor.program());
    for (const int id : {1, 2})
        m_engine->offer({id});
    QVERIFY(m_engine->refresh());
    m_engine->install(1);
    QVERIFY(extractor.waitUntilReached());
    m_engine->install(2);
    QVERIFY(m_engine->waitForState(2, Package::INSTALLING));

    const QString archive = m_engine->cached(QStringLiteral("package-2-1.0.zip"));
    const QByteArray path = QFile::encodeName(archive);
    QVERIFY(QFile::remove(archive));
    if (replacement == QLatin1String("folder"))
        QVERIFY(QDir().mkpath(archive));
    else if (replacement == QLatin1String("pipe"))
        QCOMPARE(::mkfifo(path.constData(), 0600), 0);
    else if (replacement == QLatin1String("link to nothing"))
        QCOMPARE(::symlink("nowhere", path.constData()), 0);
    extractor.open();
    QVERIFY(m_engine->waitUntilSettled(2));
    QVERIFY(m_engine->package(2)->failure().kind() == Kind::ARCHIVE_MISSING);
    QVERIFY(!QFile::exists(m_engine->simulator(Engine::fileOf(2))));
}

void ArchiveLookTest::linksAreLookedAtInEveryFormat_data()
{
    QTest::addColumn<QString>("format");
    QTest::addColumn<QString>("target");
    for (const char *format : {"7z", "zip", "tar", "wim"}) {
        QTest::addRow("%s, inside", format)
            << QString::fromLatin1(format) << QStringLiteral("plugin.xpl");
        QTest::addRow("%s, outside", format)
            << QString::fromLatin1(format) << QStringLiteral("../../outside");
        QTest::addRow("%s, absolute", format)
            << QString::fromLatin1(format) << QStringLiteral("/etc");
    }
}

void ArchiveLookTest::linksAreLookedAtInEveryFormat()
{
    QFETCH(QString, format);
    QFETCH(QString, target);
    offerUpdate({});
    const QString folder = m_engine->profile().folder(QStringLiteral("packing"));
    const QString packed = m_engine->profile().folder(QString()) + QStringLiteral("a.") + format;
    QVERIFY(writeFile(folder + AddOn, "2.0"));
    QVERIFY(QFile::link(target, folder + QStringLiteral("plugin/door")));
    QProcess process;
    process.setWorkingDirectory(folder);
    process.start(QStringLiteral("/usr/bin/7z"),
                  {QStringLiteral("a"), QStringLiteral("-snl"), packed, QStringLiteral("plugin")});
    QVERIFY(process.waitForFinished(-1) && process.exitCode() == 0);
    archive("2.0") = readFile(packed);

    if (target.contains(QLatin1Char('/'))) {
        QVERIFY(updateChangesNothing(Kind::ENTRY_LEADS_OUT));
        return;
    }
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("2.0")));
    QCOMPARE(readFile(m_engine->simulator(QStringLiteral("plugin/door"))), QByteArray("2.0"));
}

void ArchiveLookTest::cpioIsLookedAt_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("isHarmless");
    QTest::newRow("file") << 0100644 << QByteArray("x") << true;
    QTest::newRow("link inside") << 0120777 << QByteArray("plugin.xpl") << true;
    QTest::newRow("link outside") << 0120777 << QByteArray("../../outside") << false;
    QTest::newRow("device") << 0020644 << QByteArray() << false;
}

/// The archives that some packaging tools of Linux make; 7-Zip does not.
void ArchiveLookTest::cpioIsLookedAt()
{
    QFETCH(int, mode);
    QFETCH(QByteArray, content);
    QFETCH(bool, isHarmless);
    offerUpdate({});
    archive("2.0") = cpioEntry("plugin/plugin.xpl", 0100644, "2.0") +
                     cpioEntry("plugin/door", mode, content) + cpioEntry("TRAILER!!!", 0, {});
    if (isHarmless)
        QVERIFY(m_engine->installAndWait(7, QStringLiteral("2.0")));
    else
        QVERIFY(updateChangesNothing(Kind::ENTRY_LEADS_OUT));
}

void ArchiveLookTest::folderOutsideIsRefused()
{
    Offer offer{8};
    offer.extract = QStringLiteral("../elsewhere");
    m_engine->offer(offer);
    QVERIFY(m_engine->refresh());
    const LogCapture log;
    QVERIFY(!m_engine->installAndWait(8));
    QVERIFY(m_engine->package(8)->failure().kind() == Kind::FOLDER_OUTSIDE);
    QVERIFY(log.contains(QStringLiteral("Installation failed : The package wants to be unpacked "
                                        "outside of the simulator: ../elsewhere")));
}

void ArchiveLookTest::failedFirstInstallationLeavesNothingBehind_data()
{
    QTest::addColumn<QString>("extract");
    QTest::newRow("simulator's folder") << QString();
    QTest::newRow("folder that exists") << QStringLiteral("Custom Scenery");
    QTest::newRow("folder that does not") << QStringLiteral("Resources/plugins");
}

void ArchiveLookTest::failedFirstInstallationLeavesNothingBehind()
{
    QFETCH(QString, extract);
    QVERIFY(
        writeFiles(m_engine->simulator({}), {{QStringLiteral("Custom Scenery/mine/a.txt"), "mine"},
                                             {QStringLiteral("mine/a.txt"), "mine"}}));
    const auto before = fileTree(m_engine->simulator({}));
    Offer offer{7};
    offer.extract = extract;
    m_engine->offer(offer);
    archive("1.0") = damagedArchiveOf({{QStringLiteral("a/b/c.txt"), "x"},
                                       {QStringLiteral("a/empty/"), ""},
                                       {QStringLiteral("mine/new.txt"), "x"}});
    QVERIFY(m_engine->refresh());
    QVERIFY(!m_engine->installAndWait(7));
    QVERIFY(m_engine->package(7)->failure().kind() == Kind::UNPACKING_FAILED);
    QVERIFY(!m_engine->package(7)->failure().isHarmless());
    QCOMPARE(fileTree(m_engine->simulator({})), before);
}

void ArchiveLookTest::replacedOriginalOfAFailedInstallationComesBack()
{
    const QString lights = QStringLiteral("Resources/lights.png");
    QVERIFY(writeFile(m_engine->simulator(lights), "original"));
    const auto before = fileTree(m_engine->simulator({}));
    Offer offer{7};
    offer.backup = QStringList{lights};
    m_engine->offer(offer);
    archive("1.0") = damagedArchiveOf({{lights, "the add-on's"}});
    QVERIFY(m_engine->refresh());
    QVERIFY(!m_engine->installAndWait(7));
    QCOMPARE(fileTree(m_engine->simulator({})), before);
}

KAVO_TEST_MAIN(ArchiveLookTest)
#include "ArchiveLookTest.moc"
