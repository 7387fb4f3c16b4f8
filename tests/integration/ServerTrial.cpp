#include "tests/integration/ServerTrial.h"

#include "tests/integration/DriverRun.h"
#include "tests/support/Archives.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"

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
/// The size of the add-on and the position of the cut, in bytes.
constexpr int Size = 4 * 1024 * 1024;
constexpr int CutPlace = Size / 2;
/// In milliseconds. Caches may be slow to notice a change.
constexpr int Patience = 20000;

const QString Archive = "add-on.zip"_s;
const QString Folder = "Custom Scenery/Trial"_s;

QByteArray catalogue(const QString &server)
{
    const QJsonObject version{{"version"_s, "1.0"_s},
                              {"link"_s, QString(server + Archive)},
                              {"install"_s, QJsonObject{{"extract"_s, Folder}}}};
    const QJsonObject package{{"id"_s, 7}, {"versions"_s, QJsonArray{version}}};
    return QJsonDocument(QJsonArray{package}).toJson();
}

/// Replaces a file. Sets its modification time to `age` seconds in the past.
bool put(const QString &path, const QByteArray &bytes, int age)
{
    const QString draft = path + ".new"_s;
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
    // A cut archive must not be installed.
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

/// Incompressible content, which is the same in every run.
QByteArray ServerTrial::contentOf(Content content)
{
    std::mt19937 random(content == Content::First ? 1 : 2);
    // The sizes differ, because servers may derive the ETag from them.
    const int size = content == Content::First ? Size : Size + 4096;
    QByteArray bytes(size, Qt::Uninitialized);
    for (char &byte : bytes)
        byte = static_cast<char>(random());
    return bytes;
}

bool ServerTrial::publish(Content content)
{
    m_archive = archiveOf({{"data.bin"_s, contentOf(content)}}, "zip"_s);
    // HTTP dates have whole seconds, so two publications in one second would have the same date.
    static int publications = 0;
    const int age = 7200 - 60 * publications++;
    const QDir folder(m_folder);
    if (m_archive.isEmpty() || !put(folder.filePath(Archive), m_archive, age) ||
        !put(folder.filePath("packages.json"_s), catalogue(m_relay.url()), age))
        return false;
    if (!m_publisher.isEmpty() && QProcess::execute(m_publisher, {m_folder}) != 0)
        return false;
    return waitUntilServed();
}

/// Waits until the server sends the published files. Caches may send the former ones for a while.
bool ServerTrial::waitUntilServed() const
{
    const QUrl archive(QString(m_relay.url() + Archive));
    const QUrl list(QString(m_relay.url() + "packages.json"_s));
    return QTest::qWaitFor(
        [&] { return fetch(archive) == m_archive && fetch(list) == catalogue(m_relay.url()); },
        Patience);
}

bool ServerTrial::install()
{
    DriverRun run({m_relay.url(), m_profile.simulatorFolder(), "install"_s, "7"_s});
    return run.run() && !run.isKilled() && run.exitCode() == 0;
}

QByteArray ServerTrial::installed() const
{
    return readFile(m_profile.simulatorFolder() + Folder + "/data.bin"_s);
}

QString ServerTrial::nameOf(Outcome outcome)
{
    switch (outcome) {
    case Outcome::Installed:
        return "installed"_s;
    case Outcome::Resumed:
        return "resumed"_s;
    case Outcome::BegunAnew:
        return "begun anew"_s;
    case Outcome::OldInstalled:
        return "the old one"_s;
    case Outcome::Failed:
        return "failed"_s;
    case Outcome::Mixed:
        return "damaged"_s;
    }
    return {};
}

} // namespace Kavo::Testing
