#pragma once

#include "downloads/Download.h"

#include <QHash>
#include <QSharedPointer>
#include <QString>
#include <QUuid>

#include <map>

namespace Kavo::Managers {

/// Patient downloads that wait for their turn. The network access manager has six connections to a
/// host and gives them to whoever comes first; thousands of pictures would keep an archive waiting.
/// So a few of one host are on their way at a time, in order, but for those that are preferred:
///
///     append -> [others] <-> [preferred] -> take -> on its way -> ended
///
/// Hosts do not wait for one another. Main thread.
class PatientQueue final
{
public:
    using DownloadPointer = QSharedPointer<Models::Download>;

    /// Of one host, at the same time. The difference is what a preferred one need not wait for.
    static constexpr int MostOnTheirWay = 4;
    static constexpr int MostOthersOnTheirWay = 3;

    /// Does nothing for one that waits already.
    void append(const DownloadPointer &download);
    /// Has one that waits go out before the others, or in its old place among them again.
    void prefer(const Models::Download &download, bool preferred);
    /// Takes one that waits out.
    void remove(const Models::Download &download);

    /// The next one of this host that may go out, or null. It is on its way until ended().
    DownloadPointer take(const QString &host);
    void ended(const Models::Download &download);

    /// What counts as one host: connections to it are not shared with others.
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
    QHash<QUuid, Place> m_places; ///< of those that wait
    quint64 m_nextNumber = 0;
};

} // namespace Kavo::Managers
