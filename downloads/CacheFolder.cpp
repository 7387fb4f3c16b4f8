#include "downloads/CacheFolder.h"

#include "core/Paths.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUrl>

#include <algorithm>

namespace Kavo::Managers {

using Models::Download;

namespace {

const QString FetchPrefix = QStringLiteral(".kavo-fetch-");

/// A short text that is always the same for one address, so that a later run resumes the same file.
QString addressMark(const QUrl &url)
{
    const QByteArray hash =
        QCryptographicHash::hash(url.toEncoded(), QCryptographicHash::Sha1).toHex().left(8);
    return QString::fromLatin1(hash);
}

} // namespace

CacheFolder::CacheFolder(const QString &path) : m_path(path)
{
    ensureDirectory(m_path, true);
    QDir folder(m_path);
    const QStringList leftovers =
        folder.entryList({FetchPrefix + QLatin1Char('*')}, QDir::Files | QDir::Hidden);
    for (const QString &name : leftovers)
        folder.remove(name);
}

void CacheFolder::settle(const DownloadPointer &download)
{
    if (download->getPath().isEmpty())
        download->setPath(pathFor(*download));
    m_holders[download->getPath()].append(download.toWeakRef());
}

QString CacheFolder::pathFor(Download &download)
{
    const QString path = m_path + QDir::separator() + download.getFileName();
    const QString beside = path + QLatin1Char('.') + addressMark(download.getRequest()->url());
    if (isHeldByOthers(path, download) || !holdersOf(beside).isEmpty())
        return beside;
    // A partial file from an earlier run, made while the plain name was taken.
    if (!QFileInfo(beside).isFile())
        return path;
    if (download.isRestart()) {
        QFile::remove(beside);
        return path;
    }
    // The file with the plain name may be a part of the other address's file.
    return QFile::rename(beside, path) ? path : beside;
}

bool CacheFolder::isHeldByOthers(const QString &path, const Download &newcomer)
{
    const auto &holders = holdersOf(path);
    const QUrl address = newcomer.getRequest()->url();
    return std::any_of(holders.cbegin(), holders.cend(),
                       [&address](const QWeakPointer<Download> &holder) {
                           const DownloadPointer other = holder.toStrongRef();
                           return other && other->getRequest()->url() != address;
                       });
}

const QVector<QWeakPointer<Download>> &CacheFolder::holdersOf(const QString &path)
{
    static const QVector<QWeakPointer<Download>> nobody;
    const auto holders = m_holders.find(path);
    if (holders == m_holders.end())
        return nobody;
    holders->erase(
        std::remove_if(holders->begin(), holders->end(),
                       [](const QWeakPointer<Download> &holder) { return holder.isNull(); }),
        holders->end());
    return *holders;
}

QString CacheFolder::beginWriting(const Download &download)
{
    QString file = download.getPath();
    // Resumable transfers all need the same file.
    if (download.isRestart() && m_writers.contains(file))
        file = QFileInfo(file).path() + QDir::separator() + FetchPrefix +
               download.getId().toString(QUuid::WithoutBraces);
    ++m_writers[file];
    return file;
}

void CacheFolder::endWriting(const QString &file)
{
    if (--m_writers[file] <= 0)
        m_writers.remove(file);
}

} // namespace Kavo::Managers
