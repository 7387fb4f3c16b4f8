#include "tests/packages/ExtractionWitness.h"

#include "tests/support/Files.h"

#include <QFile>

namespace Kavo::Testing {

ExtractionWitness::ExtractionWitness(const QString &folder) : m_folder(folder)
{
    // The script starts no process except 7-Zip, because some tests unpack thousands of archives.
    const QByteArray script = "#!/bin/sh\n[ \"$1\" = x ] || exec /usr/bin/7z \"$@\"\n"
                              "notes=${0%/*}/witness\n"
                              "echo \"begin ${2##*/}\" >> \"$notes\"\n"
                              "/usr/bin/7z \"$@\"\nresult=$?\n"
                              "echo \"end ${2##*/}\" >> \"$notes\"\nexit $result\n";
    if (!writeFile(program(), script))
        qFatal("Cannot write the wrapper script for 7-Zip");
    QFile::setPermissions(program(), QFile::ReadOwner | QFile::ExeOwner);
}

QStringList ExtractionWitness::lines() const
{
    return QString::fromUtf8(readFile(notes())).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

bool ExtractionWitness::sawOneAtATime() const
{
    const QStringList seen = lines();
    if (seen.size() % 2 != 0)
        return false;
    for (int line = 0; line < seen.size(); line += 2) {
        const QString name = seen.at(line).section(QLatin1Char(' '), 1);
        if (seen.at(line) != "begin "_s + name || seen.at(line + 1) != "end "_s + name)
            return false;
    }
    return true;
}

} // namespace Kavo::Testing
