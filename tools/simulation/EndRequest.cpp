#include "tools/simulation/EndRequest.h"

#include <array>
#include <atomic>
#include <csignal>

namespace Kavo::Tools {

namespace {

constexpr std::array<int, 3> Numbers = {SIGTERM, SIGINT, SIGHUP};

/// A signal handler is a plain function, so its data cannot be members.
std::atomic<int> come = 0;
std::array<struct sigaction, Numbers.size()> before = {};

void onSignal(int number)
{
    come = number;
}

/// The caller may want the program to survive a signal, as nohup does.
void noteUnlessIgnored(int number, struct sigaction *previous)
{
    struct sigaction action = {};
    action.sa_handler = onSignal;
    action.sa_flags = SA_RESTART;
    ::sigaction(number, nullptr, previous);
    if (previous->sa_handler != SIG_IGN)
        ::sigaction(number, &action, nullptr);
}

} // namespace

EndRequest::EndRequest()
{
    come = 0;
    for (std::size_t index = 0; index < Numbers.size(); ++index)
        noteUnlessIgnored(Numbers.at(index), &before.at(index));
}

EndRequest::~EndRequest()
{
    for (std::size_t index = 0; index < Numbers.size(); ++index)
        ::sigaction(Numbers.at(index), &before.at(index), nullptr);
}

int EndRequest::signal()
{
    return come;
}

} // namespace Kavo::Tools
