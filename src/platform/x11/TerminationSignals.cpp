#include "platform/TerminationSignals.h"

#include <QSocketNotifier>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {
// A signal handler can only reach process-wide state; it writes one byte to this pipe.
int signalPipe[2] = {-1, -1};

void onPosixSignal(int)
{
    const char byte = 1;
    [[maybe_unused]] ssize_t written = ::write(signalPipe[1], &byte, 1);
}
} // namespace

TerminationSignals::TerminationSignals(std::function<void()> onSignal, QObject *parent)
    : QObject(parent), m_onSignal(std::move(onSignal))
{
    if (signalPipe[0] < 0 && ::pipe2(signalPipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    m_notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] {
        char buffer[16];
        while (::read(signalPipe[0], buffer, sizeof buffer) > 0) {
        }
        if (m_onSignal)
            m_onSignal();
    });
    struct sigaction action = {};
    action.sa_handler = onPosixSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (int sig : {SIGTERM, SIGINT, SIGHUP})
        ::sigaction(sig, &action, nullptr);
}

TerminationSignals::~TerminationSignals()
{
    for (int sig : {SIGTERM, SIGINT, SIGHUP})
        ::signal(sig, SIG_DFL);
}
