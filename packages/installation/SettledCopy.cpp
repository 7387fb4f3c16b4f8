#include "packages/installation/SettledCopy.h"

#include "core/FileCopy.h"
#include "core/RegularFile.h"
#include "core/Sha256.h"

#include <QFile>

namespace Kavo::Models {

namespace {

/// The content of a copy's mark, empty if there is none.
QByteArray broughtFor(const QString &copy)
{
    QFile mark(settledMarkOf(copy));
    const QByteArray brought =
        openRegular(mark, QIODevice::ReadOnly) ? mark.readAll() : QByteArray();
    // After a sudden end the mark may be incomplete.
    return brought.size() == Sha256::Length ? brought : QByteArray();
}

} // namespace

void settle(const QString &copy, const QString &brought)
{
    const QByteArray digest = Sha256::ofFile(brought);
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
    const QByteArray present = Sha256::ofFile(file);
    return !brought.isEmpty() && !present.isEmpty() && present != brought;
}

bool isAsBrought(const QString &copy, const QString &file)
{
    const QByteArray brought = broughtFor(copy);
    return !brought.isEmpty() && Sha256::ofFile(file) == brought;
}

QString settledMarkOf(const QString &copy)
{
    return hiddenBeside(copy, QStringLiteral("settled"));
}

} // namespace Kavo::Models
