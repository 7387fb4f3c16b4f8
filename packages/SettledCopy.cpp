#include "packages/SettledCopy.h"

#include "core/FileCopy.h"

#include <QCryptographicHash>
#include <QFile>

namespace Kavo::Models {

namespace {

constexpr auto Digest = QCryptographicHash::Sha256;

/// What tells the content of a file from all others, empty when it cannot be read.
QByteArray digestOf(const QString &path)
{
    QFile file(path);
    QCryptographicHash hash(Digest);
    if (!file.open(QIODevice::ReadOnly) || !hash.addData(&file))
        return QByteArray();
    return hash.result();
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
    QFile mark(settledMarkOf(copy));
    if (!mark.open(QIODevice::ReadOnly))
        return false;
    const QByteArray brought = mark.readAll();
    const QByteArray present = digestOf(file);
    // After a sudden end the mark may be there in part.
    return brought.size() == QCryptographicHash::hashLength(Digest) && !present.isEmpty() &&
           present != brought;
}

QString settledMarkOf(const QString &copy)
{
    return hiddenBeside(copy, QStringLiteral("settled"));
}

} // namespace Kavo::Models
