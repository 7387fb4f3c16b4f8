#include "tests/support/LogCapture.h"

#include <QMutexLocker>

#include <algorithm>
#include <atomic>

namespace Kavo::Testing {

namespace {

std::atomic<LogCapture *> latest = nullptr;

} // namespace

LogCapture::LogCapture() : m_captureBefore(latest)
{
    latest = this;
    m_handlerBefore = qInstallMessageHandler(&LogCapture::handle);
}

LogCapture::~LogCapture()
{
    qInstallMessageHandler(m_handlerBefore);
    latest = m_captureBefore;
}

QStringList LogCapture::lines() const
{
    const QMutexLocker lock(&m_mutex);
    return m_lines;
}

bool LogCapture::contains(const QString &line) const
{
    return lines().contains(line);
}

int LogCapture::count(const QString &beginning) const
{
    const QStringList all = lines();
    return static_cast<int>(
        std::count_if(all.cbegin(), all.cend(),
                      [&beginning](const QString &line) { return line.startsWith(beginning); }));
}

void LogCapture::clear()
{
    const QMutexLocker lock(&m_mutex);
    m_lines.clear();
}

void LogCapture::handle(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    Q_UNUSED(type)
    Q_UNUSED(context)
    LogCapture *capture = latest;
    if (!capture)
        return;
    const QMutexLocker lock(&capture->m_mutex);
    capture->m_lines.append(message);
}

} // namespace Kavo::Testing
