#include "downloads/PatientQueue.h"

#include <QUrl>

namespace Kavo::Managers {

using Models::Download;

void PatientQueue::append(const DownloadPointer &download)
{
    if (m_places.contains(download->getId()))
        return;
    const quint64 number = m_nextNumber++;
    m_places.insert(download->getId(), {number, false});
    m_hosts[hostOf(*download)].others.emplace(number, download);
}

void PatientQueue::prefer(const Download &download, bool preferred)
{
    const auto place = m_places.find(download.getId());
    if (place == m_places.end() || place->isPreferred == preferred)
        return;
    Host &host = m_hosts[hostOf(download)];
    auto moved = lineOf(host, place->isPreferred).extract(place->number);
    lineOf(host, preferred).insert(std::move(moved));
    place->isPreferred = preferred;
}

void PatientQueue::remove(const Download &download)
{
    const auto place = m_places.find(download.getId());
    if (place == m_places.end())
        return;
    const QString host = hostOf(download);
    lineOf(m_hosts[host], place->isPreferred).erase(place->number);
    m_places.erase(place);
    forgetIfIdle(host);
}

PatientQueue::DownloadPointer PatientQueue::take(const QString &host)
{
    const auto found = m_hosts.find(host);
    if (found == m_hosts.end())
        return {};
    const bool isPreferred = !found->preferred.empty();
    Line &line = lineOf(*found, isPreferred);
    const int most = isPreferred ? MostOnTheirWay : MostOthersOnTheirWay;
    if (line.empty() || found->onTheirWay >= most)
        return {};
    const DownloadPointer next = line.begin()->second;
    line.erase(line.begin());
    m_places.remove(next->getId());
    ++found->onTheirWay;
    return next;
}

void PatientQueue::ended(const Download &download)
{
    const QString host = hostOf(download);
    --m_hosts[host].onTheirWay;
    forgetIfIdle(host);
}

QString PatientQueue::hostOf(const Download &download)
{
    const QUrl address = download.getRequest()->url();
    return address.scheme() + QStringLiteral("://") + address.authority(QUrl::FullyEncoded);
}

PatientQueue::Line &PatientQueue::lineOf(Host &host, bool preferred)
{
    return preferred ? host.preferred : host.others;
}

void PatientQueue::forgetIfIdle(const QString &host)
{
    const auto found = m_hosts.find(host);
    if (found->onTheirWay == 0 && found->preferred.empty() && found->others.empty())
        m_hosts.erase(found);
}

} // namespace Kavo::Managers
