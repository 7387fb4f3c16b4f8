#include "packages/CopyStore.h"

#include "core/FileCopy.h"
#include "core/Paths.h"
#include "core/RegularFile.h"
#include "packages/ContainedPath.h"
#include "packages/SettledCopy.h"

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
    // No rule of a catalogue names a mark.
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
    return {CopyOwner::markOf(copy), settledMarkOf(copy)};
}

void removeMarks(const QString &copy)
{
    for (const QString &mark : marksOf(copy))
        QFile::remove(mark);
}

/// The marks are there before the copy comes and go after it has gone, so that it always has them.
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
    : m_owner(nameOf(kind), folders.simulator)
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
    if (place.isEmpty() || isOwn(place, entry, m_folders.copies))
        return place;
    const QString other = findElsewhere(entry);
    const bool broughtIn = !other.isEmpty() && makeRoom(place, entry) && moveCopy(other, place);
    return broughtIn ? place : other;
}

bool CopyStore::add(const QString &entry, const QString &source) const
{
    const QString place = makePlace(entry);
    if (place.isEmpty() || isSameFile(source, place) || !makeRoom(place, entry))
        return false;
    unsettle(place);
    if (m_owner.mark(place) && copyWhole(source, place))
        return true;
    removeMarks(place);
    return false;
}

void CopyStore::giveUp(const QString &entry) const
{
    const QString copy = find(entry);
    const QString place = copy.isEmpty() ? this->place(entry) : copy;
    if (place.isEmpty() || (copy.isEmpty() && isTaken(place)))
        return;
    // A sudden end may have left it in two places when it was brought in from another disk.
    const QString twin = copy.isEmpty() ? QString() : findElsewhere(entry);
    if (!twin.isEmpty() && twin != copy && haveEqualContent(copy, twin)) {
        QFile::remove(twin);
        removeMarks(twin);
    }
    CopyOwner::unmark(place);
    QFile::remove(copy);
    unsettle(place);
}

/// Where a copy of an entry may wait in a folder.
QStringList CopyStore::waitingPlaces(const QString &folder, const QString &entry) const
{
    QStringList places;
    const QStringList names = QDir(folder).entryList({waitingPrefix() + QLatin1Char('*')},
                                                     QDir::Dirs | QDir::Hidden, QDir::Name);
    for (const QString &name : names) {
        const QString place = placeIn(QDir(folder).filePath(name), entry);
        if (!place.isEmpty())
            places.append(place);
    }
    return places;
}

QString CopyStore::findElsewhere(const QString &entry) const
{
    const QStringList folders = QStringList(m_folders.copies) + m_folders.former;
    for (const QString &folder : folders) {
        const QString place = folder == m_folders.copies ? QString() : placeIn(folder, entry);
        if (!place.isEmpty() && isOwn(place, entry, folder))
            return place;
        for (const QString &waiting : waitingPlaces(folder, entry)) {
            if (m_owner.claimOn(waiting) == CopyOwner::Claim::OWN && QFileInfo::exists(waiting))
                return waiting;
        }
    }
    return QString();
}

bool CopyStore::isOwn(const QString &copy, const QString &entry, const QString &folder) const
{
    if (!QFileInfo::exists(copy) || isSameFile(copy, containedPath(m_folders.simulator, entry)))
        return false;
    const CopyOwner::Claim claim = m_owner.claimOn(copy);
    return claim == CopyOwner::Claim::OWN ||
           (claim == CopyOwner::Claim::NONE && !isInFolder(m_folders.simulator, folder));
}

/// Has a stranger's copy wait elsewhere. Returns whether the place is free.
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
