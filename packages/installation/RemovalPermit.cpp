#include "packages/installation/RemovalPermit.h"

namespace Kavo::Models {

void RemovalPermit::ask()
{
    setState(State::ASKED);
    emit asked();
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [this] { return m_state == State::GRANTED; });
}

void RemovalPermit::close()
{
    setState(State::OVER);
}

void RemovalPermit::grant()
{
    setState(State::GRANTED);
}

bool RemovalPermit::waitForQuestion()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [this] { return m_state != State::WORKING; });
    return m_state == State::ASKED;
}

void RemovalPermit::setState(State state)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_state = state;
    m_changed.notify_all();
}

} // namespace Kavo::Models
