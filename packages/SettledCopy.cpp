#include "packages/SettledCopy.h"

#include "core/FileCopy.h"
#include "core/RegularFile.h"

#include <QCryptographicHash>
#include <QFile>

namespace Kavo::Models {

namespace {

constexpr auto Digest = QCryptographicHash::Sha256;

/// What the mark of a copy says, empty when there is none.
QByteArray broughtFor(const QString &copy)
{
    QFile mark(settledMarkOf(copy));
    const QByteArray brought =
        openRegular(mark, QIODevice::ReadOnly) ? mark.readAll() : QByteArray();
    // After a sudden end the mark may be there in part.
    return brought.size() == QCryptographicHash::hashLength(Digest) ? brought : QByteArray();
}

} // namespace

void settle(const QString &copy, const QString &brought)
{
    const QByteArray digest = digestOf(brought);
    QFile mark(settledMarkOf(copy));
    if (!digest.isEmpty() && mark.open(QIODevice::WriteOnly))
        mark.write(digest);
}

void unsettle(const QString &copy)
{
    QFile::remove(settledMarkOf(copy));
}

bool isOlder(const QString &copy, const QString &file)
{
    const QByteArray brought = broughtFor(copy);
    const QByteArray present = digestOf(file);
    return !brought.isEmpty() && !present.isEmpty() && present != brought;
}

bool isAsBrought(const QString &copy, const QString &file)
{
    const QByteArray brought = broughtFor(copy);
    return !brought.isEmpty() && digestOf(file) == brought;
}

QByteArray digestOf(const QString &path)
{
    QFile file(path);
    QCryptographicHash hash(Digest);
    if (!openRegular(file, QIODevice::ReadOnly) || !hash.addData(&file))
        return QByteArray();
    return hash.result();
}

QString settledMarkOf(const QString &copy)
{
    return hiddenBeside(copy, QStringLiteral("settled"));
}

} // namespace Kavo::Models
