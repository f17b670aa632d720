// The services behind the six names. What depends on how a process was started, or may end it, runs
// in a process of its own.
#include "zbcommon.h"

#include <algorithm>
#include <atomic>
#include <csetjmp>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <link.h>
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

// Tells what the expectations of this process have found, as gtest doesn't do it in a child.
int outcome() {
    const auto & result = *testing::UnitTest::GetInstance()->current_test_info()->result();
    for (int i = 0; i < result.total_part_count(); ++i) {
        std::fprintf(stderr, "%s\n", result.GetTestPartResult(i).message());
    }
    return result.Failed() ? 1 : 0;
}

// In a process that was started with the variable. Its sanitizer leaves faults alone.
void run(const char * name, const std::string & value, void (*scenario)(const std::string &)) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    setenv("ASAN_OPTIONS", "handle_segv=0:handle_sigbus=0", 1);
    setenv(name, value.c_str(), 1);
    EXPECT_EXIT((scenario(value), std::exit(outcome())), testing::ExitedWithCode(0), "") << value;
    unsetenv(name);
}

// Runs in each of the ways. Touching is the one without a name.
void check(const Texts & ways, void (*scenario)(const std::string &)) {
    for (const std::string & way : ways) {
        run("ZBCOMMON_POINTER_CHECK", way, scenario);
    }
}

// How a forked process ends, and the place that the last fault on its way there has hit.
std::pair<int, std::uint64_t> endOfFork(const std::function<void()> & scenario) {
    const pid_t process = fork();
    if (process == 0) {
        EXPECT_EQ(ptrace(PTRACE_TRACEME, 0, nullptr, nullptr), 0);
        scenario();
        _exit(outcome());
    }
    int status = 0;
    __ptrace_syscall_info stop{};
    while (waitpid(process, &status, 0) == process && WIFSTOPPED(status)) {
        EXPECT_GT(ptrace(PTRACE_GET_SYSCALL_INFO, process, sizeof stop, &stop), 0);
        EXPECT_EQ(ptrace(PTRACE_CONT, process, nullptr, WSTOPSIG(status)), 0);
    }
    return {status, stop.instruction_pointer};
}

// ---- Pointer checks

void checkRanges(bool isOff, const char * stackOfOther) {
    constexpr int readWrite = PROT_READ | PROT_WRITE;
    constexpr std::size_t all = SIZE_MAX;
    std::vector<char> heap(10 * page);
    const char onStack = 0;
    char * const mapped = map(4, readWrite);
    EXPECT_EQ(mprotect(mapped + page, page, PROT_READ), 0);
    EXPECT_EQ(mprotect(mapped + 2 * page, page, PROT_NONE), 0);
    const int file = fileOf(page + 1);
    const char * const shared = map(3, readWrite, file);
    const char * const readOnlyFile = map(1, PROT_READ, file);
    const char * const untouched = map(1000, readWrite);
    EXPECT_EQ(munmap(mapped + 3 * page, page), 0); // last: the next mapping would fill the hole
    const auto at = [](std::uintptr_t address) { return reinterpret_cast<const void *>(address); };
    const std::size_t toNull = all - reinterpret_cast<std::uintptr_t>(heap.data()) + 1;
    // clang-format off
    const struct {
        const char * name;
        const void * at;
        std::size_t length;
        bool readable, writable;
    } ranges[] = {
        {"heap", heap.data() + 1, heap.size() - 2, true, true}, {"stack", &onStack, 1, true, true},
        {"another thread's stack", stackOfOther, 1, true, true}, {"static data", staticData, sizeof staticData, true, true},
        {"literal", "literal", 8, true, false}, {"code", reinterpret_cast<const char *>(&svcCheckPointer), 16, true, false},
        {"never touched", untouched, 1000 * page, true, true}, {"last byte writable, next read only", mapped + page - 1, 2, true, false},
        {"up to read only", mapped, page, true, true}, {"no access", mapped + 2 * page, 1, false, false},
        {"into no access by one byte", mapped, 2 * page + 1, false, false}, {"up to no access", mapped + page, page, true, false},
        {"unmapped", mapped + 3 * page, 1, false, false}, {"a hole in the middle", mapped + page, 3 * page, false, false},
        {"file", shared, 2 * page, true, true}, {"into behind the file's end", shared + 2 * page - 1, 2, false, false},
        {"read only file", readOnlyFile, page, true, false}, {"null", nullptr, 1, false, false}, {"null, all", nullptr, all, false, false},
        {"null without a length", nullptr, 0, true, true}, {"bad pointer without a length", mapped + 2 * page, 0, true, true},
        {"the lowest byte but null", at(1), 1, false, false}, {"wraps in one page", heap.data() + 8, all, false, false},
        {"wraps to null", heap.data(), toNull + 1, false, false}, {"up to the end of everything", heap.data(), toNull, false, false},
        {"the last byte of all", at(UINTPTR_MAX), 1, false, false}, {"the kernel's half", at(std::uintptr_t{0xffff} << 48U), 8, false, false},
        {"between the halves", at(std::uintptr_t{1} << 60U), 8, false, false},
        {"across the halves' bound", at((std::uintptr_t{1} << 47U) - page), 2 * page, false, false},
    };
    // clang-format on
    for (const auto & row : ranges) {
        const bool yes = isOff && (row.at != nullptr || row.length == 0);
        errno = 1234;
        EXPECT_EQ(readable(row.at, row.length), isOff ? yes : row.readable) << row.name << " read";
        EXPECT_EQ(writable(row.at, row.length), isOff ? yes : row.writable) << row.name << " write";
        EXPECT_EQ(errno, 1234) << row.name;
    }
}

void everyRange(const std::string & way) {
    const char here = 0;
    std::thread(checkRanges, way == "off", &here).join();
    EXPECT_EQ(endOfFork([&] { checkRanges(way == "off", &here); }).first, 0);
}

TEST(PointerCheck, EveryRange) {
    check({"", "kernel", "off"}, everyRange);
    everyRange(""); // with the handlers that sanitizers bring along
}

TEST(PointerCheck, AnswersOfTheMoment) {
    check({"", "kernel"}, [](const std::string &) {
        for (const unsigned mode : {0U, 3U, 0x101U, 0xffffU}) {
            EXPECT_NE(svcCheckPointer(staticData, 1, static_cast<std::uint16_t>(mode)), 0) << mode;
        }
        const int file = fileOf(1);
        char * const memory = map(1, PROT_READ | PROT_WRITE, file);
        for (const int access : {PROT_READ | PROT_WRITE, PROT_READ, PROT_NONE, PROT_READ}) {
            EXPECT_EQ(mprotect(memory, page, access), 0);
            EXPECT_EQ(readable(memory), access != PROT_NONE);
            EXPECT_EQ(writable(memory), (access & PROT_WRITE) != 0);
        }
        EXPECT_EQ(ftruncate(file, 0), 0);
        EXPECT_FALSE(readable(memory));
        EXPECT_EQ(ftruncate(file, 1), 0);
        EXPECT_TRUE(readable(memory));
        EXPECT_EQ(munmap(memory, page), 0);
        EXPECT_FALSE(readable(memory));
    });
}

// No step of a count is lost, while others check the same byte.
TEST(PointerCheck, NothingIsLostToOtherThreads) {
    check({"", "kernel"}, [](const std::string & way) {
        alignas(4) std::atomic<std::uint8_t> byte = 0;
        std::atomic<int> checking = 2;
        std::atomic<int> refused = 0;
        const auto checkOn = [&] {
            for (int i = 0; i < (way.empty() ? 5000000 : 200000); ++i) {
                if (!writable(&byte)) {
                    ++refused;
                }
            }
            --checking;
        };
        const std::jthread checkers[] = {std::jthread(checkOn), std::jthread(checkOn)};
        int lost = 0;
        for (unsigned i = 0; checking > 0; ++i) {
            lost += byte++ != static_cast<std::uint8_t>(i) ? 1 : 0;
        }
        EXPECT_EQ(lost, 0);
        EXPECT_EQ(refused, 0);
    });
}

#if defined(__x86_64__) && defined(__LP64__)
// A probe that writes without the lock prefix loses a byte by chance alone: look at the code.
TEST(PointerCheck, ProbesReadOrWriteInOneStep) {
    Dl_info info{};
    ASSERT_NE(dladdr(dlsym(RTLD_DEFAULT, "svcCheckPointer"), &info), 0);
    std::ifstream file(info.dli_fname);
    const std::string image(std::istreambuf_iterator<char>(file), {});
    const auto * elf = reinterpret_cast<const ElfW(Ehdr) *>(image.data());
    const auto * section = reinterpret_cast<const ElfW(Shdr) *>(image.data() + elf->e_shoff);
    const char * const names = image.data() + section[elf->e_shstrndx].sh_offset;
    while (std::strcmp(names + section->sh_name, "zbcommon_probes") != 0) {
        ++section;
    }
    std::set<std::string> codes;
    for (std::size_t at = 0; at != section->sh_size; at += 8) {
        const char * const field = static_cast<char *>(info.dli_fbase) + section->sh_addr + at;
        const char * const code = field + *reinterpret_cast<const std::int32_t *>(field);
        codes.emplace(code + ((*code & 0xF0) == 0x40 ? 1 : 0), 1); // behind a register prefix
    }
    EXPECT_EQ(codes, (std::set<std::string>{"\x0F", "\xF0"}));
}
#endif

auto handlerOf(int signal) {
    struct sigaction action {};
    EXPECT_EQ(sigaction(signal, nullptr, &action), 0);
    return action.sa_handler;
}

// An ignored signal stays so, also in programs started later: then, and where nothing is touched,
// no handler is there at all.
TEST(PointerCheck, InstallsHandlersOnlyToTouch) {
    check({"", "kernel", "off"}, [](const std::string & way) {
        for (const int ignored : {SIGSEGV, SIGBUS, SIGUSR1}) {
            const auto look = [&] {
                signal(ignored, SIG_IGN);
                EXPECT_EQ(readable(badPage(SIGSEGV)), way == "off");
                for (const int each : {SIGSEGV, SIGBUS}) {
                    EXPECT_EQ(handlerOf(each) == (each == ignored ? SIG_IGN : SIG_DFL),
                              !way.empty() || ignored != SIGUSR1);
                }
            };
            EXPECT_EQ(endOfFork(look).first, 0) << ignored;
        }
    });
}

void later(int) {
    _exit(3);
}

// The look comes with thread set-up, or with the thousandth check after the one before.
void changeAndLook(int fault, bool blocks, bool bySetUp) {
    const char * const bad = badPage(fault);
    const sigset_t faults = setOf(fault);
    svcInitialize(0, 9, 0, 0, nullptr);
    for (const int how : {SIG_BLOCK, SIG_UNBLOCK, SIG_BLOCK}) {
        EXPECT_EQ(pthread_sigmask(blocks ? how : SIG_UNBLOCK, &faults, nullptr), 0);
        if (!blocks) {
            signal(fault, later);
        }
        for (int i = 0; i < 999 && !bySetUp; ++i) {
            EXPECT_TRUE(writable(staticData));
        }
        EXPECT_EQ(bySetUp ? svcInitialize(0, 9, 0, 0, nullptr) : 0, 0);
        EXPECT_FALSE(readable(bad));
        EXPECT_FALSE(writable(bad));
        EXPECT_EQ(handlerOf(fault) == later, !blocks);
        std::thread([bad] { EXPECT_FALSE(readable(bad)); }).join(); // begins like this
    }
}

TEST(PointerCheck, NoticesLaterHandlersAndBlockedSignals) {
    check({""}, [](const std::string &) {
        for (const int i : {0, 1, 2, 3, 4, 5, 6, 7}) {
            const auto change = [i] {
                changeAndLook((i & 1) != 0 ? SIGSEGV : SIGBUS, (i & 2) != 0, (i & 4) != 0);
            };
            EXPECT_EQ(endOfFork(change).first, 0) << i;
        }
    });
}

struct sigaction chained {};

TEST(PointerCheck, WorksBehindALaterHandlerThatHandsOn) {
    check({""}, [](const std::string &) {
        svcInitialize(0, 9, 0, 0, nullptr);
        struct sigaction action {};
        action.sa_flags = SA_SIGINFO;
        action.sa_sigaction = [](int fault, siginfo_t * info, void * context) {
            chained.sa_sigaction(fault, info, context);
        };
        EXPECT_EQ(sigaction(SIGSEGV, &action, &chained), 0);
        EXPECT_FALSE(readable(badPage(SIGSEGV)));
    });
}

// ---- Faults that are the application's own

sigjmp_buf behindTheFault;
char ownStack[65536];
char * told = nullptr; // shared with forks
bool checks = false;

void expectRefusals() {
    if (checks && (readable(badPage(SIGSEGV)) || readable(badPage(SIGBUS)))) {
        _exit(3);
    }
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

constexpr int none = -1;
constexpr int once = static_cast<int>(SA_RESETHAND);
constexpr int facts = SA_SIGINFO;
constexpr int formerHandlers[] = {none, 0,           facts, facts | SA_NODEFER, facts | SA_ONSTACK,
                                  once, facts | once};

void faultTwice(int former, int fault, void (*make)()) {
    const stack_t stack{ownStack, 0, sizeof ownStack};
    EXPECT_EQ(sigaltstack(&stack, nullptr), 0);
    struct sigaction action {};
    action.sa_flags = former;
    action.sa_mask = setOf(SIGUSR1);
    action.sa_sigaction = tell;
    if ((former & SA_SIGINFO) == 0) {
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
    check({""}, [](const std::string &) {
        const rlimit noCore{};
        setrlimit(RLIMIT_CORE, &noCore);
        for (const int former : formerHandlers) {
            const int reports = former == none ? 0 : (former & once) != 0 ? 1 : 2;
            for (const auto & cause : causes) {
                std::string courses[2];
                for (const bool each : {false, true}) {
                    checks = each;
                    told = map(1, PROT_READ | PROT_WRITE, fileOf(page));
                    const auto end =
                        endOfFork([&] { faultTwice(former, cause.first, cause.second); });
                    EXPECT_EQ(end.first, reports == 2 ? 0 : cause.first);
                    courses[each] = told + std::to_string(reports == 2 ? 0 : end.second);
                }
                EXPECT_EQ(std::count(courses[0].begin(), courses[0].end(), '\n'), reports);
                EXPECT_EQ(courses[0], courses[1]) << former << ' ' << (&cause - causes);
            }
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
    run("ZBCOMMON_TRACE", path, [](const std::string & trace) {
        char forged[] = "forged\r\n2024 \\ \x1b[31m \x1f \x7f \xc3\xa9";
        std::string last = clockNow();
        pid_t other = 0;
        umask(0);
        errno = 1234;
        trcText("plain");
        trcFunctionEntry(nullptr, 31, 57);
        trcText("nested");
        trcFunctionEntry(&forged, 4294967295U, 0);
        trcFunctionReturn(nullptr, 4294967295U, 0, 4294967295U);
        std::thread([&other] {
            other = gettid();
            trcText("depth of its own");
        }).join();
        trcFunctionReturn(nullptr, 31, 57, 1);
        trcFunctionReturn(nullptr, 31, 58, 0);
        trcText(nullptr);
        trcText("");
        trcText(forged);
        trcText(std::string(5000, 'x').c_str());
        EXPECT_EQ(errno, 1234);
        EXPECT_EQ(fs::status(trace).permissions(), fs::perms{0640});

        const std::string process = std::to_string(getpid()) + ' ';
        const std::string ids = process + process;
        const std::string cut = ids + "0 text ";
        const Texts expected{
            ids + "0 text plain",
            ids + "0 entry 31 57",
            ids + "1 text nested",
            ids + "1 entry 4294967295 0",
            ids + "1 return 4294967295 0 4294967295",
            process + std::to_string(other) + " 0 text depth of its own",
            ids + "0 return 31 57 1",
            ids + "0 return 31 58 0",
            ids + "0 text ",
            ids + "0 text forged\\x0d\\n2024 \\\\ \\x1b[31m \\x1f \\x7f \xc3\xa9",
            cut + std::string(4094 - 4 - last.size() - cut.size(), 'x') + "\\...",
        };
        Texts found = lines(trace);
        for (std::string & line : found) {
            const std::string time = line.substr(0, last.size());
            EXPECT_LE(last, time);
            last = time;
            line.erase(0, time.size());
        }
        EXPECT_LE(last, clockNow());
        EXPECT_EQ(found, expected);
    });
}

std::string manyTexts(int thread, int line) {
    return " 0 text " + std::to_string(thread) + std::string(static_cast<std::size_t>(line), 'x');
}

TEST_F(Trace, LinesOfManyThreadsAndProcessesNeverMix) {
    run("ZBCOMMON_TRACE", path, [](const std::string & trace) {
        const bool parent = fork() != 0 && fork() != 0;
        std::vector<std::thread> threads;
        std::multiset<std::string> expected;
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([thread] {
                for (int line = 0; line < 1000; line += 10) {
                    trcText(manyTexts(thread, line).c_str() + std::strlen(" 0 text "));
                }
            });
            for (int line = 0; line < 3000; line += 10) {
                expected.insert(manyTexts(thread, line % 1000));
            }
        }
        std::for_each(threads.begin(), threads.end(), [](std::thread & each) { each.join(); });
        if (!parent) {
            _exit(0);
        }
        wait(nullptr);
        wait(nullptr);
        const Texts found = lines(trace, " 0 text ");
        EXPECT_EQ(std::multiset<std::string>(found.begin(), found.end()), expected);
    });
}

TEST_F(Trace, FileCanBeRotated) {
    run("ZBCOMMON_TRACE", fs::relative(path), [](const std::string & relative) {
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

void traceIntoNothing(const std::string & trace) {
    if (trace.ends_with("Application")) {
        mkfifo(trace.c_str(), 0600);
    }
    errno = 1234;
    trcText("lost");
    trcText("lost");
    EXPECT_EQ(errno, 1234);
}

TEST_F(Trace, IsLostRatherThanTheApplication) {
    for (const std::string & unwritable :
         {path, path + "/missing", fs::path(path).parent_path().string(), std::string("/dev/full"),
          "/" + std::string(5000, 'x'), std::string()}) {
        run("ZBCOMMON_TRACE", unwritable, traceIntoNothing);
    }
}

TEST_F(Trace, GoesToStandardErrorUntilNobodyReads) {
    run("ZBCOMMON_TRACE", "stderr", [](const std::string & trace) {
        int ends[2] = {-1, -1};
        EXPECT_EQ(pipe(ends), 0);
        dup2(ends[1], STDERR_FILENO);
        trcText("heard");
        char heard[200] = {};
        EXPECT_GT(read(ends[0], heard, sizeof heard - 1), 0);
        EXPECT_STREQ(std::strstr(heard, " 0 "), " 0 text heard\n");
        close(ends[0]);
        traceIntoNothing(trace);
    });
}

void setFileSizeLimit(rlim_t size) {
    const rlimit limit{size, RLIM_INFINITY};
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
}

// A full disk in small: the file may not grow, then it may again.
TEST_F(Trace, GoesOnWhenThereIsRoomAgain) {
    run("ZBCOMMON_TRACE", path, [](const std::string & trace) {
        const sigset_t limits = setOf(SIGXFSZ);
        for (const bool raised : {false, true}) {
            setFileSizeLimit(60);
            trcText("this line is cut off by the limit of 60 bytes");
            traceIntoNothing(trace);
            EXPECT_EQ(pthread_sigmask(SIG_BLOCK, &limits, nullptr), 0);
            EXPECT_EQ(raised ? raise(SIGXFSZ) : 0, 0);
            traceIntoNothing(trace);
            sigset_t waiting;
            EXPECT_EQ(sigpending(&waiting), 0);
            EXPECT_EQ(sigismember(&waiting, SIGXFSZ), raised ? 1 : 0); // the application's own
            setFileSizeLimit(RLIM_INFINITY);
            trcText("after");
        }
        EXPECT_EQ(lines(trace)[0].size(), 60U);
        const Texts expected{"", " 0 text after", " 0 text after"};
        EXPECT_EQ(lines(trace, " 0 text after"), expected);
    });
}

// ---- Threads and the library itself

TEST(Thread, SlotIsFilledBySetUpAlone) {
    std::set<void *> contexts;
    const auto setUp = [&contexts] {
        contexts.insert(pthread_getspecific(svcThreadSlot));
        unsigned char area[16];
        EXPECT_EQ(svcInitialize(48, 1031, 0, 0, area), 0);
        contexts.insert(pthread_getspecific(svcThreadSlot));
        EXPECT_EQ(svcInitialize(0, 9, 0, 0, nullptr), 0);
        contexts.insert(pthread_getspecific(svcThreadSlot));
    };
    setUp();
    std::thread(setUp).join();
    EXPECT_EQ(contexts.size(), 3U);
    EXPECT_EQ(contexts.count(nullptr), 1U);
}

// The handler, and what others have kept of it, must not be unloaded from under the process.
TEST(Library, StaysLoadedForGood) {
    Dl_info info{};
    link_map * entry = nullptr;
    ASSERT_NE(dladdr1(dlsym(RTLD_DEFAULT, "svcCheckPointer"), &info,
                      reinterpret_cast<void **>(&entry), RTLD_DL_LINKMAP),
              0);
    const ElfW(Dyn) * part = entry->l_ld;
    while (part->d_tag != DT_FLAGS_1 && part->d_tag != DT_NULL) {
        ++part;
    }
    EXPECT_NE(part->d_un.d_val & DF_1_NODELETE, 0U);
}

}
