#include "app/EndSignals.h"

#include <QSocketNotifier>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace Kavo {

namespace {

constexpr std::array<int, 3> Numbers = {SIGTERM, SIGINT, SIGHUP};

/// A signal handler is a plain function, so its data cannot be members. It may interrupt anything,
/// and so does only the minimum.
struct Watch
{
    std::atomic<bool> hasCome = false;
    std::array<int, 2> pipe = {-1, -1};
    std::array<struct sigaction, Numbers.size()> before = {};
};

Watch watch;

void onSignal(int)
{
    const int reason = errno;
    watch.hasCome = true;
    // If the pipe is full, its reader will run anyway.
    const bool written = ::write(watch.pipe[1], "", 1) == 1;
    static_cast<void>(written);
    errno = reason;
}

} // namespace

EndSignals::EndSignals(QObject *parent) : QObject(parent)
{
    watch.hasCome = false;
    if (::pipe2(watch.pipe.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    m_notifier = std::make_unique<QSocketNotifier>(watch.pipe[0], QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &EndSignals::read);
    struct sigaction action = {};
    action.sa_handler = onSignal;
    action.sa_flags = SA_RESTART;
    for (std::size_t index = 0; index < Numbers.size(); ++index) {
        ::sigaction(Numbers[index], nullptr, &watch.before[index]);
        if (Numbers[index] != SIGHUP || watch.before[index].sa_handler != SIG_IGN)
            ::sigaction(Numbers[index], &action, nullptr);
    }
}

EndSignals::~EndSignals()
{
    if (!m_notifier)
        return;
    for (std::size_t index = 0; index < Numbers.size(); ++index)
        ::sigaction(Numbers[index], &watch.before[index], nullptr);
    m_notifier.reset();
    for (int &end : watch.pipe) {
        ::close(end);
        end = -1;
    }
}

bool EndSignals::isRequested() const
{
    return watch.hasCome;
}

void EndSignals::read()
{
    std::array<char, 16> bytes = {};
    while (::read(watch.pipe[0], bytes.data(), bytes.size()) > 0) {
    }
    emit requested();
}

} // namespace Kavo
