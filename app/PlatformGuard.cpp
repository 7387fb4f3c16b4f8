#include "app/PlatformGuard.h"

#include <QByteArray>
#include <QMessageLogContext>
#include <QMutex>
#include <QString>
#include <QStringList>
#include <QVector>

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace Kavo {

namespace {

struct HeldMessage
{
    QtMsgType type;
    QByteArray category;
    QString text;
};

/// A message handler is a plain function, so its data cannot be members.
struct Watch
{
    // A plug-in may log on a thread of its own.
    QMutex mutex;
    QVector<HeldMessage> held;
    QtMessageHandler handlerBefore = nullptr;
};

Watch &watch()
{
    static Watch instance;
    return instance;
}

/// Qt's reason why no platform could be used, if it gave one.
QString reason(const QVector<HeldMessage> &held, const QString &lastWords)
{
    QStringList reasons;
    for (const HeldMessage &message : held) {
        // This line follows the reason and is not one.
        if (!message.text.contains(QLatin1String("even though it was found")))
            reasons.append(message.text.simplified());
    }
    // The name that is missing at the end of the line.
    if (reasons == QStringList(QStringLiteral("could not connect to display")))
        return QStringLiteral("DISPLAY is not set");
    return reasons.isEmpty() ? lastWords.simplified() : reasons.join(QLatin1String("; "));
}

void onMessage(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    Watch &state = watch();
    const QMutexLocker lock(&state.mutex);
    if (type != QtFatalMsg) {
        state.held.append({type, context.category, text});
        return;
    }
    // In English, because the language is not known yet.
    const QString line = QLatin1String("kavo-suite: there is no display to show the window on: ") +
                         reason(state.held, text) + QLatin1Char('\n');
    std::fputs(line.toLocal8Bit().constData(), stderr);
    // Nothing is open yet, and a partly constructed application object must not be destroyed.
    std::_Exit(PlatformGuard::ExitStatus);
}

} // namespace

PlatformGuard::PlatformGuard()
{
    watch().handlerBefore = qInstallMessageHandler(onMessage);
}

PlatformGuard::~PlatformGuard()
{
    Watch &state = watch();
    qInstallMessageHandler(state.handlerBefore);
    const QMutexLocker lock(&state.mutex);
    for (const HeldMessage &message : std::exchange(state.held, {})) {
        const QMessageLogContext context(nullptr, 0, nullptr, message.category.constData());
        state.handlerBefore(message.type, context, message.text);
    }
}

} // namespace Kavo
