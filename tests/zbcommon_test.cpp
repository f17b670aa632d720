// The services behind the six names. What depends on how a process was started, or may end it, runs
// in a process of its own.
#include "zbcommon.h"

#include <algorithm>
#include <array>
#include <csetjmp>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

constexpr std::size_t page = 4096;
char staticData[3 * page];

bool readable(const void * at, std::size_t length = 1) {
    return svcCheckPointer(at, length, 1) == 0;
}

bool writable(const void * at, std::size_t length = 1) {
    return svcCheckPointer(at, length, 2) == 0;
}

char * map(std::size_t pages, int protection, int file = -1) {
    const int flags = file == -1 ? MAP_PRIVATE | MAP_ANONYMOUS : MAP_SHARED;
    return static_cast<char *>(mmap(nullptr, pages * page, protection, flags, file, 0));
}

int fileOf(off_t size) {
    const int file = memfd_create("range", MFD_CLOEXEC);
    EXPECT_EQ(ftruncate(file, size), 0);
    return file;
}

// A page whose use raises the signal.
char * badPage(int fault) {
    return fault == SIGSEGV ? map(1, PROT_NONE) : map(2, PROT_READ, fileOf(page)) + page;
}

sigset_t setOf(int signal) {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, signal);
    return set;
}

void setLimit(__rlimit_resource resource, rlim_t size) {
    rlimit limit{};
    EXPECT_EQ(getrlimit(resource, &limit), 0);
    limit.rlim_cur = size;
    EXPECT_EQ(setrlimit(resource, &limit), 0);
}

// In processes that were started with each of these values of the variable. Their sanitizers leave
// faults alone, and their first failed expectation ends them, as gtest doesn't tell of it.
void run(const char * name, const Texts & values,
         const std::function<void(const std::string &)> & scenario) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    setenv("ASAN_OPTIONS", "handle_segv=0:handle_sigbus=0", 1);
    setenv("GTEST_THROW_ON_FAILURE", "1", 1);
    for (const std::string & value : values) {
        setenv(name, value.c_str(), 1);
        EXPECT_EXIT((scenario(value), std::exit(0)), testing::ExitedWithCode(0), "") << value;
    }
    unsetenv(name);
}

// How a forked process ends, and the last fault on its way there: its place and where it came from.
struct End {
    int status = 0;
    __ptrace_syscall_info stop{};
    siginfo_t fault{};
};

End endOfFork(const std::function<void()> & scenario) noexcept {
    const pid_t process = fork();
    if (process == 0) {
        GTEST_FLAG_SET(throw_on_failure, true);
        EXPECT_EQ(ptrace(PTRACE_TRACEME, 0, nullptr, nullptr), 0);
        scenario();
        _exit(0);
    }
    End end;
    while (waitpid(process, &end.status, 0) == process && WIFSTOPPED(end.status)) {
        EXPECT_GT(ptrace(PTRACE_GET_SYSCALL_INFO, process, sizeof end.stop, &end.stop), 0);
        EXPECT_EQ(ptrace(PTRACE_GETSIGINFO, process, nullptr, &end.fault), 0);
        EXPECT_EQ(ptrace(PTRACE_CONT, process, nullptr, WSTOPSIG(end.status)), 0);
    }
    return end;
}

// ---- Pointer checks

// In each way, touching being the one without a name: each variant in a process that is forked off
// before the first check.
void check(const Texts & ways, int variants,
           const std::function<void(const std::string & way, int variant)> & scenario) {
    run("ZBCOMMON_POINTER_CHECK", ways, [&](const std::string & way) {
        for (int i = 0; i != variants; ++i) {
            EXPECT_EQ(endOfFork([&] { scenario(way, i); }).status, 0) << i;
        }
    });
}

// Of a range over pages that are each (w)ritable, (r)ead only, of (n)o access, behind the (e)nd of
// their file, or not mapped at all.
void expectAnswers(bool isOff, const std::string & pages, const void * at, std::size_t length) {
    const bool isOk = length == 0 || (isOff && at != nullptr);
    const std::string range = pages + ", " + std::to_string(length) + " bytes";
    errno = 1234;
    EXPECT_EQ(readable(at, length), isOk || pages.find_first_of("ne-") > pages.size()) << range;
    EXPECT_EQ(writable(at, length), isOk || pages.find_first_not_of('w') > pages.size()) << range;
    EXPECT_EQ(errno, 1234);
}

// All ranges that begin and end at the edges of pages that change.
void checkLayouts(bool isOff) {
    const int file = fileOf(1);
    char * const area = map(6, PROT_NONE);
    const auto edge = [](std::size_t n) { return n / 3 * page + (n % 3 == 2 ? page - 1 : n % 3); };
    for (const std::string layout : {"wwrnwr", "rw-wee", "nwwrw-", "e-rrww", "wwwwww", "rnwewr"}) {
        for (std::size_t i = 0; i != layout.size(); ++i) {
            const char kind = layout[i];
            const int access = kind == 'r' ? PROT_READ : PROT_READ | PROT_WRITE;
            char * const at = area + i * page;
            EXPECT_EQ(mmap(at, page, kind == 'n' ? PROT_NONE : access, MAP_SHARED | MAP_FIXED, file,
                           kind == 'e' ? page : 0),
                      at);
            EXPECT_EQ(kind == '-' ? munmap(at, page) : 0, 0);
        }
        for (std::size_t first = 0; first != 3 * layout.size(); ++first) {
            for (std::size_t last = first; last != 3 * layout.size(); ++last) {
                expectAnswers(isOff, layout.substr(first / 3, last / 3 - first / 3 + 1),
                              area + edge(first), edge(last) - edge(first) + 1);
            }
        }
    }
}

void checkPlaces(bool isOff, const char * stackOfOther) {
    const std::vector<char> heap(10 * page, 42);
    const auto at = [](std::uintptr_t address) { return reinterpret_cast<const void *>(address); };
    const std::tuple<const char *, const void *, std::size_t> places[] = {
        {"w: heap", heap.data() + 1, heap.size() - 2},
        {"w: another thread's stack", stackOfOther, 1},
        {"w: static data", staticData, sizeof staticData},
        {"w: never touched", map(1000, PROT_READ | PROT_WRITE), 1000 * page},
        {"r: code", reinterpret_cast<const void *>(&svcCheckPointer), 16},
        {"n: null", nullptr, 1},
        {"n: null, all", nullptr, SIZE_MAX},
        {"n: null without a length", nullptr, 0},
        {"n: the lowest byte but null", at(1), 1},
        {"n: without a length", at(1), 0},
        {"n: wraps in one page", heap.data() + 8, SIZE_MAX},
        {"n: up to the end of everything", heap.data(),
         SIZE_MAX - reinterpret_cast<std::uintptr_t>(heap.data()) + 1},
        {"n: the last byte of all", at(UINTPTR_MAX), 1},
        {"n: the kernel's half", at(std::uintptr_t{0xffff} << 48U), 8},
        {"n: between the halves", at(std::uintptr_t{1} << 60U), 8},
        {"n: across the halves' bound", at((std::uintptr_t{1} << 47U) - page), 2 * page},
    };
    for (const auto & [name, place, length] : places) {
        SCOPED_TRACE(name);
        expectAnswers(isOff, std::string(1, *name), place, length);
    }
    EXPECT_EQ(heap, std::vector<char>(heap.size(), 42));
    for (const std::uint16_t unknown : std::initializer_list<std::uint16_t>{0, 3, 0x101, 0xffff}) {
        EXPECT_EQ(svcCheckPointer(staticData, 1, unknown) == 0, isOff) << unknown;
        EXPECT_NE(svcCheckPointer(staticData, 0, unknown), 0) << unknown;
    }
}

void everyRange(const std::string & way) {
    const char here = 0;
    const auto checkAll = [&] {
        checkPlaces(way == "off", &here);
        checkLayouts(way == "off");
    };
    std::thread(checkAll).join();
    EXPECT_EQ(endOfFork(checkAll).status, 0);
}

TEST(PointerCheck, EveryRange) {
    run("ZBCOMMON_POINTER_CHECK", {"", "kernel", "off"}, everyRange);
    everyRange(""); // with the handlers that sanitizers bring along
}

#if defined(__x86_64__) && defined(__LP64__)
// Without the lock prefix what other threads write is lost, but seldom: look at the code that
// faults.
TEST(PointerCheck, ProbesForWritingInOneStep) {
    const auto end = endOfFork([] { EXPECT_FALSE(writable(badPage(SIGSEGV))); });
    EXPECT_EQ(*reinterpret_cast<const std::uint8_t *>(end.stop.instruction_pointer), 0xF0);
}
#endif

struct sigaction actionOf(int signal) {
    struct sigaction action {};
    EXPECT_EQ(sigaction(signal, nullptr, &action), 0);
    return action;
}

// An ignored signal stays so, also in programs started later: then, and where nothing is touched,
// no handler is there at all.
TEST(PointerCheck, InstallsHandlersOnlyToTouch) {
    check({"", "kernel", "off"}, 3, [](const std::string & way, int i) {
        const int ignored = std::array{SIGSEGV, SIGBUS, SIGUSR1}[std::size_t(i)];
        signal(ignored, SIG_IGN);
        EXPECT_EQ(readable(badPage(SIGSEGV)), way == "off");
        for (const int each : {SIGSEGV, SIGBUS}) {
            EXPECT_EQ(actionOf(each).sa_handler == (each == ignored ? SIG_IGN : SIG_DFL),
                      !way.empty() || ignored != SIGUSR1);
        }
    });
}

struct sigaction ours {};
int handedOn = 0;

// The look comes with thread set-up, or with the thousandth check after the one before. Up to then
// a later handler gets the faults of checks, and may hand them on.
TEST(PointerCheck, NoticesLaterHandlersAndBlockedSignals) {
    check({""}, 8, [](const std::string &, int i) {
        const int fault = (i & 1) != 0 ? SIGSEGV : SIGBUS;
        const bool blocks = (i & 2) != 0, bySetUp = (i & 4) != 0;
        const char * const bad = badPage(fault);
        const sigset_t faults = setOf(fault);
        struct sigaction later {};
        later.sa_flags = SA_SIGINFO;
        later.sa_sigaction = [](int signal, siginfo_t * info, void * context) {
            ++handedOn;
            ours.sa_sigaction(signal, info, context);
        };
        svcInitialize(0, 9, 0, 0, nullptr);
        EXPECT_EQ(blocks ? 0 : sigaction(fault, &later, &ours), 0);
        EXPECT_FALSE(readable(bad));
        EXPECT_EQ(handedOn, blocks ? 0 : 1);
        for (const int how : {SIG_BLOCK, SIG_UNBLOCK, SIG_BLOCK}) {
            EXPECT_EQ(pthread_sigmask(blocks ? how : SIG_UNBLOCK, &faults, nullptr), 0);
            for (int n = 1; n < 999 && !bySetUp; ++n) {
                EXPECT_TRUE(writable(staticData));
            }
            EXPECT_EQ(bySetUp ? svcInitialize(0, 9, 0, 0, nullptr) : 0, 0);
            EXPECT_FALSE(readable(bad));
            EXPECT_FALSE(writable(bad));
            std::thread([bad] { EXPECT_FALSE(readable(bad)); }).join(); // begins like this
        }
        EXPECT_EQ(handedOn, blocks ? 0 : 1);
        EXPECT_EQ(actionOf(fault).sa_sigaction == later.sa_sigaction, !blocks);
    });
}

// ---- Faults that are the application's own

sigjmp_buf behindTheFault;
char ownStack[65536];
char * told = nullptr; // shared with forks
bool checks = false;

void expectRefusals() {
    EXPECT_FALSE(checks && (readable(badPage(SIGSEGV)) || readable(badPage(SIGBUS))));
}

// Tells what a handler sees. A check inside it, with the signal blocked, is answered all the same.
void tell(int fault, siginfo_t * info, void *) {
    const char here = 0;
    std::string seen = std::to_string(fault);
    seen += &here >= ownStack && &here < std::end(ownStack) ? " on the own stack" : "";
    sigset_t blocked;
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    for (const int each : {SIGSEGV, SIGBUS, SIGUSR1, SIGUSR2}) {
        seen += ' ' + std::to_string(sigismember(&blocked, each));
    }
    if (info != nullptr) {
        const auto offset = reinterpret_cast<std::uintptr_t>(info->si_addr) % page;
        const int sent = info->si_code == SI_QUEUE ? info->si_int : info->si_pid - getpid();
        seen += " code " + std::to_string(info->si_code) + ' ' +
                std::to_string(info->si_code > 0 ? static_cast<int>(offset) : sent);
    }
    std::strcat(told, (seen + '\n').c_str());
    expectRefusals();
    siglongjmp(behindTheFault, 1);
}

void use(volatile char * at) {
    at[7] = at[7];
}

const std::pair<int, void (*)()> causes[] = {
    {SIGSEGV, [] { use(badPage(SIGSEGV)); }},
    {SIGSEGV, [] { use(const_cast<char *>("a literal")); }},
    {SIGSEGV, [] { use(reinterpret_cast<char *>(std::uintptr_t{1} << 60U)); }},
    {SIGBUS, [] { use(badPage(SIGBUS)); }},
    {SIGSEGV, [] { raise(SIGSEGV); }},
    {SIGBUS, [] { sigqueue(getpid(), SIGBUS, sigval{42}); }},
};

// The flags of the handler that was there first, as bits.
constexpr int flags[] = {SA_SIGINFO, SA_NODEFER, SA_ONSTACK, static_cast<int>(SA_RESETHAND)};
constexpr int none = 16; // none was

void faultTwice(int former, int fault, void (*make)()) {
    const stack_t stack{ownStack, 0, sizeof ownStack};
    EXPECT_EQ(sigaltstack(&stack, nullptr), 0);
    struct sigaction action {};
    for (std::size_t i = 0; i != std::size(flags); ++i) {
        action.sa_flags |= (former >> i & 1) != 0 ? flags[i] : 0;
    }
    action.sa_mask = setOf(SIGUSR1);
    action.sa_sigaction = tell;
    if ((action.sa_flags & SA_SIGINFO) == 0) {
        action.sa_handler = [](int signal) { tell(signal, nullptr, nullptr); };
    }
    EXPECT_EQ(former != none ? sigaction(fault, &action, nullptr) : 0, 0);
    for (static int round = 0; round < 2; ++round) {
        expectRefusals();
        if (sigsetjmp(behindTheFault, 1) == 0) {
            make();
        }
    }
}

// What the application sees without any check, it must see with checks as well.
TEST(PointerCheck, ForeignFaultsTakeTheirOwnCourse) {
    check({""}, none + 1, [](const std::string &, int former) {
        setLimit(RLIMIT_CORE, 0);
        const int reports = former == none ? 0 : former < 8 ? 2 : 1;
        for (const auto & cause : causes) {
            std::string courses[2];
            for (const bool each : {false, true}) {
                checks = each;
                told = map(1, PROT_READ | PROT_WRITE, fileOf(page));
                const End end = endOfFork([&] { faultTwice(former, cause.first, cause.second); });
                EXPECT_EQ(end.status, reports == 2 ? 0 : cause.first);
                courses[each] = told;
                if (reports != 2) {
                    courses[each] += std::to_string(end.stop.instruction_pointer) + " code " +
                                     std::to_string(end.fault.si_code);
                }
            }
            EXPECT_EQ(std::count(courses[0].begin(), courses[0].end(), '\n'), reports);
            EXPECT_EQ(courses[0], courses[1]);
        }
    });
}

// ---- Trace

// The lines of the file, from the text on where they have it.
Texts lines(const fs::path & path, const char * from = "") {
    std::ifstream file(path);
    Texts all;
    for (std::string line; std::getline(file, line);) {
        all.push_back(line.substr(std::min(line.find(from), line.size())));
    }
    return all;
}

// Each test has a file of its own, of which a process that it starts knows the name as well.
class Trace : public testing::Test {
protected:
    Trace() { fs::remove(path); }
    ~Trace() override { fs::remove(path); }

    const std::string path = fs::read_symlink("/proc/self/exe").string() + '.' +
                             testing::UnitTest::GetInstance()->current_test_info()->name();
};

std::string clockNow() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    char text[64];
    const std::size_t used = std::strftime(text, sizeof text, "%FT%T", std::gmtime(&now.tv_sec));
    std::snprintf(text + used, sizeof text - used, ".%06ldZ ", now.tv_nsec / 1000);
    return text;
}

TEST_F(Trace, Lines) {
    run("ZBCOMMON_TRACE", {path}, [](const std::string & trace) {
        std::size_t count = 0;
        const auto expectLine = [&](const std::function<void()> & call, std::string expected) {
            const std::string before = clockNow();
            errno = 1234;
            call();
            EXPECT_EQ(errno, 1234);
            const Texts found = lines(trace);
            EXPECT_EQ(found.size(), ++count);
            const std::string time = found.back().substr(0, before.size());
            EXPECT_TRUE(before <= time && time <= clockNow()) << time;
            expected = time + std::to_string(getpid()) + ' ' + std::to_string(gettid()) + expected;
            EXPECT_EQ(found.back(),
                      expected.size() < 4095 ? expected : expected.substr(0, 4090) + "\\...");
        };
        constexpr std::uint32_t most = UINT32_MAX;
        char forged[] = "forged\r\n2024 \\ \x1b[31m \x1f \x7f \xc3\xa9";
        while (clockNow()[20] != '0') { // so that the fraction needs its leading zeros
            usleep(1000);
        }
        umask(0);
        expectLine([] { trcText("plain"); }, " 0 text plain");
        expectLine([] { trcFunctionEntry(nullptr, 31, 57); }, " 0 entry 31 57");
        expectLine([] { trcText("nested"); }, " 1 text nested");
        expectLine([&] { trcFunctionEntry(&forged, most, 0); }, " 1 entry 4294967295 0");
        expectLine([] { trcFunctionReturn(nullptr, most, 0, most); },
                   " 1 return 4294967295 0 4294967295");
        std::thread([&] { expectLine([] { trcText("apart"); }, " 0 text apart"); }).join();
        expectLine([] { trcFunctionReturn(nullptr, 31, 57, 1); }, " 0 return 31 57 1");
        expectLine([] { trcFunctionReturn(nullptr, 31, 58, 0); }, " 0 return 31 58 0");
        trcText(nullptr);
        expectLine([] { trcText(""); }, " 0 text ");
        expectLine([&] { trcText(forged); },
                   " 0 text forged\\x0d\\n2024 \\\\ \\x1b[31m \\x1f \\x7f \xc3\xa9");
        for (std::size_t length = 4035; length != 4065; ++length) { // around the longest line
            const std::string text(length, 'x');
            expectLine([&] { trcText(text.c_str()); }, " 0 text " + text);
        }
        EXPECT_EQ(fs::status(trace).permissions(), fs::perms{0640});
    });
}

TEST_F(Trace, LinesOfManyThreadsAndProcessesNeverMix) {
    run("ZBCOMMON_TRACE", {path}, [](const std::string & trace) {
        const auto traceAll = [] {
            for (std::size_t n = 0; n < 100; ++n) {
                trcText(std::string(n * 10, 'x').c_str());
            }
        };
        setLimit(RLIMIT_NOFILE, 50); // nothing stays open behind a line
        const bool isParent = fork() != 0 && fork() != 0;
        { const std::jthread first(traceAll), second(traceAll), third(traceAll), last(traceAll); }
        if (!isParent) {
            _exit(0);
        }
        while (wait(nullptr) != -1) {
        }
        Texts found = lines(trace, " 0 text "), expected;
        for (std::size_t n = 0; n < 100; ++n) {
            expected.insert(expected.end(), 12, " 0 text " + std::string(n * 10, 'x'));
        }
        std::sort(found.begin(), found.end());
        EXPECT_EQ(found, expected);
    });
}

TEST_F(Trace, FileCanBeRotated) {
    run("ZBCOMMON_TRACE", {fs::relative(path)}, [](const std::string & relative) {
        const std::string trace = fs::absolute(relative);
        const std::string old = trace + ".old";
        fs::current_path("/");
        trcText("first");
        fs::rename(trace, old);
        trcText("second");
        fs::remove(trace);
        trcText("third");
        // A daemon closes what it doesn't know, and its next file gets the number.
        closefrom(3);
        const int own = open(old.c_str(), O_WRONLY | O_APPEND);
        trcText("fourth");
        close(own);
        EXPECT_EQ(lines(old, "text "), Texts{"text first"});
        EXPECT_EQ(lines(trace, "text "), (Texts{"text third", "text fourth"}));
        fs::remove(old);
    });
}

void traceIntoNothing() {
    errno = 1234;
    trcText("lost");
    trcText("lost");
    EXPECT_EQ(errno, 1234);
    sigset_t blocked;
    EXPECT_EQ(pthread_sigmask(SIG_BLOCK, nullptr, &blocked), 0);
    EXPECT_EQ(sigismember(&blocked, SIGPIPE), 0);
}

// Standard error is a pipe here, which nobody reads any more.
TEST_F(Trace, IsLostRatherThanTheApplication) {
    EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
    run("ZBCOMMON_TRACE",
        {"stderr", path, path + "/missing", fs::path(path).parent_path(), "/dev/full",
         "/" + std::string(5000, 'x'), ""},
        [](const std::string & trace) {
            int ends[2] = {-1, -1};
            EXPECT_EQ(pipe2(ends, O_NONBLOCK), 0);
            dup2(ends[1], STDERR_FILENO);
            trcText("heard");
            char heard[200] = {};
            EXPECT_EQ(read(ends[0], heard, sizeof heard - 1) > 0, trace == "stderr");
            EXPECT_STREQ(std::strstr(heard, " 0 "),
                         trace == "stderr" ? " 0 text heard\n" : nullptr);
            close(ends[0]);
            traceIntoNothing();
        });
}

// A full disk in small: the file may not grow, then it may again.
TEST_F(Trace, GoesOnWhenThereIsRoomAgain) {
    run("ZBCOMMON_TRACE", {path}, [](const std::string & trace) {
        const sigset_t limits = setOf(SIGXFSZ);
        for (const bool raised : {false, true}) {
            setLimit(RLIMIT_FSIZE, 60);
            trcText("this line is cut off by the limit of 60 bytes");
            traceIntoNothing();
            EXPECT_EQ(pthread_sigmask(SIG_BLOCK, &limits, nullptr), 0);
            EXPECT_EQ(raised ? raise(SIGXFSZ) : 0, 0);
            traceIntoNothing();
            sigset_t waiting;
            EXPECT_EQ(sigpending(&waiting), 0);
            EXPECT_EQ(sigismember(&waiting, SIGXFSZ), raised ? 1 : 0); // the application's own
            setLimit(RLIMIT_FSIZE, RLIM_INFINITY);
            trcText("after");
        }
        EXPECT_EQ(lines(trace)[0].size(), 60U);
        const Texts expected{"", " 0 text after", " 0 text after"};
        EXPECT_EQ(lines(trace, " 0 text after"), expected);
    });
}

// ---- Threads

TEST(Thread, SlotIsFilledBySetUpAlone) {
    std::vector<void *> contexts{nullptr};
    const auto setUp = [&contexts] {
        unsigned char area[16];
        EXPECT_EQ(pthread_getspecific(svcThreadSlot), nullptr);
        EXPECT_EQ(svcInitialize(48, 1031, 0, 0, area), 0);
        contexts.push_back(pthread_getspecific(svcThreadSlot));
        EXPECT_EQ(svcInitialize(48, 1031, 0, 0, nullptr), 0);
        EXPECT_EQ(pthread_getspecific(svcThreadSlot), contexts.back());
    };
    setUp();
    std::thread(setUp).join();
    EXPECT_EQ(std::set<void *>(contexts.begin(), contexts.end()).size(), 3U); // all different
}

}
