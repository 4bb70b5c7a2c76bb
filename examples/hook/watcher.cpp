// A monitor: prints what a hooked program transfers, until it is interrupted.
//   watcher RESOURCE
#include <uxvisa/hook.h>

#include <csignal>
#include <cstdio>
#include <string>

namespace {

volatile std::sig_atomic_t interrupted = 0;

void Print(bool written, const std::string& message) {
    std::printf("%s \"", written ? "->" : "<-");
    for (const char c : message) {
        if (c == '\n') {
            std::fputs("\\n", stdout);
        } else if (c < ' ' || c > '~') {
            std::printf("\\x%02x", static_cast<unsigned char>(c));
        } else {
            std::fputc(c, stdout);
        }
    }
    std::printf("\"\n");
    std::fflush(stdout);
}

// As long as the monitor is open, it reads: the program that is watched waits for it.
void Watch(CSessionDebug& monitor) {
    std::string message;
    while (!interrupted) {
        unsigned char bytes[64];
        unsigned long count = 0;
        // Returns after 100 ms at the latest. Without bytes there was nothing, or the direction has
        // turned, or the program cleared its session; none of that matters here.
        monitor.Read(bytes, sizeof bytes, &count);
        if (count == 0) {
            continue;
        }
        const uxvisa::MonitoredPlace place = monitor.LastPlace();
        if (!place.continues) {
            message.clear(); // the rest of the message before this one was dropped
        }
        message.append(reinterpret_cast<char*>(bytes), count);
        if (!place.goesOn) {
            Print(place.written, message);
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: watcher RESOURCE\n");
        return 2;
    }
    // A monitor should end by closing, and not die: the program would wait 2 s for it.
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        std::signal(number, [](int) { interrupted = 1; });
    }
    CSessionDebug monitor;
    std::string name = std::string(argv[1]) + "::HOOK";
    if (monitor.OpenConnection(&name[0], 0, 0) != VI_SUCCESS) {
        std::fprintf(stderr, "watcher: cannot watch %s\n", argv[1]);
        return 1;
    }
    std::printf("watching %s\n", argv[1]);
    std::fflush(stdout);
    Watch(monitor);
    monitor.CloseConnection();
    return 0;
}
