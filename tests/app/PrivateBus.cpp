#include "tests/app/PrivateBus.h"

#include "tests/support/Files.h"
#include "tests/support/Literals.h"

#include <QUrl>

namespace Kavo::Testing {

namespace {

constexpr const char *Variable = "DBUS_SESSION_BUS_ADDRESS";
constexpr int Patience = 30000; ///< in milliseconds

QByteArray configuration(const QString &socket)
{
    return "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\" "
           "\"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
           "<busconfig><type>session</type><listen>unix:path=" +
           QUrl::toPercentEncoding(socket, "/") +
           "</listen><policy context=\"default\"><allow send_destination=\"*\" "
           "eavesdrop=\"true\"/><allow eavesdrop=\"true\"/>"
           "<allow own=\"*\"/></policy></busconfig>\n";
}

} // namespace

PrivateBus::PrivateBus() : m_addressBefore(qgetenv(Variable))
{
    const QString file = m_folder.filePath("bus.conf"_s);
    writeFile(file, configuration(m_folder.filePath("bus"_s)));
    m_daemon.start("dbus-daemon"_s,
                   {"--config-file="_s + file, "--nofork"_s, "--nopidfile"_s, "--print-address"_s});
    while (!m_daemon.canReadLine() && m_daemon.waitForReadyRead(Patience)) {
    }
    m_address = QString::fromUtf8(m_daemon.readLine()).trimmed();
    qputenv(Variable, m_address.toUtf8());
}

PrivateBus::~PrivateBus()
{
    if (m_addressBefore.isNull())
        qunsetenv(Variable);
    else
        qputenv(Variable, m_addressBefore);
    m_daemon.kill();
    m_daemon.waitForFinished();
}

} // namespace Kavo::Testing
