#include "tests/support/StandInLocate.h"
#include "tests/support/Literals.h"

#include <QFile>

namespace Kavo::Testing {

StandInLocate::StandInLocate(const QStringList &lines, int exitCode) : m_pathBefore(qgetenv("PATH"))
{
    QByteArray text = "cat <<'END_OF_LIST'\n";
    for (const QString &line : lines)
        text += QFile::encodeName(line) + '\n';
    text += "END_OF_LIST\nexit " + QByteArray::number(exitCode) + '\n';
    setScript(text);
    qputenv("PATH", QFile::encodeName(m_folder.path()) + ':' + m_pathBefore);
}

StandInLocate::~StandInLocate()
{
    qputenv("PATH", m_pathBefore);
}

void StandInLocate::setScript(const QByteArray &text)
{
    QFile file(m_folder.filePath("locate"_s));
    if (!file.open(QIODevice::WriteOnly))
        qFatal("The stand-in for locate cannot be written");
    file.write("#!/bin/sh\nprintf '%s\\n' \"$@\" > \"${0%/*}/arguments\"\n" + text);
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

void StandInLocate::setMissing()
{
    QFile::remove(m_folder.filePath("locate"_s));
    qputenv("PATH", QFile::encodeName(m_folder.path()));
}

QStringList StandInLocate::arguments() const
{
    QFile file(m_folder.filePath("arguments"_s));
    if (!file.open(QIODevice::ReadOnly))
        return QStringList();
    return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

} // namespace Kavo::Testing
