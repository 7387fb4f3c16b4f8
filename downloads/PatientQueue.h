#pragma once

#include "downloads/Download.h"

#include <QHash>
#include <QSharedPointer>
#include <QString>
#include <QUuid>

#include <map>

namespace Kavo::Managers {

/// Patient downloads that wait for their turn. The network access manager opens six connections to
/// a host, first come, first served; thousands of icons would keep an archive waiting. So only a
/// few patient downloads of a host run at a time, in order, preferred ones first:
///
///     append -> [others] <-> [preferred] -> take -> running -> ended
///
/// Hosts do not wait for each other. Main thread.
class PatientQueue final
{
public:
    using DownloadPointer = QSharedPointer<Models::Download>;

    /// The number of patient downloads of one host that run at a time. The difference is reserved
    /// for preferred ones.
    static constexpr int MostOnTheirWay = 4;
    static constexpr int MostOthersOnTheirWay = 3;

    /// Does nothing for a download that is already waiting.
    void append(const DownloadPointer &download);
    /// Moves a waiting download ahead of the others, or back to its old place among them.
    void prefer(const Models::Download &download, bool preferred);
    /// Removes a waiting download.
    void remove(const Models::Download &download);

    /// The next download of this host that may start, or null. It counts as running until ended().
    DownloadPointer take(const QString &host);
    void ended(const Models::Download &download);

    /// The key of a host: downloads with the same key share its connections.
    static QString hostOf(const Models::Download &download);

private:
    using Line = std::map<quint64, DownloadPointer>;
    struct Host
    {
        Line preferred;
        Line others;
        int onTheirWay = 0;
    };
    struct Place
    {
        quint64 number;
        bool isPreferred;
    };

    static Line &lineOf(Host &host, bool preferred);
    void forgetIfIdle(const QString &host);

    QHash<QString, Host> m_hosts;
    QHash<QUuid, Place> m_places; ///< of the waiting downloads
    quint64 m_nextNumber = 0;
};

} // namespace Kavo::Managers
