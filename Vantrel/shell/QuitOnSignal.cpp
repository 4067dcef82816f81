#include "Vantrel/shell/QuitOnSignal.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <csignal>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace vantrel {

namespace {

int g_pipe[2] = {-1, -1};

extern "C" void onSignal(int number) {
    unsigned char byte = static_cast<unsigned char>(number);
    // Nothing but write(2) here: it is async-signal-safe.
    [[maybe_unused]] ssize_t written = ::write(g_pipe[1], &byte, 1);
}

} // namespace

QuitOnSignal::QuitOnSignal(QObject* parent) : QObject(parent) {
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, g_pipe) != 0) {
        return;
    }
    ::fcntl(g_pipe[1], F_SETFL, O_NONBLOCK);
    m_notifier = new QSocketNotifier(g_pipe[0], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &QuitOnSignal::readSignal);
    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    ::sigaction(SIGTERM, &action, nullptr);
    ::sigaction(SIGINT, &action, nullptr);
}

QuitOnSignal::~QuitOnSignal() {
    ::signal(SIGTERM, SIG_DFL);
    ::signal(SIGINT, SIG_DFL);
    delete m_notifier;
    if (g_pipe[0] >= 0) {
        ::close(g_pipe[0]);
        ::close(g_pipe[1]);
        g_pipe[0] = g_pipe[1] = -1;
    }
}

void QuitOnSignal::readSignal() {
    unsigned char byte = 0;
    if (::read(g_pipe[0], &byte, 1) == 1) {
        m_signal = byte;
        QCoreApplication::quit();
    }
}

} // namespace vantrel
