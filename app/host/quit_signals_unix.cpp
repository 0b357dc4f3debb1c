#include "quit_signals.h"

#include <QSocketNotifier>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

// The write end for the handler: a signal handler can reach nothing else. Set while one
// QuitSignals exists.
volatile sig_atomic_t g_writeEnd = -1;
int g_readEnd = -1;
constexpr int SIGNALS[] = { SIGTERM, SIGINT, SIGHUP };

extern "C" void onQuitSignal(int signalNumber)
{
    const int saved = errno;
    const int fd = g_writeEnd;
    if (fd >= 0) {
        const unsigned char byte = static_cast<unsigned char>(signalNumber);
        // A full pipe already holds a request; losing this one loses nothing.
        [[maybe_unused]] const ssize_t written = ::write(fd, &byte, 1);
    }
    errno = saved;
}

} // namespace

QuitSignals::QuitSignals(QObject *parent) : QObject(parent)
{
    if (g_writeEnd >= 0)
        return; // another instance watches already
    int fds[2];
    if (::pipe2(fds, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    g_readEnd = fds[0];
    g_writeEnd = fds[1];
    m_notifier = new QSocketNotifier(fds[0], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &QuitSignals::readSignals);
    struct sigaction action = {};
    action.sa_handler = onQuitSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (int signalNumber : SIGNALS)
        ::sigaction(signalNumber, &action, nullptr);
}

QuitSignals::~QuitSignals()
{
    if (!m_notifier)
        return;
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    sigemptyset(&action.sa_mask);
    for (int signalNumber : SIGNALS)
        ::sigaction(signalNumber, &action, nullptr);
    const int writeEnd = g_writeEnd;
    g_writeEnd = -1;
    delete m_notifier;
    m_notifier = nullptr;
    ::close(writeEnd);
    ::close(g_readEnd);
    g_readEnd = -1;
}

void QuitSignals::readSignals()
{
    unsigned char bytes[16];
    ssize_t count = 0;
    while ((count = ::read(g_readEnd, bytes, sizeof bytes)) > 0) {
        for (ssize_t i = 0; i < count; ++i)
            Q_EMIT quitRequested(bytes[i]);
    }
}
