#include "tools/simulation/ScratchSimulator.h"

#include "core/FolderRemoval.h"
#include "core/Installation.h"
#include "packages/installation/ArchiveClaim.h"
#include "packages/installation/CommonPlaces.h"
#include "packages/installation/InstallationTask.h"

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <utility>

namespace Kavo::Tools {

namespace {

bool writeFile(const QString &path, const QByteArray &content)
{
    QFile file(path);
    return QDir().mkpath(QFileInfo(path).path()) && file.open(QIODevice::WriteOnly) &&
           file.write(content) == content.size() && file.flush();
}

QByteArray contentOfOriginal(const QString &place)
{
    return "The simulator's own " + place.toUtf8() + '\n';
}

} // namespace

ScratchSimulator::ScratchSimulator(QString extractor) : m_extractor(std::move(extractor)) {}

bool ScratchSimulator::reset()
{
    if (!m_scratch.isValid() || !removeFolder(path(QStringLiteral("work"))))
        return false;
    bool isDone = true;
    for (const QString &place : commonPlaces()) {
        // 7-Zip would replace an empty folder by a file.
        const bool isFile = place == simulatorExecutable();
        const QString file = isFile ? place : place + QStringLiteral("/of the simulator");
        isDone = writeFile(folder() + file, QByteArray()) && isDone;
    }
    return isDone;
}

void ScratchSimulator::putOriginal(const QString &place) const
{
    writeFile(folder() + place, contentOfOriginal(place));
}

bool ScratchSimulator::hasOriginal(const QString &place) const
{
    QFile file(folder() + place);
    return QFileInfo(file).isFile() && file.open(QIODevice::ReadOnly) &&
           file.readAll() == contentOfOriginal(place);
}

/// Uses cp, which keeps times and links and avoids copying if the disk supports that.
bool ScratchSimulator::keep() const
{
    return removeFolder(path(QStringLiteral("kept"))) &&
           QProcess::execute(QStringLiteral("cp"),
                             {QStringLiteral("-aT"), QStringLiteral("--reflink=auto"),
                              path(QStringLiteral("work")), path(QStringLiteral("kept"))}) == 0;
}

bool ScratchSimulator::restore() const
{
    return removeFolder(path(QStringLiteral("work"))) &&
           QProcess::execute(QStringLiteral("cp"),
                             {QStringLiteral("-aT"), QStringLiteral("--reflink=auto"),
                              path(QStringLiteral("kept")), path(QStringLiteral("work"))}) == 0;
}

/// The task deletes its archive, so it gets a link.
Models::InstallationResult ScratchSimulator::install(const Models::PackagePointer &package,
                                                     const Models::PackageVersionPointer &version,
                                                     const QString &archive,
                                                     const QString &name) const
{
    const QString link = path(QStringLiteral("archives/")) + name;
    QDir().mkpath(path(QStringLiteral("archives")));
    QFile::remove(link);
    QFile::link(archive, link);
    const Models::PackageFolders folders{folder(), path(QStringLiteral("work/preserved/")),
                                         path(QStringLiteral("work/backed-up/"))};
    Models::ArchiveClaim claim(QSharedPointer<Models::ArchiveClaims>::create(), link);
    Models::InstallationTask task(package, version, std::move(claim), QByteArray(), folders,
                                  m_extractor);
    Models::RemovalPermit permit;
    // There is nothing to record before the removal.
    QObject::connect(
        &permit, &Models::RemovalPermit::asked, &permit, [&permit] { permit.grant(); },
        Qt::DirectConnection);
    return task.run(permit);
}

QSet<QString> ScratchSimulator::files() const
{
    QSet<QString> files;
    const QString top = folder();
    QDirIterator iterator(top,
                          QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                          QDirIterator::Subdirectories);
    while (iterator.hasNext()) {
        const QString path = iterator.next();
        const QFileInfo info = iterator.fileInfo();
        if (info.isSymLink() || !info.isDir())
            files.insert(path.mid(top.size()));
    }
    return files;
}

} // namespace Kavo::Tools
