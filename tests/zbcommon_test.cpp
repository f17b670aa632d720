// The services behind the six names. What depends on how a process was started, or may end it, runs
// in a child: this program again, with the name of one of the functions in `children`.
#include "zbcommon.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csetjmp>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dlfcn.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <link.h>
#include <map>
#include <pthread.h>
#include <set>
#include <string>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

constexpr std::uint16_t toRead = 1;
constexpr std::uint16_t toWrite = 2;
constexpr std::size_t page = 4096;

bool readable(const void * at, std::size_t length = 1) {
    return svcCheckPointer(at, length, toRead) == 0;
}

bool writable(const void * at, std::size_t length = 1) {
    return svcCheckPointer(at, length, toWrite) == 0;
}

// ---- Children

struct Ending {
    std::string how; // "exit 0", "signal 11"
    std::string output;
    pid_t process = 0;
};

using Environment = std::vector<std::pair<const char *, std::string>>;

const Environment byTouch{};
const Environment byKernel{{"ZBCOMMON_POINTER_CHECK", "kernel"}};
const Environment unchecked{{"ZBCOMMON_POINTER_CHECK", "off"}};

Ending runChild(const std::vector<std::string> & words, const Environment & environment) {
    int ends[2] = {-1, -1};
    EXPECT_EQ(pipe(ends), 0);
    Ending ending;
    ending.process = fork();
    if (ending.process == 0) {
        dup2(ends[1], STDOUT_FILENO);
        close(ends[0]);
        close(ends[1]);
        // Sanitizers leave the two signals alone, so that the children see the system's own ways.
        setenv("ASAN_OPTIONS", "handle_segv=0:handle_sigbus=0", 1);
        setenv("TSAN_OPTIONS", "handle_segv=0:handle_sigbus=0:report_signal_unsafe=0", 1);
        for (const auto & [name, value] : environment) {
            setenv(name, value.c_str(), 1);
        }
        std::vector<char *> arguments{const_cast<char *>("zbcommon_test"),
                                      const_cast<char *>("--child")};
        for (const std::string & word : words) {
            arguments.push_back(const_cast<char *>(word.c_str()));
        }
        arguments.push_back(nullptr);
        execv("/proc/self/exe", arguments.data());
        _exit(127);
    }
    close(ends[1]);
    std::array<char, 4096> part{};
    for (ssize_t got = 0; (got = read(ends[0], part.data(), part.size())) > 0;) {
        ending.output.append(part.data(), static_cast<std::size_t>(got));
    }
    close(ends[0]);
    int status = 0;
    EXPECT_EQ(waitpid(ending.process, &status, 0), ending.process);
    ending.how = WIFEXITED(status) ? "exit " + std::to_string(WEXITSTATUS(status))
                                   : "signal " + std::to_string(WTERMSIG(status));
    return ending;
}

// For children that report by expectations alone.
void expectFlawless(const std::string & child, const Environment & environment) {
    const Ending ending = runChild({child}, environment);
    EXPECT_EQ(ending.how, "exit 0") << child << ":\n" << ending.output;
}

// Words after the child's name.
std::vector<std::string> childWords;

// ---- Memory of every kind

void * map(std::size_t pages, int protection, int flags = MAP_PRIVATE | MAP_ANONYMOUS,
           int file = -1) {
    void * at = mmap(nullptr, pages * page, protection, flags, file, 0);
    EXPECT_NE(at, MAP_FAILED);
    return at;
}

int fileOf(std::size_t size) {
    const int file = memfd_create("range", MFD_CLOEXEC);
    EXPECT_EQ(ftruncate(file, static_cast<off_t>(size)), 0);
    return file;
}

char staticData[3 * page];

struct Range {
    const char * name;
    const void * at;
    std::size_t length;
    bool readable, writable;
};

void checkEveryRange() {
    constexpr int readWrite = PROT_READ | PROT_WRITE;
    std::vector<char> heap(10 * page);
    char onStack = 0;
    const char * otherStack = nullptr;
    std::atomic<bool> done = false;
    std::atomic<bool> ready = false;
    std::thread other([&] {
        char local[3 * page] = {};
        otherStack = local;
        ready = true;
        ready.notify_one();
        done.wait(false);
        EXPECT_EQ(local[0], 0);
    });
    ready.wait(false);

    auto * const mapped = static_cast<char *>(map(4, readWrite));
    EXPECT_EQ(mprotect(mapped + page, page, PROT_READ), 0);
    EXPECT_EQ(mprotect(mapped + 2 * page, page, PROT_NONE), 0);
    const int file = fileOf(page + 1);
    auto * const shared = static_cast<char *>(map(3, readWrite, MAP_SHARED, file));
    auto * const readOnlyFile = static_cast<char *>(map(1, PROT_READ, MAP_SHARED, file));
    auto * const untouched = static_cast<char *>(map(1000, readWrite));
    EXPECT_EQ(munmap(mapped + 3 * page, page), 0); // last: the next mapping would fill the hole
    const auto * const code = reinterpret_cast<const char *>(&svcCheckPointer);
    const auto at = [](std::uintptr_t address) { return reinterpret_cast<const void *>(address); };
    constexpr std::size_t all = SIZE_MAX;

    const Range ranges[] = {
        {"heap", heap.data(), heap.size(), true, true},
        {"heap, odd", heap.data() + 1, heap.size() - 2, true, true},
        {"stack", &onStack, 1, true, true},
        {"another thread's stack", otherStack, 3 * page, true, true},
        {"static data", staticData, sizeof staticData, true, true},
        {"literal", "literal", 8, true, false},
        {"code", code, 16, true, false},
        {"never touched", untouched, 1000 * page, true, true},
        {"mapping", mapped, page, true, true},
        {"read only", mapped + page, page, true, false},
        {"last byte writable, next read only", mapped + page - 1, 2, true, false},
        {"last byte writable", mapped + page - 1, 1, true, true},
        {"no access", mapped + 2 * page, 1, false, false},
        {"into no access by one byte", mapped, 2 * page + 1, false, false},
        {"up to no access", mapped + page, page, true, false},
        {"unmapped", mapped + 3 * page, 1, false, false},
        {"a hole in the middle", mapped + page, 3 * page, false, false},
        {"file", shared, 2 * page, true, true},
        {"behind the file's end", shared + 2 * page, 1, false, false},
        {"into behind the file's end", shared + 2 * page - 1, 2, false, false},
        {"read only file", readOnlyFile, page, true, false},
        {"null", nullptr, 1, false, false},
        {"null, all", nullptr, all, false, false},
        {"null without a length", nullptr, 0, true, true},
        {"bad pointer without a length", mapped + 2 * page, 0, true, true},
        {"the lowest byte but null", at(1), 1, false, false},
        {"wraps in one page", heap.data() + 8, all, false, false},
        {"wraps to null", heap.data(), all - reinterpret_cast<std::uintptr_t>(heap.data()) + 2,
         false, false},
        {"up to the end of everything", heap.data(),
         all - reinterpret_cast<std::uintptr_t>(heap.data()) + 1, false, false},
        {"the last byte of all", at(UINTPTR_MAX), 1, false, false},
        {"the kernel's half", at(std::uintptr_t{0xffff} << 48U), 8, false, false},
        {"between the halves", at(std::uintptr_t{1} << 60U), 8, false, false},
        {"across the end of the lower half", at((std::uintptr_t{1} << 47U) - page), 2 * page, false,
         false},
    };
    for (const Range & range : ranges) {
        errno = 1234;
        EXPECT_EQ(readable(range.at, range.length), range.readable) << range.name << ", to read";
        EXPECT_EQ(writable(range.at, range.length), range.writable) << range.name << ", to write";
        EXPECT_EQ(errno, 1234) << range.name;
    }
    for (const int mode : {0, 3, 0xffff}) {
        EXPECT_NE(svcCheckPointer(heap.data(), 1, static_cast<std::uint16_t>(mode)), 0) << mode;
    }

    // No yes from memory of earlier answers, and none of earlier noes.
    EXPECT_TRUE(writable(untouched));
    EXPECT_EQ(mprotect(untouched, page, PROT_READ), 0);
    EXPECT_FALSE(writable(untouched));
    EXPECT_TRUE(readable(untouched));
    EXPECT_EQ(munmap(untouched, page), 0);
    EXPECT_FALSE(readable(untouched));
    EXPECT_EQ(ftruncate(file, 0), 0);
    EXPECT_FALSE(readable(shared));
    EXPECT_EQ(ftruncate(file, 1), 0);
    EXPECT_TRUE(writable(shared));

    done = true;
    done.notify_one();
    other.join();
    munmap(untouched + page, 999 * page);
    munmap(mapped, 3 * page);
    munmap(shared, 3 * page);
    munmap(readOnlyFile, page);
    close(file);
}

// A thread stores numbers and sees each of them again, while others check the same byte.
void nothingIsLost() {
    std::atomic<std::uint8_t> byte = 0;
    std::atomic<bool> done = false;
    std::vector<std::thread> checkers;
    for (int i = 0; i < 2; ++i) {
        checkers.emplace_back([&] {
            while (!done) {
                ASSERT_TRUE(writable(&byte));
            }
        });
    }
    int lost = 0;
    for (unsigned i = 0; i < 300000; ++i) {
        const auto number = static_cast<std::uint8_t>(i);
        byte.store(number, std::memory_order_relaxed);
        lost += byte.load(std::memory_order_relaxed) != number ? 1 : 0;
    }
    done = true;
    for (std::thread & checker : checkers) {
        checker.join();
    }
    EXPECT_EQ(lost, 0);
}

void offAcceptsAllButNull() {
    void * const closed = map(1, PROT_NONE);
    EXPECT_TRUE(readable(closed));
    EXPECT_TRUE(writable(closed, SIZE_MAX));
    EXPECT_TRUE(readable(nullptr, 0));
    EXPECT_FALSE(readable(nullptr));
    EXPECT_FALSE(writable(nullptr));
}

using Handler = void (*)(int);

Handler handlerOf(int signal) {
    struct sigaction action {};
    EXPECT_EQ(sigaction(signal, nullptr, &action), 0);
    return action.sa_handler;
}

void installsNoHandler() {
    svcInitialize(0, 9, 0, 0, nullptr);
    EXPECT_TRUE(readable(staticData));
    EXPECT_EQ(handlerOf(SIGSEGV), SIG_DFL);
    EXPECT_EQ(handlerOf(SIGBUS), SIG_DFL);
}

// A program that ignores the signals hands that on to the programs that it starts.
void leavesIgnoredSignalsAlone() {
    signal(SIGBUS, SIG_IGN);
    EXPECT_FALSE(readable(map(1, PROT_NONE)));
    EXPECT_EQ(handlerOf(SIGBUS), SIG_IGN);
    EXPECT_EQ(handlerOf(SIGSEGV), SIG_DFL);
}

void checkAThousandTimes() {
    for (int i = 0; i < 1000; ++i) {
        ASSERT_TRUE(writable(staticData));
    }
}

int laterFaults = 0;

void countLaterFault(int) {
    ++laterFaults;
    _exit(3);
}

void noticesALaterHandler() {
    void * const closed = map(1, PROT_NONE);
    for (const int signal : {SIGSEGV, SIGBUS}) {
        EXPECT_FALSE(readable(closed));
        struct sigaction before {};
        struct sigaction later {};
        later.sa_handler = countLaterFault;
        EXPECT_EQ(sigaction(signal, &later, &before), 0);
        checkAThousandTimes();
        EXPECT_FALSE(readable(closed));
        EXPECT_FALSE(writable(closed));
        EXPECT_EQ(handlerOf(signal), countLaterFault);
        EXPECT_EQ(sigaction(signal, &before, nullptr), 0);
        // The next thread looks at once.
        EXPECT_EQ(sigaction(SIGSEGV, &later, nullptr), 0);
        std::thread([&] {
            svcInitialize(0, 9, 0, 0, nullptr);
            EXPECT_FALSE(readable(closed));
        }).join();
    }
    EXPECT_EQ(laterFaults, 0);
}

struct sigaction chained {};

void handOn(int signal, siginfo_t * info, void * context) {
    chained.sa_sigaction(signal, info, context);
}

// A later handler that hands on what it doesn't know leaves the checks as good as ever.
void worksBehindAChain() {
    EXPECT_TRUE(readable(staticData));
    struct sigaction later {};
    later.sa_sigaction = handOn;
    later.sa_flags = SA_SIGINFO;
    EXPECT_EQ(sigaction(SIGSEGV, &later, &chained), 0);
    EXPECT_FALSE(readable(map(1, PROT_NONE)));
}

void setBlocked(int how) {
    sigset_t faults;
    sigemptyset(&faults);
    sigaddset(&faults, SIGSEGV);
    sigaddset(&faults, SIGBUS);
    EXPECT_EQ(pthread_sigmask(how, &faults, nullptr), 0);
}

void noticesBlockedSignals() {
    void * const closed = map(1, PROT_NONE);
    EXPECT_FALSE(readable(closed));
    for (int round = 0; round < 3; ++round) {
        setBlocked(SIG_BLOCK);
        checkAThousandTimes();
        EXPECT_FALSE(readable(closed));
        std::thread([&] { EXPECT_FALSE(writable(closed)); }).join(); // blocked from its start
        setBlocked(SIG_UNBLOCK);
        EXPECT_FALSE(readable(closed));
        checkAThousandTimes();
    }
}

void checksInAForkedProcess() {
    void * const closed = map(1, PROT_NONE);
    EXPECT_FALSE(readable(closed));
    const pid_t process = fork();
    if (process == 0) {
        _exit(readable(staticData) && !writable(closed) ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(waitpid(process, &status, 0), process);
    EXPECT_EQ(status, 0);
}

// ---- Faults that are the application's own

sigjmp_buf behindTheFault;
std::string faultReport; // written in the handler of a fault that was made on purpose
char * ownStack = nullptr;
constexpr std::size_t ownStackSize = 65536;

std::string blockedNow() {
    sigset_t blocked;
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    std::string names;
    for (const int signal : {SIGSEGV, SIGBUS, SIGUSR1, SIGUSR2}) {
        names += sigismember(&blocked, signal) == 1 ? std::to_string(signal) + " " : "";
    }
    return names;
}

void note(int signal) {
    char here = 0;
    const bool onOwnStack = &here >= ownStack && &here < ownStack + ownStackSize;
    faultReport = "signal " + std::to_string(signal) + " blocked " + blockedNow() +
                  (onOwnStack ? "own stack" : "the thread's stack");
    // A check inside the handler, with the signal blocked, is answered all the same.
    faultReport += readable(map(1, PROT_NONE)) ? " wrong check" : "";
}

void onPlainFault(int signal) {
    note(signal);
    std::puts(faultReport.c_str());
    siglongjmp(behindTheFault, 1);
}

void onFault(int signal, siginfo_t * info, void *) {
    note(signal);
    faultReport += " code " + std::to_string(info->si_code);
    if (info->si_code == SI_QUEUE) {
        faultReport += " value " + std::to_string(info->si_value.sival_int);
    } else if (info->si_code > 0) {
        const auto address = reinterpret_cast<std::uintptr_t>(info->si_addr);
        faultReport += " offset " + std::to_string(address % page);
    }
    std::puts(faultReport.c_str());
    siglongjmp(behindTheFault, 1);
}

struct Cause {
    const char * name;
    int signal;
    std::function<void()> make;
};

const Cause causes[] = {
    {"read of a closed page", SIGSEGV,
     [] { static_cast<void>(static_cast<volatile char *>(map(1, PROT_NONE))[5]); }},
    {"write to a literal", SIGSEGV,
     [] { const_cast<volatile char *>(static_cast<const volatile char *>("literal"))[0] = 'L'; }},
    {"an address that can't be", SIGSEGV,
     [] { static_cast<void>(*reinterpret_cast<volatile char *>(std::uintptr_t{1} << 60U)); }},
    {"behind the file's end", SIGBUS,
     [] {
         static_cast<void>(
             static_cast<volatile char *>(map(2, PROT_READ, MAP_SHARED, fileOf(page)))[page + 7]);
     }},
    {"raise", SIGSEGV, [] { raise(SIGSEGV); }},
    {"queued", SIGBUS,
     [] {
         sigval value{};
         value.sival_int = 42;
         sigqueue(getpid(), SIGBUS, value);
     }},
};

struct Former {
    const char * name;
    bool plain;
    int flags;
    bool masks;
    int survives; // how many faults; the next one ends the process
};

constexpr int endless = 2;
const Former formers[] = {
    {"none", false, 0, false, 0},
    {"plain", true, 0, false, endless},
    {"with facts", false, SA_SIGINFO, false, endless},
    {"nested, with a mask", false, SA_SIGINFO | SA_NODEFER, true, endless},
    {"own stack, with a mask", false, SA_SIGINFO | SA_ONSTACK, true, endless},
    {"once", true, static_cast<int>(SA_RESETHAND), false, 1},
    {"once, nested", false, SA_SIGINFO | SA_NODEFER | static_cast<int>(SA_RESETHAND), false, 1},
};

void faultAndComeBack(const Cause & cause) {
    if (sigsetjmp(behindTheFault, 1) == 0) {
        cause.make();
    }
    EXPECT_FALSE(readable(map(1, PROT_NONE)));
}

// Words: the former handler and the cause, by number. Prints what the handler saw of each fault.
void faultTwice() {
    const Former & former = formers[std::stoul(childWords.at(0))];
    const Cause & cause = causes[std::stoul(childWords.at(1))];
    const rlimit noCore{};
    setrlimit(RLIMIT_CORE, &noCore);
    std::vector<char> memory(ownStackSize);
    ownStack = memory.data();
    stack_t stack{};
    stack.ss_sp = ownStack;
    stack.ss_size = ownStackSize;
    EXPECT_EQ(sigaltstack(&stack, nullptr), 0);
    struct sigaction action {};
    action.sa_flags = former.flags;
    if (former.plain) {
        action.sa_handler = onPlainFault;
    } else {
        action.sa_sigaction = onFault;
    }
    if (former.masks) {
        sigaddset(&action.sa_mask, SIGUSR1);
    }
    if (former.survives > 0) {
        EXPECT_EQ(sigaction(cause.signal, &action, nullptr), 0);
    }
    EXPECT_TRUE(writable(staticData));
    setvbuf(stdout, nullptr, _IOLBF, 0);
    faultAndComeBack(cause);
    faultAndComeBack(cause);
}

// ---- Trace

class TraceFile {
public:
    TraceFile() {
        std::string pattern = (std::filesystem::temp_directory_path() / "trace.XXXXXX").string();
        directory = mkdtemp(pattern.data());
    }
    ~TraceFile() { std::filesystem::remove_all(directory); }

    std::string path(const char * name = "trace") const { return (directory / name).string(); }

    std::vector<std::string> lines(const char * name = "trace") const {
        std::ifstream file(directory / name);
        std::vector<std::string> all;
        for (std::string line; std::getline(file, line);) {
            all.push_back(line);
        }
        return all;
    }

private:
    std::filesystem::path directory;
};

constexpr std::size_t timeWidth = std::char_traits<char>::length("2024-01-31T23:59:59.123456Z ");

std::string clockNow() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm parts{};
    gmtime_r(&now.tv_sec, &parts);
    char text[64];
    const std::size_t used = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &parts);
    std::snprintf(text + used, sizeof text - used, ".%06ldZ ", now.tv_nsec / 1000);
    return text;
}

void traceEverything() {
    char forged[] = "forged\r\n2024 \\ \x1b[31m \x7f \xc3\xa9";
    errno = 1234;
    trcText("plain");
    trcFunctionEntry(nullptr, 31, 57);
    trcText("nested");
    trcFunctionEntry(&forged, 4294967295U, 0);
    trcFunctionReturn(nullptr, 4294967295U, 0, 4294967295U);
    std::thread([] { trcText("another thread has a depth of its own"); }).join();
    trcFunctionReturn(nullptr, 31, 57, 1);
    trcFunctionReturn(nullptr, 31, 58, 0);
    trcText(nullptr);
    trcText("");
    trcText(forged);
    trcText(std::string(5000, 'x').c_str());
    EXPECT_EQ(errno, 1234);
}

// Word: a number that tells the process from others.
void traceManyLines() {
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([number] {
            for (int line = 0; line < 100; ++line) {
                const std::string tail(static_cast<std::size_t>(line * 10), 'x');
                trcText((childWords.at(0) + " " + std::to_string(number) + " " +
                         std::to_string(line) + " " + tail)
                            .c_str());
            }
        });
    }
    for (std::thread & thread : threads) {
        thread.join();
    }
}

// Words: the file that the trace goes to, and its later name.
void rotateTrace() {
    EXPECT_EQ(chdir("/"), 0);
    trcText("first");
    EXPECT_EQ(std::rename(childWords.at(0).c_str(), childWords.at(1).c_str()), 0);
    trcText("second");
    EXPECT_EQ(std::remove(childWords.at(0).c_str()), 0);
    trcText("third");
    // A daemon closes what it doesn't know, and its next file gets the number.
    closefrom(3);
    const int own = open(childWords.at(1).c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    trcText("fourth");
    close(own);
}

void traceIntoNothing() {
    for (int i = 0; i < 3; ++i) {
        errno = 1234;
        trcText("lost");
        EXPECT_EQ(errno, 1234);
    }
}

bool waits(int signal) {
    sigset_t waiting;
    EXPECT_EQ(sigpending(&waiting), 0);
    return sigismember(&waiting, signal) == 1;
}

void setFileSizeLimit(rlim_t size) {
    rlimit limit{};
    EXPECT_EQ(getrlimit(RLIMIT_FSIZE, &limit), 0);
    limit.rlim_cur = size;
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
}

// A full disk in small: the file may not grow, then it may again.
void traceUnderALimit() {
    setFileSizeLimit(60);
    trcText("this line is cut off by the limit of 60 bytes");
    trcText("lost");
    setFileSizeLimit(RLIM_INFINITY);
    trcText("after");
    sigset_t limits;
    sigemptyset(&limits);
    sigaddset(&limits, SIGXFSZ);
    EXPECT_EQ(pthread_sigmask(SIG_BLOCK, &limits, nullptr), 0);
    setFileSizeLimit(60);
    trcText("lost");
    EXPECT_FALSE(waits(SIGXFSZ));
    raise(SIGXFSZ);
    trcText("lost");
    EXPECT_TRUE(waits(SIGXFSZ)); // the application's own
    setFileSizeLimit(RLIM_INFINITY);
}

void traceIntoAClosedPipe() {
    int ends[2] = {-1, -1};
    EXPECT_EQ(pipe(ends), 0);
    close(ends[0]);
    const int kept = dup(STDERR_FILENO);
    dup2(ends[1], STDERR_FILENO);
    traceIntoNothing();
    dup2(kept, STDERR_FILENO);
    EXPECT_FALSE(waits(SIGPIPE));
}

const std::map<std::string, void (*)()> children{
    {"checkEveryRange", checkEveryRange},
    {"nothingIsLost", nothingIsLost},
    {"offAcceptsAllButNull", offAcceptsAllButNull},
    {"installsNoHandler", installsNoHandler},
    {"leavesIgnoredSignalsAlone", leavesIgnoredSignalsAlone},
    {"noticesALaterHandler", noticesALaterHandler},
    {"worksBehindAChain", worksBehindAChain},
    {"noticesBlockedSignals", noticesBlockedSignals},
    {"checksInAForkedProcess", checksInAForkedProcess},
    {"faultTwice", faultTwice},
    {"traceEverything", traceEverything},
    {"traceManyLines", traceManyLines},
    {"rotateTrace", rotateTrace},
    {"traceIntoNothing", traceIntoNothing},
    {"traceUnderALimit", traceUnderALimit},
    {"traceIntoAClosedPipe", traceIntoAClosedPipe},
};

// ---- Tests

TEST(Thread, SlotIsFilledBySetUpAlone) {
    const auto slot = [] { return pthread_getspecific(svcThreadSlot); };
    ASSERT_NE(svcThreadSlot, UINT32_MAX);
    void * contexts[2] = {};
    std::thread([&] {
        EXPECT_EQ(slot(), nullptr);
        unsigned char area[16];
        EXPECT_EQ(svcInitialize(48, 1031, 0, 0, area), 0);
        contexts[0] = slot();
        EXPECT_EQ(svcInitialize(0, 9, 0, 0, nullptr), 0);
        EXPECT_EQ(slot(), contexts[0]);
        std::thread([&] {
            EXPECT_EQ(slot(), nullptr);
            EXPECT_EQ(svcInitialize(0, 9, 0, 0, nullptr), 0);
            contexts[1] = slot();
        }).join();
    }).join();
    EXPECT_NE(contexts[0], nullptr);
    EXPECT_NE(contexts[1], nullptr);
    EXPECT_NE(contexts[0], contexts[1]);
}

// The handler, and what others have kept of it, must not be unloaded from under the process.
TEST(Library, StaysLoadedForGood) {
    Dl_info info{};
    void * entry = nullptr;
    ASSERT_NE(dladdr1(dlsym(RTLD_DEFAULT, "svcCheckPointer"), &info, &entry, RTLD_DL_LINKMAP), 0);
    ElfW(Xword) flags = 0;
    for (const ElfW(Dyn) * part = static_cast<link_map *>(entry)->l_ld; part->d_tag != DT_NULL;
         ++part) {
        flags |= part->d_tag == DT_FLAGS_1 ? part->d_un.d_val : 0;
    }
    EXPECT_NE(flags & DF_1_NODELETE, 0U);
}

TEST(PointerCheck, EveryRange) {
    checkEveryRange();
    expectFlawless("checkEveryRange", byTouch);
    expectFlawless("checkEveryRange", byKernel);
}

TEST(PointerCheck, NothingIsLostToOtherThreads) {
    expectFlawless("nothingIsLost", byTouch);
    expectFlawless("nothingIsLost", byKernel);
}

TEST(PointerCheck, Off) {
    expectFlawless("offAcceptsAllButNull", unchecked);
}

TEST(PointerCheck, HandlersOfTheApplication) {
    expectFlawless("installsNoHandler", byKernel);
    expectFlawless("installsNoHandler", unchecked);
    expectFlawless("leavesIgnoredSignalsAlone", byTouch);
    expectFlawless("noticesALaterHandler", byTouch);
    expectFlawless("worksBehindAChain", byTouch);
    expectFlawless("noticesBlockedSignals", byTouch);
    expectFlawless("checksInAForkedProcess", byTouch);
    expectFlawless("checksInAForkedProcess", byKernel);
}

// Where checks ask the kernel no handler of ours is there: what the application sees then, it must
// see with our handler as well.
TEST(PointerCheck, ForeignFaultsTakeTheirOwnCourse) {
    for (std::size_t former = 0; former < std::size(formers); ++former) {
        for (std::size_t cause = 0; cause < std::size(causes); ++cause) {
            SCOPED_TRACE(std::string(formers[former].name) + ", " + causes[cause].name);
            const std::vector<std::string> words{"faultTwice", std::to_string(former),
                                                 std::to_string(cause)};
            const Ending native = runChild(words, byKernel);
            const Ending ours = runChild(words, byTouch);
            const int survives = formers[former].survives;
            const std::string end =
                survives == endless ? "exit 0" : "signal " + std::to_string(causes[cause].signal);
            EXPECT_EQ(native.how, end);
            EXPECT_EQ(ours.how, end);
            EXPECT_EQ(std::count(native.output.begin(), native.output.end(), '\n'), survives);
            EXPECT_EQ(ours.output, native.output);
            EXPECT_EQ(native.output.find("wrong"), std::string::npos);
        }
    }
}

TEST(Trace, Lines) {
    const TraceFile file;
    const std::string before = clockNow();
    const Ending ending = runChild({"traceEverything"}, {{"ZBCOMMON_TRACE", file.path()}});
    const std::string after = clockNow();
    EXPECT_EQ(ending.how, "exit 0") << ending.output;

    const std::string ids = std::to_string(ending.process) + " " + std::to_string(ending.process);
    const std::vector<std::string> expected{
        ids + " 0 text plain",
        ids + " 0 entry 31 57",
        ids + " 1 text nested",
        ids + " 1 entry 4294967295 0",
        ids + " 1 return 4294967295 0 4294967295",
        "another thread",
        ids + " 0 return 31 57 1",
        ids + " 0 return 31 58 0",
        ids + " 0 text ",
        ids + " 0 text forged\\x0d\\n2024 \\\\ \\x1b[31m \\x7f \xc3\xa9",
        "long",
    };
    const std::vector<std::string> lines = file.lines();
    ASSERT_EQ(lines.size(), expected.size());
    std::string last = before;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::string time = lines[i].substr(0, timeWidth);
        EXPECT_LE(last, time);
        EXPECT_LE(time, after);
        last = time;
        if (expected[i] != "another thread" && expected[i] != "long") {
            EXPECT_EQ(lines[i].substr(timeWidth), expected[i]);
        }
    }
    const std::string other = lines[5].substr(timeWidth);
    EXPECT_EQ(other.substr(other.find(" 0 text")), " 0 text another thread has a depth of its own");
    EXPECT_NE(other.substr(0, ids.size()), ids);
    EXPECT_EQ(lines[10].size(), 4094U);
    EXPECT_EQ(lines[10].substr(4094 - 8), "xxxx\\...");
}

TEST(Trace, LinesOfManyThreadsAndProcessesNeverMix) {
    const TraceFile file;
    std::vector<std::thread> runs;
    std::multiset<std::string> expected;
    for (int process = 0; process < 3; ++process) {
        runs.emplace_back([&file, process] {
            const Ending ending = runChild({"traceManyLines", std::to_string(process)},
                                           {{"ZBCOMMON_TRACE", file.path()}});
            EXPECT_EQ(ending.how, "exit 0");
        });
        for (int thread = 0; thread < 4; ++thread) {
            for (int line = 0; line < 100; ++line) {
                expected.insert(std::to_string(process) + " " + std::to_string(thread) + " " +
                                std::to_string(line) + " " +
                                std::string(static_cast<std::size_t>(line * 10), 'x'));
            }
        }
    }
    for (std::thread & run : runs) {
        run.join();
    }
    std::multiset<std::string> written;
    for (const std::string & line : file.lines()) {
        const std::size_t kind = line.find(" 0 text ");
        ASSERT_NE(kind, std::string::npos) << line;
        written.insert(line.substr(kind + 8));
    }
    EXPECT_EQ(written, expected);
}

std::vector<std::string> textsOf(const std::vector<std::string> & lines) {
    std::vector<std::string> texts;
    for (const std::string & line : lines) {
        const std::size_t kind = line.find(" text ");
        texts.push_back(kind == std::string::npos ? line : line.substr(kind + 6));
    }
    return texts;
}

using Texts = std::vector<std::string>;

TEST(Trace, FileCanBeRotated) {
    const TraceFile file;
    const std::string relative =
        std::filesystem::relative(file.path(), std::filesystem::current_path()).string();
    const Ending ending =
        runChild({"rotateTrace", file.path(), file.path("old")}, {{"ZBCOMMON_TRACE", relative}});
    EXPECT_EQ(ending.how, "exit 0") << ending.output;
    EXPECT_EQ(textsOf(file.lines("old")), Texts{"first"});
    EXPECT_EQ(textsOf(file.lines()), (Texts{"third", "fourth"}));
}

TEST(Trace, IsLostRatherThanTheApplication) {
    const TraceFile file;
    ASSERT_EQ(mkfifo(file.path("pipe").c_str(), 0600), 0);
    for (const std::string & path :
         {file.path("missing/trace"), file.path("."), std::string("/dev/full"), file.path("pipe"),
          file.path() + std::string(5000, 'x'), std::string()}) {
        const Ending ending = runChild({"traceIntoNothing"}, {{"ZBCOMMON_TRACE", path}});
        EXPECT_EQ(ending.how, "exit 0") << path << ending.output;
    }
    expectFlawless("traceIntoAClosedPipe", {{"ZBCOMMON_TRACE", "stderr"}});

    expectFlawless("traceUnderALimit", {{"ZBCOMMON_TRACE", file.path()}});
    const std::vector<std::string> lines = file.lines();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0].size(), 60U);
    EXPECT_EQ(textsOf({lines[1]}), Texts{"after"});
}

}

int main(int count, char ** arguments) {
    testing::InitGoogleTest(&count, arguments);
    if (count < 3 || std::strcmp(arguments[1], "--child") != 0) {
        return RUN_ALL_TESTS();
    }
    childWords.assign(arguments + 3, arguments + count);
    children.at(arguments[2])();
    return testing::UnitTest::GetInstance()->ad_hoc_test_result().Failed() ? 1 : 0;
}
