#include "tools/simulation/LogHold.h"

namespace Kavo::Tools {

namespace {

/// A message handler is a plain function, so its data cannot be members.
LogHold *present = nullptr;

} // namespace

LogHold::LogHold()
{
    present = this;
    m_handlerBefore = qInstallMessageHandler(&LogHold::handle);
}

LogHold::~LogHold()
{
    qInstallMessageHandler(m_handlerBefore);
    present = nullptr;
}

QString LogHold::complaint() const
{
    const QString label = QStringLiteral("Extractor Error : ");
    for (const QString &message : m_lines) {
        if (!message.startsWith(label))
            continue;
        const QStringList lines =
            message.mid(label.size()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        if (!lines.isEmpty())
            return lines.constFirst();
    }
    return QString();
}

void LogHold::handle(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    Q_UNUSED(type)
    Q_UNUSED(context)
    if (present)
        present->m_lines.append(message);
}

} // namespace Kavo::Tools
