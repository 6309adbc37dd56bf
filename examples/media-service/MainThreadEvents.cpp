// The signalfd and the pipe that the main thread waits on.

#include "MainThreadEvents.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <system_error>

namespace mediaservice {

namespace {

sigset_t stopSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    return signals;
}

[[noreturn]] void throwSystemError(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

MainThreadEvents::MainThreadEvents() {
    const sigset_t signals = stopSignals();
    if (pthread_sigmask(SIG_BLOCK, &signals, nullptr) != 0) {
        throwSystemError("pthread_sigmask");
    }
    m_signals = signalfd(-1, &signals, SFD_CLOEXEC);
    if (m_signals < 0) {
        throwSystemError("signalfd");
    }
    if (pipe2(m_pipe, O_CLOEXEC) != 0) {
        close(m_signals);
        throwSystemError("pipe");
    }
}

MainThreadEvents::~MainThreadEvents() {
    close(m_pipe[0]);
    close(m_pipe[1]);
    close(m_signals);
}

void MainThreadEvents::post(Event event) {
    const char byte = static_cast<char>(event);
    // A full pipe already holds enough events to wake the main thread.
    [[maybe_unused]] const ssize_t written = write(m_pipe[1], &byte, 1);
}

MainThreadEvents::Event MainThreadEvents::wait() {
    pollfd sources[2] = {{m_signals, POLLIN, 0}, {m_pipe[0], POLLIN, 0}};
    for (;;) {
        if (poll(sources, 2, -1) < 0) {
            if (errno == EINTR) {
                continue;
            }
            throwSystemError("poll");
        }
        if ((sources[0].revents & POLLIN) != 0) {
            signalfd_siginfo signal{};
            [[maybe_unused]] const ssize_t bytes = read(m_signals, &signal, sizeof signal);
            return Event::Signal;
        }
        if ((sources[1].revents & POLLIN) != 0) {
            char byte = 0;
            if (read(m_pipe[0], &byte, 1) == 1) {
                return static_cast<Event>(byte);
            }
        }
    }
}

}  // namespace mediaservice
