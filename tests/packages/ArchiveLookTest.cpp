#include "core/Installation.h"
#include "tests/packages/EngineTest.h"
#include "tests/packages/GatedExtractor.h"
#include "tests/support/Archives.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Rows.h"
#include "tests/support/RunUntil.h"
#include "tests/support/TestMain.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <sys/stat.h>
#include <unistd.h>

using namespace Kavo;
using namespace Kavo::Models;
using namespace Kavo::Testing;
using Kind = FailureReason::Kind;

Q_DECLARE_METATYPE(FailureReason::Kind)

const QString AddOn = "plugin/plugin.xpl"_s;

/// An entry in the cpio format "newc": a magic number, thirteen numbers of eight hexadecimal
/// digits, the name and the content, each part padded to four bytes.
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

/// A valid archive of version 2.0.
QByteArray content()
{
    static const QByteArray bytes = archiveOf({{AddOn, "2.0"}}, "zip"_s);
    return bytes;
}

/// Real installations that test the checks of the archive and the simulator: if one fails, nothing
/// is changed and the previous version stays installed. Also tests the cleanup after a first
/// installation that failed later.
class ArchiveLookTest final : public EngineTest
{
    Q_OBJECT

private slots:
    void archiveMustBeTheOneOfTheCatalogue_data()
    {
        const QJsonObject right = keysOf(content());
        const auto with = [&right](const char *key, const QJsonValue &value) {
            QJsonObject keys = right;
            keys.insert(QLatin1String(key), value);
            return keys;
        };
        const QString digest = right.value("sha256"_s).toString();
        const QString another = (digest.at(0) == u'0' ? u'1' : u'0') + digest.mid(1);
        Rows<QJsonObject, Kind>()
            .row("right", right, Kind::NONE)
            .row("right, in capitals", with("sha256", digest.toUpper()), Kind::NONE)
            .row("one byte more", with("size", content().size() - 1), Kind::SIZE_DIFFERS)
            .row("one byte less", with("size", content().size() + 1), Kind::SIZE_DIFFERS)
            .row("nothing expected", with("size", 0), Kind::SIZE_DIFFERS)
            .row("another content", with("sha256", another), Kind::CHECKSUM_DIFFERS)
            .row("half a digest", with("sha256", digest.left(32)), Kind::CHECKSUM_DIFFERS)
            .row("no digest", with("sha256", "unknown"_s), Kind::CHECKSUM_DIFFERS)
            // A size or digest that is not a valid value is ignored.
            .row("empty digest", QJsonObject{{"sha256"_s, QString()}}, Kind::NONE)
            .row("digest that is no text", QJsonObject{{"sha256"_s, 5}}, Kind::NONE)
            .row("size that is no number", QJsonObject{{"size"_s, "many"_s}}, Kind::NONE)
            .row("negative size", QJsonObject{{"size"_s, -1}}, Kind::NONE)
            .row("half a byte", QJsonObject{{"size"_s, 0.5}}, Kind::NONE)
            .row("size beyond all numbers", QJsonObject{{"size"_s, 1e300}}, Kind::NONE)
            .row("no size", QJsonObject{{"size"_s, QJsonValue()}}, Kind::NONE);
    }
    void archiveMustBeTheOneOfTheCatalogue()
    {
        const auto [keys, kind] = Rows<QJsonObject, Kind>::current();
        offerUpdate(keys);
        archive(7, "2.0"_s).body = content();
        updateEndsWith(kind);
        // An archive that was refused is deleted, or a later download would resume it.
        QCOMPARE(filesUnder(cached({})).filter("package-7"_s), QStringList());
    }

    void resumedArchiveIsCompared_data()
    {
        const int all = content().size();
        Rows<int, bool>()
            .row("right, half of it is there", all / 2, true)
            .row("right, all of it is there", all, true)
            .row("wrong, half of it is there", all / 2, false)
            .row("wrong, all of it is there", all, false);
    }
    void resumedArchiveIsCompared()
    {
        const auto [present, isRight] = Rows<int, bool>::current();
        offerUpdate(keysOf(content()));
        archive(7, "2.0"_s).body = content();
        QByteArray half = content().left(present);
        if (!isRight)
            half[present / 2] = static_cast<char>(~half.at(present / 2));
        QVERIFY(writeFile(cachedArchive(7, "2.0"_s), half));
        updateEndsWith(isRight ? Kind::NONE : Kind::CHECKSUM_DIFFERS);
    }

    void sharedArchiveIsComparedForEach()
    {
        const QByteArray shared = archiveOf({{"shared.txt"_s, "x"}}, "zip"_s);
        // Any of the three packages may start the transfer.
        for (const int id : {1, 2, 3}) {
            const QJsonObject keys[] = {{}, keysOf(shared), keysOf("something else")};
            offer(Offer{id}.at("/shared.zip"_s).with(keys[id - 1]));
        }
        server().resource("/shared.zip"_s).body = shared;
        QVERIFY(refresh());
        for (const int id : {1, 2, 3})
            install(id);
        for (const int id : {1, 2, 3})
            QVERIFY(waitUntilSettled(id));
        QCOMPARE(state(1), Package::INSTALLED);
        QCOMPARE(state(2), Package::INSTALLED);
        QCOMPARE(state(3), Package::INSTALL_ERROR);
    }

    void simulatorThatIsGoneIsNotMadeAnew_data()
    {
        Rows<bool>().row("empty place of a disk", true).row("no folder", false);
    }
    void simulatorThatIsGoneIsNotMadeAnew()
    {
        const auto [hasFolder] = Rows<bool>::current();
        offerUpdate({});
        const QString folder = simulator({}).chopped(1);
        const QString elsewhere = profile().folder("elsewhere"_s) + "simulator"_s;
        const auto before = fileTree(folder);
        QVERIFY(QDir().rename(folder, elsewhere));
        if (hasFolder)
            QVERIFY(QDir().mkpath(folder));

        QVERIFY(!installAndWait(7, "2.0"_s));
        QVERIFY(package(7)->failure().kind() == Kind::SIMULATOR_MISSING);
        QCOMPARE(QFileInfo::exists(folder), hasFolder);
        QCOMPARE(fileTree(folder).keys(), QStringList());

        QDir().rmdir(folder);
        QVERIFY(QDir().rename(elsewhere, folder));
        QVERIFY(refresh());
        QCOMPARE(fileTree(folder), before);
        QCOMPARE(state(7), Package::INSTALLED);
        QVERIFY(installAndWait(7, "2.0"_s));
    }

    void simulatorForWindowsIsOne()
    {
        offerUpdate({});
        QVERIFY(QFile::rename(simulator(simulatorExecutable()), simulator("X-Plane.exe"_s)));
        QVERIFY(installAndWait(7, "2.0"_s));
    }

    void archiveMustBeARegularFile_data()
    {
        Rows<QString> rows;
        for (const char *replacement : {"nothing", "folder", "pipe", "link to nothing"})
            rows.row(replacement, replacement);
    }
    void archiveMustBeARegularFile()
    {
        const auto [replacement] = Rows<QString>::current();
        const GatedExtractor extractor(engine());
        for (const int id : {1, 2})
            offer({id});
        QVERIFY(refresh());
        install(1);
        QVERIFY(extractor.waitUntilReached());
        install(2);
        QVERIFY(waitForState(2, Package::INSTALLING));

        const QString archive = cachedArchive(2);
        const QByteArray path = QFile::encodeName(archive);
        QVERIFY(QFile::remove(archive));
        if (replacement == "folder"_s)
            QVERIFY(QDir().mkpath(archive));
        else if (replacement == "pipe"_s)
            QCOMPARE(::mkfifo(path.constData(), 0600), 0);
        else if (replacement == "link to nothing"_s)
            QCOMPARE(::symlink("nowhere", path.constData()), 0);
        extractor.open();
        QVERIFY(waitUntilSettled(2));
        QVERIFY(package(2)->failure().kind() == Kind::ARCHIVE_MISSING);
        QVERIFY(!hasFile(2));
    }

    void linksAreLookedAtInEveryFormat_data()
    {
        Rows<QString, QString> rows;
        for (const char *format : {"7z", "zip", "tar", "wim"}) {
            rows.row(QByteArray(format) + ", inside", format, "plugin.xpl")
                .row(QByteArray(format) + ", outside", format, "../../outside")
                .row(QByteArray(format) + ", absolute", format, "/etc");
        }
    }
    void linksAreLookedAtInEveryFormat()
    {
        const auto [format, target] = Rows<QString, QString>::current();
        offerUpdate({});
        const QString folder = profile().folder("packing"_s);
        const QString packed = profile().folder(QString()) + "a."_s + format;
        QVERIFY(writeFile(folder + AddOn, "2.0") && QFile::link(target, folder + "plugin/door"_s));
        QProcess process;
        process.setWorkingDirectory(folder);
        process.start("/usr/bin/7z"_s, {"a"_s, "-snl"_s, packed, "plugin"_s});
        QVERIFY(process.waitForFinished(-1) && process.exitCode() == 0);
        archive(7, "2.0"_s).body = readFile(packed);

        const bool isInside = !target.contains(u'/');
        updateEndsWith(isInside ? Kind::NONE : Kind::ENTRY_LEADS_OUT);
        QVERIFY(!isInside || inSimulator("plugin/door"_s) == "2.0");
    }

    void cpioIsLookedAt_data()
    {
        Rows<int, QByteArray, bool>()
            .row("file", 0100644, "x", true)
            .row("link inside", 0120777, "plugin.xpl", true)
            .row("link outside", 0120777, "../../outside", false)
            .row("device", 0020644, QByteArray(), false);
    }
    /// 7-Zip cannot create cpio archives, but some Linux tools do.
    void cpioIsLookedAt()
    {
        const auto [mode, content, isHarmless] = Rows<int, QByteArray, bool>::current();
        offerUpdate({});
        archive(7, "2.0"_s).body = cpioEntry("plugin/plugin.xpl", 0100644, "2.0") +
                                   cpioEntry("plugin/door", mode, content) +
                                   cpioEntry("TRAILER!!!", 0, {});
        updateEndsWith(isHarmless ? Kind::NONE : Kind::ENTRY_LEADS_OUT);
    }

    void folderOutsideIsRefused()
    {
        QVERIFY(publish({Offer{8}.into("../elsewhere"_s)}));
        const LogCapture log;
        QVERIFY(!installAndWait(8));
        QVERIFY(package(8)->failure().kind() == Kind::FOLDER_OUTSIDE);
        QVERIFY(log.contains("Installation failed : The package wants to be unpacked "
                             "outside of the simulator: ../elsewhere"_s));
    }

    void failedFirstInstallationLeavesNothingBehind_data()
    {
        Rows<QString>()
            .row("simulator's folder", QString())
            .row("folder that exists", "Custom Scenery")
            .row("folder that does not", "Resources/plugins");
    }
    void failedFirstInstallationLeavesNothingBehind()
    {
        const auto [extract] = Rows<QString>::current();
        QVERIFY(writeFiles(simulator({}),
                           {{"Custom Scenery/mine/a.txt"_s, "mine"}, {"mine/a.txt"_s, "mine"}}));
        const auto before = fileTree(simulator({}));
        offer(Offer{7}.into(extract));
        archive(7).body =
            damagedArchiveOf({{"a/b/c.txt"_s, "x"}, {"a/empty/"_s, ""}, {"mine/new.txt"_s, "x"}});
        QVERIFY(refresh());
        QVERIFY(!installAndWait(7));
        QVERIFY(package(7)->failure().kind() == Kind::UNPACKING_FAILED);
        QVERIFY(!package(7)->failure().isHarmless());
        QCOMPARE(fileTree(simulator({})), before);
    }

    void replacedOriginalOfAFailedInstallationComesBack()
    {
        const QString lights = "Resources/lights.png"_s;
        QVERIFY(writeFile(simulator(lights), "original"));
        const auto before = fileTree(simulator({}));
        offer(Offer{7}.backingUp({lights}));
        archive(7).body = damagedArchiveOf({{lights, "the add-on's"}});
        QVERIFY(refresh());
        QVERIFY(!installAndWait(7));
        QCOMPARE(fileTree(simulator({})), before);
    }

private:
    /// Offers 1.0, and 2.0 with these additional keys. Installs 1.0.
    void offerUpdate(const QJsonObject &keys)
    {
        const Offer first = Offer{7}.bringing({{AddOn, "1.0"}}).removing({"plugin"_s});
        Offer second = first.bringing({{AddOn, "2.0"}}).with(keys);
        second.version = "2.0"_s;
        QVERIFY(publish({first, second}) && installAndWait(7, "1.0"_s));
    }

    static QJsonObject keysOf(const QByteArray &archive)
    {
        const QByteArray digest = QCryptographicHash::hash(archive, QCryptographicHash::Sha256);
        return {{"size"_s, archive.size()}, {"sha256"_s, QString::fromLatin1(digest.toHex())}};
    }

    /// Updates to 2.0 and checks the reason of the failure. NONE stands for success. After a
    /// failure the files of 1.0 must be unchanged, and it must be shown as installed after a
    /// refresh.
    void updateEndsWith(Kind kind)
    {
        const auto before = fileTree(simulator({}));
        const LogCapture log;
        QCOMPARE(installAndWait(7, "2.0"_s), kind == Kind::NONE);
        const FailureReason reason = package(7)->failure();
        QVERIFY(reason.kind() == kind);
        if (kind == Kind::NONE) {
            QCOMPARE(inSimulator(AddOn), "2.0");
            return;
        }
        QCOMPARE(state(7), Package::INSTALL_ERROR);
        QVERIFY(reason.isHarmless());
        QVERIFY(log.contains("Installation failed : "_s + reason.logText()));
        QCOMPARE(fileTree(simulator({})), before);
        QVERIFY(refresh());
        QCOMPARE(state(7), Package::INSTALLED);
        QCOMPARE(recordedVersion(7), "1.0"_s);
    }
};

KAVO_TEST_MAIN(ArchiveLookTest)
#include "ArchiveLookTest.moc"
