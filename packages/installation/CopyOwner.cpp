#include "packages/installation/CopyOwner.h"

#include "core/FileCopy.h"
#include "core/RegularFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>

namespace Kavo::Models {

namespace {

QByteArray numberOf(const QByteArray &folder)
{
    struct stat info = {};
    return ::stat(folder.constData(), &info) == 0 ? QByteArray::number(quint64(info.st_ino))
                                                  : QByteArray();
}

/// The folder comes last, because its name may contain any separator.
QByteArray textOf(const QByteArray &kind, const QByteArray &number, const QByteArray &folder)
{
    return kind + '\n' + number + '\n' + folder + '\n';
}

} // namespace

CopyOwner::CopyOwner(const QString &kind, const QString &simulator) : m_kind(kind.toUtf8())
{
    const QString real = QFileInfo(simulator).canonicalFilePath();
    m_folder = QFile::encodeName(
        real.isEmpty() ? QDir::cleanPath(QFileInfo(simulator).absoluteFilePath()) : real);
    m_number = numberOf(m_folder);
}

CopyOwner::Claim CopyOwner::claimOn(const QString &copy) const
{
    QFile file(markOf(copy));
    if (!openRegular(file, QIODevice::ReadOnly))
        return Claim::NONE;
    const QByteArray text = file.readAll();
    const int first = text.indexOf('\n');
    const int second = text.indexOf('\n', first + 1);
    // After a sudden end the mark may be incomplete.
    if (second < 0 || second + 1 == text.size() || !text.endsWith('\n'))
        return Claim::NONE;
    const QByteArray folder = text.mid(second + 1).chopped(1);
    if (text.left(first) != m_kind)
        return Claim::FOREIGN;
    if (folder == m_folder)
        return Claim::OWN;
    const bool hasMoved = !m_number.isEmpty() &&
                          text.mid(first + 1, second - first - 1) == m_number &&
                          !QFileInfo(QFile::decodeName(folder)).isDir();
    // The copy gets the new name of the folder, because another simulator may get the old one.
    if (hasMoved)
        mark(copy);
    return hasMoved ? Claim::OWN : Claim::FOREIGN;
}

bool CopyOwner::mark(const QString &copy) const
{
    const QByteArray text = textOf(m_kind, m_number, m_folder);
    QFile file(markOf(copy));
    return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) &&
           file.write(text) == text.size();
}

void CopyOwner::unmark(const QString &copy)
{
    QFile::remove(markOf(copy));
}

QString CopyOwner::markOf(const QString &copy)
{
    return hiddenBeside(copy, QStringLiteral("owner"));
}

} // namespace Kavo::Models
