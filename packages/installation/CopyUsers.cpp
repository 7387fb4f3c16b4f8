#include "packages/installation/CopyUsers.h"

#include "core/FileCopy.h"
#include "core/RegularFile.h"

#include <QFile>
#include <QList>
#include <QMutex>
#include <QMutexLocker>

namespace Kavo::Models {

namespace {

/// Locked from reading a file to writing it.
QMutex marksMutex;

std::optional<QSet<int>> read(const QString &copy)
{
    QFile mark(usersMarkOf(copy));
    if (!openRegular(mark, QIODevice::ReadOnly))
        return std::nullopt;
    const QByteArray text = mark.readAll();
    // After a sudden end the file may be incomplete.
    if (!text.endsWith('\n'))
        return std::nullopt;
    QSet<int> users;
    const QList<QByteArray> ids = text.chopped(1).split(' ');
    for (const QByteArray &id : ids) {
        bool isNumber = true;
        if (!id.isEmpty())
            users.insert(id.toInt(&isNumber));
        if (!isNumber)
            return std::nullopt;
    }
    return users;
}

bool write(const QString &copy, const QSet<int> &users)
{
    QByteArray text;
    for (const int id : users)
        text += QByteArray::number(id) + ' ';
    text += '\n';
    QFile mark(usersMarkOf(copy));
    return openRegular(mark, QIODevice::WriteOnly | QIODevice::Unbuffered) &&
           mark.write(text) == text.size();
}

} // namespace

std::optional<QSet<int>> usersOf(const QString &copy)
{
    const QMutexLocker lock(&marksMutex);
    return read(copy);
}

bool setUnused(const QString &copy)
{
    const QMutexLocker lock(&marksMutex);
    return write(copy, {});
}

bool addUser(const QString &copy, int package)
{
    const QMutexLocker lock(&marksMutex);
    std::optional<QSet<int>> users = read(copy);
    if (!users || users->contains(package))
        return true;
    users->insert(package);
    return write(copy, *users);
}

bool removeUser(const QString &copy, int package)
{
    const QMutexLocker lock(&marksMutex);
    std::optional<QSet<int>> users = read(copy);
    if (users && !users->remove(package))
        return true;
    return write(copy, users.value_or(QSet<int>()));
}

QString usersMarkOf(const QString &copy)
{
    return hiddenBeside(copy, QStringLiteral("users"));
}

} // namespace Kavo::Models
