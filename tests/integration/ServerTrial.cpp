#include "tests/integration/ServerTrial.h"

#include "tests/integration/DriverRun.h"
#include "tests/support/Archives.h"

#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QTest>

#include <random>

namespace Kavo::Testing {

namespace {

constexpr int Tries = 3;
/// Bytes of the add-on, and how much of its archive comes before a cut.
constexpr int Size = 4 * 1024 * 1024;
constexpr int CutPlace = Size / 2;
/// Caches have their own idea of what is new; milliseconds.
constexpr int Patience = 20000;

const QString Archive = QStringLiteral("add-on.zip");
const QString Folder = QStringLiteral("Custom Scenery/Trial");

QByteArray catalogue(const QString &server)
{
    const QJsonObject version{
        {QStringLiteral("version"), QStringLiteral("1.0")},
        {QStringLiteral("link"), QString(server + Archive)},
        {QStringLiteral("install"), QJsonObject{{QStringLiteral("extract"), Folder}}}};
    const QJsonObject package{{QStringLiteral("id"), 7},
                              {QStringLiteral("versions"), QJsonArray{version}}};
    return QJsonDocument(QJsonArray{package}).toJson();
}

/// In one step, as a publisher should, and not a moment ago.
bool put(const QString &path, const QByteArray &bytes, int age)
{
    const QString draft = path + QStringLiteral(".new");
    QFile file(draft);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(bytes) < 0 ||
        !file.flush())
        return false;
    file.setFileTime(QDateTime::currentDateTimeUtc().addSecs(-age),
                     QFileDevice::FileModificationTime);
    file.close();
    QFile::remove(path);
    return file.rename(path);
}

QByteArray fetch(const QUrl &address)
{
    QNetworkAccessManager network;
    QEventLoop loop;
    QNetworkReply *reply = network.get(QNetworkRequest(address));
    QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    loop.exec();
    return reply->readAll();
}

} // namespace

ServerTrial::ServerTrial(const QUrl &server, const QString &folder, const QString &publisher)
    : m_folder(folder)
    , m_publisher(publisher)
    , m_relay(server)
{}

ServerTrial::Outcome ServerTrial::mainJob()
{
    if (!publish(Content::First) || !install())
        return Outcome::Failed;
    return installed() == contentOf(Content::First) ? Outcome::Installed : Outcome::Mixed;
}

ServerTrial::Outcome ServerTrial::resume()
{
    if (!publish(Content::First))
        return Outcome::Failed;
    m_relay.cutAfter(CutPlace);
    // It must not pass for a whole one.
    if (install())
        return Outcome::Mixed;
    return tryAgain(Content::First);
}

ServerTrial::Outcome ServerTrial::replacement()
{
    if (!publish(Content::First))
        return Outcome::Failed;
    m_relay.cutAfter(CutPlace);
    if (install())
        return Outcome::Mixed;
    m_relay.cutNothing();
    if (!publish(Content::Second))
        return Outcome::Failed;
    return tryAgain(Content::Second);
}

ServerTrial::Outcome ServerTrial::tryAgain(Content wanted)
{
    m_relay.cutNothing();
    for (int number = 0; number < Tries; ++number) {
        m_relay.reset();
        if (!install())
            continue;
        if (wanted == Content::Second && installed() == contentOf(Content::First))
            return Outcome::OldInstalled;
        if (installed() != contentOf(wanted))
            return Outcome::Mixed;
        return m_relay.sentByServer() < Size ? Outcome::Resumed : Outcome::BegunAnew;
    }
    return Outcome::Failed;
}

/// The same in every run; none of it can be compressed.
QByteArray ServerTrial::contentOf(Content content)
{
    std::mt19937 random(content == Content::First ? 1 : 2);
    // Archives of other sizes, which a server could tell them by.
    const int size = content == Content::First ? Size : Size + 4096;
    QByteArray bytes(size, Qt::Uninitialized);
    for (char &byte : bytes)
        byte = static_cast<char>(random());
    return bytes;
}

bool ServerTrial::publish(Content content)
{
    m_archive =
        archiveOf({{QStringLiteral("data.bin"), contentOf(content)}}, QStringLiteral("zip"));
    const int age = content == Content::First ? 7200 : 3600;
    const QDir folder(m_folder);
    if (m_archive.isEmpty() || !put(folder.filePath(Archive), m_archive, age) ||
        !put(folder.filePath(QStringLiteral("packages.json")), catalogue(m_relay.url()), age))
        return false;
    if (!m_publisher.isEmpty() && QProcess::execute(m_publisher, {m_folder}) != 0)
        return false;
    return waitUntilServed();
}

/// Caches give out what they have for a while, and have something for each name of the server.
bool ServerTrial::waitUntilServed() const
{
    const QUrl archive(QString(m_relay.url() + Archive));
    const QUrl list(QString(m_relay.url() + QStringLiteral("packages.json")));
    return QTest::qWaitFor(
        [&] { return fetch(archive) == m_archive && fetch(list) == catalogue(m_relay.url()); },
        Patience);
}

bool ServerTrial::install()
{
    DriverRun run({m_relay.url(), m_profile.simulatorFolder(), QStringLiteral("install"),
                   QStringLiteral("7")});
    return run.run() && !run.isKilled() && run.exitCode() == 0;
}

QByteArray ServerTrial::installed() const
{
    return readFile(m_profile.simulatorFolder() + Folder + QStringLiteral("/data.bin"));
}

QString ServerTrial::nameOf(Outcome outcome)
{
    switch (outcome) {
    case Outcome::Installed:
        return QStringLiteral("installed");
    case Outcome::Resumed:
        return QStringLiteral("resumed");
    case Outcome::BegunAnew:
        return QStringLiteral("begun anew");
    case Outcome::OldInstalled:
        return QStringLiteral("the old one");
    case Outcome::Failed:
        return QStringLiteral("failed");
    case Outcome::Mixed:
        return QStringLiteral("damaged");
    }
    return {};
}

} // namespace Kavo::Testing
