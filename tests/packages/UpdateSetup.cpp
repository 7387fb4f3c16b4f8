#include "tests/packages/UpdateSetup.h"

#include "downloads/DownloadManager.h"
#include "tests/support/RunUntil.h"

#include <QDir>
#include <QRegularExpression>

namespace Kavo::Testing {

using Models::Download;
using Models::Package;

namespace {

const QString AddOnFolder = "plugin/"_s;
const QString Replaced = "lights.txt"_s;
const QString UserSettings = "plugin/settings.ini"_s;

const Files Original{{Replaced, "the simulator's own lights"}};
const Files OfTheUser{{UserSettings, "the user's settings"}};
const Files FirstVersion{{"plugin/disc.bin"_s, "version 1.0"}, {Replaced, "lights 1.0"}};
const QString SimulatorProgram = "X-Plane-x86_64"_s;
/// Other people's files. 7-Zip could take some names for an option or a list of files, and one path
/// begins like the add-on's folder.
const Files OfOthers{{"Aircraft/Others/plane.acf"_s, "a plane"},
                     {"Custom Scenery/scenery_packs.ini"_s, "a list"},
                     {"Custom Scenery/-y/@all"_s, "a scenery"},
                     {"plugins/plugin.xpl"_s, "a plug-in"}};

bool isOfTheAddOn(const QString &entry)
{
    return entry.startsWith(AddOnFolder) || entry == Replaced;
}

QString compareTrees(const QString &name, const FileTree &present, const FileTree &wanted)
{
    const QStringList wrong = differences(present, wanted);
    return wrong.isEmpty() ? QString() : "%1: %2; "_s.arg(name, wrong.join(", "_s));
}

} // namespace

UpdateSetup::UpdateSetup() : m_update(updateFiles()), m_others(OfOthers)
{
    m_others.insert(SimulatorProgram, readFile(m_engine.simulator(SimulatorProgram)));
    writeFiles(m_engine.simulator({}), files(Original));
    for (const QString &version : {"1.0"_s, "2.0"_s}) {
        const bool isUpdate = version == "2.0"_s;
        Offer offer{Id, version};
        offer.files = isUpdate ? m_update : FirstVersion;
        offer.preserve = QStringList{UserSettings};
        offer.backup = QStringList{Replaced};
        offer.remove = QStringList{AddOnFolder.chopped(1), Replaced};
        offer.link = isUpdate ? link() : "/first.7z"_s;
        m_engine.offer(offer);
    }
    if (!m_engine.refresh() || !m_engine.installAndWait(Id, "1.0"_s))
        qFatal("The first version cannot be installed");
    writeFiles(m_engine.simulator({}), OfTheUser);
}

QByteArray noise(quint32 seed, int size)
{
    QByteArray bytes;
    for (quint32 value = seed; bytes.size() < size; value = value * 1664525U + 1013904223U)
        bytes.append(static_cast<char>(value >> 24));
    return bytes;
}

Files updateFiles(quint32 seed, int size)
{
    return {{"plugin/disc.bin"_s, noise(seed, size)},
            {"plugin/sub/read me.txt"_s, "version 2.0"},
            {Replaced, "lights 2.0"}};
}

void UpdateSetup::startUpdate()
{
    m_outside = outside();
    m_engine.install(Id, "2.0"_s);
}

bool UpdateSetup::update()
{
    startUpdate();
    return waitForQuiet();
}

bool UpdateSetup::waitForQuiet()
{
    const auto isTransferring = [this] {
        const auto download = m_engine.downloads()->find(url());
        return download && download->getProcess() != Download::Process::Finished;
    };
    return m_engine.waitUntilSettled(Id) &&
           runUntil([&isTransferring] { return !isTransferring(); }, m_engine.patience());
}

bool UpdateSetup::restart()
{
    m_engine.stop();
    return m_engine.refresh();
}

bool UpdateSetup::restartWith(const QString &extractor)
{
    m_engine.setExtractor(extractor);
    return restart();
}

void UpdateSetup::expectInSimulator(const Files &files)
{
    m_others.insert(files);
}

QString UpdateSetup::loss()
{
    const Package::State state = package()->state();
    if (state == Package::INSTALL_ERROR && !package()->failure().isHarmless())
        return difference(files({}), OfTheUser, Original, true);
    const bool isUpdated = state == Package::INSTALLED && m_engine.recordedVersion(Id) == "2.0"_s;
    Files addOn = isUpdated ? m_update : FirstVersion;
    addOn.insert(UserSettings, OfTheUser.value(UserSettings));
    return difference(files(addOn), {}, Original, false);
}

QString UpdateSetup::wrongEnd(Package::State state)
{
    if (package()->state() != state || m_engine.recordedStatus(Id) != state)
        return "state %1, recorded as %2, instead of %3"_s.arg(package()->state())
            .arg(m_engine.recordedStatus(Id))
            .arg(state);
    return loss();
}

QString UpdateSetup::wrongUpdate(Package::State state, const QStringList &log)
{
    const LogCapture capture;
    if (!update())
        return "the update does not end"_s;
    const QString wrong = compareLog(capture.lines(), log);
    return wrong.isEmpty() ? wrongEnd(state) : wrong;
}

QString UpdateSetup::lossAfterRemoval()
{
    m_engine.controller().uninstall(package());
    return difference(files(Original), {}, {}, false);
}

Files UpdateSetup::files(const Files &addOn) const
{
    Files all = m_others;
    all.insert(addOn);
    return all;
}

QString UpdateSetup::difference(const Files &simulator, const Files &preserved,
                                const Files &backedUp, bool ignoresAddOn)
{
    FileTree present = fileTree(m_engine.simulator({}));
    if (ignoresAddOn) {
        const QStringList names = present.keys();
        for (const QString &name : names) {
            if (isOfTheAddOn(name) || m_update.contains(name))
                present.remove(name);
        }
    }
    // Empty folders are ignored, because those of former copies stay.
    const FileTree parked = filesOf(fileTree(m_engine.profile().preserveFolder()));
    const FileTree originals = filesOf(fileTree(m_engine.profile().backupFolder()));
    return compareTrees("simulator"_s, present, expectedTree(simulator)) +
           compareTrees("preserved"_s, parked, filesOf(expectedTree(preserved))) +
           compareTrees("backed up"_s, originals, filesOf(expectedTree(backedUp))) +
           compareTrees("outside"_s, outside(), m_outside);
}

/// Everything in the account except the simulator and the program's own data.
FileTree UpdateSetup::outside() const
{
    FileTree tree = fileTree(m_engine.profile().folder(QString()));
    const QStringList names = tree.keys();
    for (const QString &name : names) {
        if (name.startsWith("home/X-Plane/"_s) || name.startsWith("home/.local/share/Quarnell/"_s))
            tree.remove(name);
    }
    return tree;
}

QString compareLog(const QStringList &lines, const QStringList &pattern)
{
    QStringList expressions;
    for (const QString &line : pattern) {
        QStringList parts = line.split(QLatin1Char('*'));
        for (QString &part : parts)
            part = QRegularExpression::escape(part);
        expressions.append(parts.join(".*"_s));
    }
    for (int index = 0; index < qMax(lines.size(), pattern.size()); ++index) {
        const QRegularExpression expression(
            QRegularExpression::anchoredPattern(expressions.value(index)),
            QRegularExpression::DotMatchesEverythingOption);
        if (index >= lines.size() || index >= pattern.size() ||
            !expression.match(lines.at(index)).hasMatch())
            return "line %1 is not \"%2\" in:\n%3"_s.arg(index + 1).arg(
                pattern.value(index), lines.join(QLatin1Char('\n')));
    }
    return QString();
}

QStringList probeError()
{
    return {"Network Error : *"_s, "Header Error - *addon.7z : *"_s};
}

QStringList transferError()
{
    return {"Network Error : *"_s, "Download Error - *addon.7z : *"_s};
}

QStringList sizeError(int present, int expected)
{
    return {"Size Error : *addon.7z : %1 of %2 bytes"_s.arg(present).arg(expected)};
}

QStringList unpacked()
{
    return {"Removing directory : *plugin"_s, R"(Extract paramenter : *"x", "*addon.7z", "-o*)"_s,
            "Removing file : *addon.7z"_s};
}

QStringList refused(int exitCode)
{
    QStringList lines = unpacked();
    lines.insert(2, "Extractor Error : *"_s);
    lines.insert(3, "Extractor Error : %1"_s.arg(exitCode));
    lines.insert(4, "Installation failed : The archive could not be unpacked.*"_s);
    return lines;
}

QStringList turnedAway(const QString &reason)
{
    return {"Installation failed : "_s + reason, "Removing file : *addon.7z"_s};
}

} // namespace Kavo::Testing
