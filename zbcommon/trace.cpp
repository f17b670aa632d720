// The trace: one line for each text, entry and return, into the file that ZBCOMMON_TRACE names, or
// to standard error. docs/trace.md tells the format.
//
// The file is opened for each line. That costs a few microseconds where the trace is on, and
// in return there is nothing that can go wrong between two lines: a renamed or deleted file is
// noticed at once, an application that closes all descriptors finds none of ours and can't turn
// ours into one of its own, a fork shares nothing, and no lock is held that a signal handler or a
// child could find taken.
#include "thread.hpp"
#include "zbcommon.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <pthread.h>
#include <string_view>
#include <unistd.h>

namespace zbcommon {
namespace {

constinit bool traceIsOn = false;
constinit std::array<char, PATH_MAX> tracePath{}; // empty: standard error

// The longest line with its line feed, and with one in front where a line was left without its own.
// Pipes keep up to so many bytes of one write together.
constexpr std::size_t lineSize = 4096;

// The last line of this process was cut off in the middle, by a full disk or a size limit.
constinit std::atomic<bool> lineIsOpen{false};

// The application may change its directory, and the trace must not move with it.
bool makeAbsolute(const char * name) noexcept {
    std::size_t used = 0;
    if (name[0] != '/') {
        if (getcwd(tracePath.data(), tracePath.size() - 1) == nullptr) {
            return false;
        }
        used = std::strlen(tracePath.data());
        tracePath[used++] = '/';
    }
    const std::size_t length = std::strlen(name);
    if (length >= tracePath.size() - used) {
        return false;
    }
    std::memcpy(&tracePath[used], name, length + 1);
    return true;
}

[[gnu::constructor(101)]] void chooseTrace() {
    const ErrnoKeeper keeper;
    // secure_getenv: a privileged program writes no file of its caller's choice.
    const char * name = secure_getenv("ZBCOMMON_TRACE");
    if (name != nullptr && name[0] != '\0') {
        traceIsOn = std::strcmp(name, "stderr") == 0 || makeAbsolute(name);
    }
}

class Line {
public:
    explicit Line(const char * kind) noexcept {
        using namespace std::chrono;
        bytes[0] = '\n';
        timespec now{};
        clock_gettime(CLOCK_REALTIME, &now);
        const sys_seconds time{seconds{now.tv_sec}};
        const sys_days day = floor<days>(time);
        const year_month_day date{day};
        const hh_mm_ss clock{time - day};
        advance(std::snprintf(
            end(), room(), "%04d-%02u-%02uT%02d:%02d:%02d.%06dZ %d %d %u %s",
            static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
            static_cast<unsigned>(date.day()), static_cast<int>(clock.hours().count()),
            static_cast<int>(clock.minutes().count()), static_cast<int>(clock.seconds().count()),
            static_cast<int>(now.tv_nsec / 1000), getpid(), gettid(), threadContext.depth, kind));
    }

    void appendNumber(std::uint32_t number) noexcept {
        advance(std::snprintf(end(), room(), " %u", number));
    }

    // A text may come from a message: it must not be able to fake lines, or to steer a terminal.
    void appendEscaped(const char * text) noexcept {
        constexpr std::string_view cutMark = "\\...";
        append(" ");
        std::size_t lastCut = used; // behind what leaves room for the mark
        for (; *text != '\0'; ++text) {
            appendCharacter(static_cast<unsigned char>(*text));
            if (used > limit) {
                used = lastCut;
                append(cutMark);
                return;
            }
            if (used + cutMark.size() <= limit) {
                lastCut = used;
            }
        }
    }

    std::string_view finish() noexcept {
        append("\n");
        const std::string_view whole{bytes.data(), used};
        return lineIsOpen ? whole : whole.substr(1);
    }

private:
    char * end() noexcept { return bytes.data() + used; }

    std::size_t room() const noexcept { return bytes.size() - used; }

    void advance(int length) noexcept { used += static_cast<std::size_t>(std::max(length, 0)); }

    void append(std::string_view part) noexcept {
        std::memcpy(end(), part.data(), part.size());
        used += part.size();
    }

    void appendCharacter(unsigned char character) noexcept {
        if (character == '\n') {
            append("\\n");
        } else if (character == '\\') {
            append("\\\\");
        } else if (character < ' ' || character == 0x7f) {
            advance(std::snprintf(end(), room(), "\\x%02x", static_cast<unsigned>(character)));
        } else {
            bytes[used++] = static_cast<char>(character);
        }
    }

    static constexpr std::size_t limit = lineSize - 1; // behind it the line feed
    // With room for one escaped character too many. Not cleared: only what was appended is written.
    std::array<char, lineSize + 4> bytes;
    std::size_t used = 1;
};

// While it stands, a write to a closed pipe or beyond the file size limit fails without a signal,
// and the thread can't be cancelled with the descriptor open or the signals blocked.
class QuietWriting {
public:
    QuietWriting() noexcept {
        pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancelState);
        sigemptyset(&signals);
        sigaddset(&signals, SIGPIPE);
        sigaddset(&signals, SIGXFSZ);
        sigemptyset(&waiting);
        pthread_sigmask(SIG_BLOCK, &signals, &mask);
        // What already waits was raised by the application, and stays. Only what is blocked waits.
        if (sigismember(&mask, SIGPIPE) == 1 || sigismember(&mask, SIGXFSZ) == 1) {
            sigpending(&waiting);
        }
    }
    QuietWriting(const QuietWriting &) = delete;
    QuietWriting & operator=(const QuietWriting &) = delete;
    ~QuietWriting() {
        pthread_sigmask(SIG_SETMASK, &mask, nullptr);
        pthread_setcancelstate(cancelState, nullptr);
    }

    // To be called where a write has failed by the error that goes with the signal.
    void takeSignal(int signal) noexcept {
        if (sigismember(&waiting, signal) == 1) {
            return;
        }
        const timespec noTime{};
        sigset_t one;
        sigemptyset(&one);
        sigaddset(&one, signal);
        while (sigtimedwait(&one, nullptr, &noTime) == -1 && errno == EINTR) {
        }
    }

private:
    int cancelState = 0;
    sigset_t signals;
    sigset_t waiting;
    sigset_t mask;
};

// Every failure loses the line and nothing else.
void writeLine(int descriptor, std::string_view line) noexcept {
    QuietWriting quiet;
    ssize_t written = 0;
    do {
        written = write(descriptor, line.data(), line.size());
    } while (written == -1 && errno == EINTR);
    if (written == -1 && errno == EPIPE) {
        quiet.takeSignal(SIGPIPE);
    } else if (written == -1 && errno == EFBIG) {
        quiet.takeSignal(SIGXFSZ);
    } else if (written != -1) {
        lineIsOpen = static_cast<std::size_t>(written) < line.size();
    }
}

void put(Line & line) noexcept {
    if (tracePath[0] == '\0') {
        writeLine(STDERR_FILENO, line.finish());
        return;
    }
    // O_NONBLOCK: a named pipe that nobody reads must not stop the application.
    const int descriptor =
        open(tracePath.data(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK,
             S_IRUSR | S_IWUSR | S_IRGRP);
    if (descriptor != -1) {
        writeLine(descriptor, line.finish());
        close(descriptor);
    }
}

} // namespace
} // namespace zbcommon

void trcText(const char * text) {
    using namespace zbcommon;
    if (!traceIsOn || text == nullptr) {
        return;
    }
    const ErrnoKeeper keeper;
    Line line("text");
    line.appendEscaped(text);
    put(line);
}

// The depth is the calling thread's own, whatever context it passes.
void trcFunctionEntry(void *, std::uint32_t component, std::uint32_t function) {
    using namespace zbcommon;
    if (!traceIsOn) {
        return;
    }
    const ErrnoKeeper keeper;
    Line line("entry");
    line.appendNumber(component);
    line.appendNumber(function);
    put(line);
    ++threadContext.depth;
}

void trcFunctionReturn(void *, std::uint32_t component, std::uint32_t function,
                       std::uint32_t result) {
    using namespace zbcommon;
    if (!traceIsOn) {
        return;
    }
    const ErrnoKeeper keeper;
    if (threadContext.depth > 0) {
        --threadContext.depth;
    }
    Line line("return");
    line.appendNumber(component);
    line.appendNumber(function);
    line.appendNumber(result);
    put(line);
}
