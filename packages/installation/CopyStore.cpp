#include "packages/installation/CopyStore.h"

#include "core/ContainedPath.h"
#include "core/FileCopy.h"
#include "core/Log.h"
#include "core/Paths.h"
#include "core/RegularFile.h"
#include "packages/installation/CopyUsers.h"
#include "packages/installation/SettledCopy.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <utility>

namespace Kavo::Models {

namespace {

const QString &waitingPrefix()
{
    static const QString prefix = QStringLiteral(".kavo-copies-");
    return prefix;
}

const QString &asidePrefix()
{
    static const QString prefix = QStringLiteral(".kavo-earlier-");
    return prefix;
}

QString nameOf(CopyStore::Kind kind)
{
    switch (kind) {
    case CopyStore::Kind::KEPT:
        return QStringLiteral("kept");
    case CopyStore::Kind::ORIGINAL:
        return QStringLiteral("original");
    }
    return QString();
}

QString placeIn(const QString &folder, const QString &entry)
{
    // A rule of a catalogue must not name a mark.
    if (entry.startsWith(QLatin1String(".kavo-")) || entry.contains(QLatin1String("/.kavo-")))
        return QString();
    const QString place = containedPath(folder, entry);
    return !place.isEmpty() && staysWithin(place, {folder}) ? place : QString();
}

bool makeParent(const QString &path)
{
    return QDir().mkpath(QFileInfo(path).path());
}

QStringList marksOf(const QString &copy)
{
    return {CopyOwner::markOf(copy), settledMarkOf(copy), usersMarkOf(copy)};
}

void removeMarks(const QString &copy)
{
    for (const QString &mark : marksOf(copy))
        QFile::remove(mark);
}

/// The marks are written before the copy and removed after it, so that a copy always has its marks.
bool moveCopy(const QString &from, const QString &to)
{
    if (!makeParent(to) || isTaken(to))
        return false;
    const QStringList targets = marksOf(to);
    const QStringList sources = marksOf(from);
    bool moves = true;
    for (int index = 0; index < sources.size(); ++index) {
        QFile::remove(targets.at(index));
        moves = moves && (!QFile::exists(sources.at(index)) ||
                          QFile::copy(sources.at(index), targets.at(index)));
    }
    moves = moves && moveWhole(from, to);
    removeMarks(moves ? from : to);
    return moves;
}

} // namespace

CopyStore::CopyStore(Kind kind, Folders folders)
    : m_kind(kind)
    , m_owner(nameOf(kind), folders.simulator)
    , m_folders(std::move(folders))
{}

QString CopyStore::place(const QString &entry) const
{
    return placeIn(m_folders.copies, entry);
}

QString CopyStore::makePlace(const QString &entry) const
{
    ensureDirectory(m_folders.copies, true);
    const QString place = this->place(entry);
    return !place.isEmpty() && makeParent(place) ? place : QString();
}

QString CopyStore::find(const QString &entry) const
{
    const QString place = this->place(entry);
    const QVector<Place> places = this->places(entry);
    // An unmarked file that happens to have the same name must not hide a marked copy.
    for (const bool marked : {true, false}) {
        for (const Place &other : places) {
            if (!isOwn(other, entry, marked))
                continue;
            const bool isThere =
                other.path == place || (makeRoom(place, entry) && moveCopy(other.path, place));
            return isThere ? place : other.path;
        }
    }
    return QString();
}

bool CopyStore::add(const QString &entry, const QString &source) const
{
    const QString place = makePlace(entry);
    if (place.isEmpty() || isSameFile(source, place) || !makeRoom(place, entry))
        return false;
    removeMarks(place);
    const bool isMarked = (m_kind == Kind::KEPT || setUnused(place)) && m_owner.mark(place);
    if (isMarked && copyWhole(source, place))
        return true;
    removeMarks(place);
    return false;
}

bool CopyStore::setAside(const QString &entry) const
{
    QString copy = find(entry);
    while (!copy.isEmpty()) {
        const QString place = placeAside(entry);
        if (place.isEmpty() || !moveCopy(copy, place)) {
            logLine(QStringLiteral("Copy is not set aside : ") + copy);
            return false;
        }
        logLine(QStringLiteral("Copy is set aside : %1 -> %2").arg(copy, place));
        copy = find(entry);
    }
    return true;
}

/// Returns the first free folder, empty if there is none.
QString CopyStore::placeAside(const QString &entry) const
{
    QString place;
    for (int number = 1; place.isEmpty() || isTaken(place); ++number) {
        const QString folder =
            QDir(m_folders.copies).filePath(asidePrefix() + QString::number(number));
        ensureDirectory(folder, true);
        place = placeIn(folder, entry);
        if (place.isEmpty())
            break;
    }
    return place;
}

void CopyStore::giveUp(const QString &entry) const
{
    const QString copy = find(entry);
    const QString place = copy.isEmpty() ? this->place(entry) : copy;
    if (place.isEmpty() || (copy.isEmpty() && isTaken(place)))
        return;
    // If the program ended suddenly while it moved the copy from another disk, the copy is in two
    // places.
    for (const Place &twin : places(entry)) {
        if (twin.path != copy && isOwn(twin, entry, true) && haveEqualContent(copy, twin.path)) {
            QFile::remove(twin.path);
            removeMarks(twin.path);
        }
    }
    CopyOwner::unmark(place);
    // Without a copy there are only marks to remove.
    if (!copy.isEmpty())
        QFile::remove(copy);
    removeMarks(place);
}

/// All places where a copy of an entry may be, the proper one first.
QVector<CopyStore::Place> CopyStore::places(const QString &entry) const
{
    QVector<Place> places;
    const QStringList folders = QStringList(m_folders.copies) + m_folders.former;
    for (const QString &folder : folders) {
        QStringList names = QDir(folder).entryList({waitingPrefix() + QLatin1Char('*')},
                                                   QDir::Dirs | QDir::Hidden, QDir::Name);
        names.prepend(QStringLiteral("."));
        for (const QString &name : qAsConst(names)) {
            const bool waits = name != QLatin1String(".");
            const QString path = placeIn(waits ? QDir(folder).filePath(name) : folder, entry);
            if (!path.isEmpty())
                places.append({path, waits || isInFolder(m_folders.simulator, folder)});
        }
    }
    return places;
}

bool CopyStore::isOwn(const Place &copy, const QString &entry, bool marked) const
{
    if (!QFileInfo::exists(copy.path) ||
        isSameFile(copy.path, containedPath(m_folders.simulator, entry)))
        return false;
    const CopyOwner::Claim claim = m_owner.claimOn(copy.path);
    return marked ? claim == CopyOwner::Claim::OWN
                  : claim == CopyOwner::Claim::NONE && !copy.needsMark;
}

/// Moves another owner's copy aside. Returns whether the path is free.
bool CopyStore::makeRoom(const QString &copy, const QString &entry) const
{
    if (!isTaken(copy))
        return true;
    QFile mark(CopyOwner::markOf(copy));
    if (m_owner.claimOn(copy) != CopyOwner::Claim::FOREIGN ||
        !openRegular(mark, QIODevice::ReadOnly))
        return false;
    const QByteArray owner = QCryptographicHash::hash(mark.readAll(), QCryptographicHash::Sha1);
    const QString folder =
        QDir(m_folders.copies)
            .filePath(waitingPrefix() + QString::fromLatin1(owner.toHex().left(16)));
    ensureDirectory(folder, true);
    const QString waiting = placeIn(folder, entry);
    return !waiting.isEmpty() && moveCopy(copy, waiting);
}

} // namespace Kavo::Models
