#pragma once

// What wakes the main thread while the service runs: SIGINT or SIGTERM, the console's "quit",
// or the end of the console's input.
//
// The constructor blocks SIGINT and SIGTERM for the calling thread, and so for every thread
// started from it afterwards; the signals then wait in a signalfd until wait() reads them, and
// no other thread is ever interrupted by them. Construct it first thing in main(), before any
// thread starts.
//
// Thread: post() from any thread; wait() on the main thread.

namespace mediaservice {

class MainThreadEvents {
public:
    enum class Event : char {
        Signal = 's',             // SIGINT or SIGTERM: stop the service
        Quit = 'q',               // the console's "quit": stop the service
        ConsoleInputEnded = 'e',  // standard input has ended: stop the console, keep serving
    };

    // Throws std::system_error if the signalfd or the pipe cannot be made.
    MainThreadEvents();
    ~MainThreadEvents();

    MainThreadEvents(const MainThreadEvents&) = delete;
    MainThreadEvents& operator=(const MainThreadEvents&) = delete;

    void post(Event event);

    // Blocks until an event comes and returns it.
    Event wait();

private:
    int m_signals = -1;        // signalfd for SIGINT and SIGTERM
    int m_pipe[2] = {-1, -1};  // posted events, one byte each
};

}  // namespace mediaservice
