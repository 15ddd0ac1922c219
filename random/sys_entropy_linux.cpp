// The sources of entropy on Linux: the process, clocks and counters, files of /proc, and the kernel's random device.
// Each one adds what it can read and nothing when it cannot; none of them fails the collection.
#include "core/secret.hpp"
#include "random/entropy.hpp"
#include "random/text_file.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <pthread.h>
#include <span>
#include <string_view>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysinfo.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zrc {
namespace {

constexpr std::size_t kPathBytes = 256;
constexpr std::size_t kRandomBytes = 64;

// Ticks of a counter as fine as the machine has it.
inline std::uint64_t time_stamp() noexcept
{
#if defined(__x86_64__) || defined(__i386__)
    return __builtin_ia32_rdtsc();
#elif defined(__aarch64__)
    std::uint64_t ticks;
    __asm__ __volatile__("isb\n\tmrs %0, cntvct_el0" : "=r"(ticks) : : "memory");
    return ticks;
#else
    timespec now;
    if (clock_gettime(CLOCK_MONOTONIC, &now) != 0) return 0;
    return std::uint64_t(now.tv_sec) * 1'000'000'000 + std::uint64_t(now.tv_nsec);
#endif
}

// What a source is given: where to read and where to add.
class collector {
public:
    collector(ZRC_ENTROPY_UNIT& unit, const source_paths& from) noexcept : paths{from}, unit_{unit} {}

    const source_paths& paths;

    void add(const void* data, std::size_t bytes, int credit) noexcept
    {
        zrc_Add_ENTROPY(&unit_, data, std::uint32_t(bytes), credit);
    }
    // The low bits of a value, in the machine's byte order.
    void add_16(std::uint64_t value, int credit) noexcept { add_as<std::uint16_t>(value, credit); }
    void add_32(std::uint64_t value, int credit) noexcept { add_as<std::uint32_t>(value, credit); }
    void add_64(std::uint64_t value, int credit) noexcept { add_as<std::uint64_t>(value, credit); }

    void wipe_collected() const noexcept
    {
        if (unit_.collected) wipe(unit_.collected, unit_.collected_size);
    }

private:
    template <class Word>
    void add_as(std::uint64_t value, int credit) noexcept
    {
        const auto word = Word(value);
        add(&word, sizeof word, credit);
    }

    ZRC_ENTROPY_UNIT& unit_;
};

void current_process(collector& to) noexcept
{
    to.add_32(std::uint64_t(getpid()), 2);
}

void current_time(collector& to) noexcept
{
    timespec now;
    if (clock_gettime(CLOCK_REALTIME, &now) != 0) return;
    const std::uint32_t parts[2] = {std::uint32_t(now.tv_sec), std::uint32_t(now.tv_nsec)};
    to.add(parts, sizeof parts, 5);
}

void random_device(collector& to) noexcept
{
    // A program that was started with a standard stream closed got its number here: another part of it may take the
    // descriptor for that stream.
    const input_file device{to.paths.random_device};
    if (device.descriptor() <= STDERR_FILENO) return;
    secret_array<std::uint8_t, kRandomBytes> bytes;
    to.add(bytes.data(), device.read_all(bytes.span()), int(kRandomBytes));
}

// The start time of the process and the place of its stack, which address space randomisation chooses and which other
// users do not see.
void process_stat_line(collector& to) noexcept
{
    constexpr unsigned kStartTime = 19, kStackStart = 25; // words after the name: fields 22 and 28 of proc(5)

    std::array<char, kPathBytes> path;
    const int length = std::snprintf(path.data(), path.size(), "%s/%d/stat", to.paths.processes, int(getpid()));
    if (length < 0 || std::size_t(length) >= path.size()) return;

    secret_array<std::uint8_t, 1024> line;
    line[input_file{path.data()}.read_all(line.span().first<1023>())] = 0;
    const char* name_end = std::strrchr(reinterpret_cast<const char*>(line.data()), ')'); // a name may hold anything
    if (!name_end) return;
    for (const unsigned index : {kStartTime, kStackStart}) {
        std::uint64_t number;
        if (read_number(word(name_end + 1, index), number)) to.add_32(number, 1);
    }
}

void task_directory(collector& to) noexcept
{
    struct stat status;
    if (stat(to.paths.task_directory, &status) != 0) return;
    to.add_32(status.st_ino, 1);
    to.add_32(std::uint64_t(status.st_atim.tv_sec), 1);
    to.add_32(std::uint64_t(status.st_mtim.tv_sec), 1);
    to.add_32(std::uint64_t(status.st_mtim.tv_sec), 1); // twice, on purpose
}

void system_information(collector& to) noexcept
{
    struct sysinfo info;
    if (sysinfo(&info) != 0) return;
    to.add_32(std::uint64_t(info.uptime), 2);
    for (const auto amount :
         {info.totalram, info.freeram, info.sharedram, info.bufferram, info.totalswap, info.freeswap})
        to.add_32(amount, 1);
    to.add_16(info.procs, 1);
}

// Adds the number after the first word of the first line that contains each of `names`, in the file's order.
template <std::size_t N>
void add_named_lines(collector& to, const char* path, std::array<std::string_view, N> names, int credit) noexcept
{
    std::size_t missing = N;
    line_reader lines{path};
    while (const char* line = missing != 0 ? lines.next() : nullptr) {
        for (std::string_view& name : names) {
            if (name.empty() || std::string_view{line}.find(name) == std::string_view::npos) continue;
            std::uint64_t number;
            if (read_number(word(line, 1), number)) to.add_32(number, credit);
            name = {};
            --missing;
        }
    }
}

void kernel_statistics(collector& to) noexcept
{
    add_named_lines<2>(to, to.paths.kernel_statistics, {"ctxt", "processes"}, 2);
}

void memory_information(collector& to) noexcept
{
    add_named_lines<2>(to, to.paths.memory_information, {"MemTotal:", "MemFree:"}, 1);
}

void cpu_information(collector& to) noexcept
{
    secret_array<std::uint8_t, 132> block;
    if (input_file{to.paths.cpu_information}.read_all(block.span()) != 132) return;
    to.add(block.data() + 52, 4, 1);
    to.add(block.data() + 108, 4, 1);
}

void disk(collector& to) noexcept
{
    struct statvfs statistics;
    if (statvfs(to.paths.file_system, &statistics) != 0) return;
    to.add_64(statistics.f_bfree, 2);
    to.add_64(statistics.f_bavail, 2);
}

void sleep_timing(collector& to) noexcept
{
    const std::uint64_t before = time_stamp();
    sleep(0);
    to.add_64(time_stamp() - before, 2);
}

// Ticks in a millisecond, or in the interval when the clock shows none; the low bits are the noise of the sleep.
void cpu_speed_timing(collector& to) noexcept
{
    timeval before, after;
    if (gettimeofday(&before, nullptr) != 0) return;
    const std::uint64_t start = time_stamp();
    usleep(0);
    const std::uint64_t ticks = time_stamp() - start;
    if (gettimeofday(&after, nullptr) != 0) return;

    const auto elapsed =
        std::int64_t{after.tv_sec - before.tv_sec} * 1'000'000 + std::int64_t{after.tv_usec - before.tv_usec};
    to.add_32(elapsed > 0 ? ticks * 1000 / std::uint64_t(elapsed) : ticks, 3);
}

void network_counters(collector& to) noexcept
{
    // Patterns of the shell without a special character match themselves alone.
    static constexpr std::string_view kWanted[] = {
        "IpInReceives", "IpInDelivers", "IpOutRequests", "TcpInSegs", "TcpOutSegs", "UdpInDatagrams", "UdpOutDatagrams",
    };

    ZRC_ENTROPY_TABLE_ENTRY* list = nullptr;
    load_ugly_table(to.paths.extended_network_counters, &list);
    load_ugly_table(to.paths.network_counters, &list);
    for (const auto* entry = list; entry; entry = entry->next) {
        const bool wanted = std::find(std::begin(kWanted), std::end(kWanted), entry->name) != std::end(kWanted);
        if (wanted) to.add_32(entry->value, 2);
    }
    free_ugly_table(list);
}

void shared_memory_limits(collector& to) noexcept
{
    for (const char* path : {to.paths.shared_memory_pages, to.paths.shared_memory_bytes}) {
        std::array<std::uint8_t, 32> text{};
        input_file{path}.read_all(std::span{text}.first<31>());
        std::uint64_t number;
        if (read_number(reinterpret_cast<const char*>(text.data()), number)) to.add_32(number, 1);
    }
}

// Signals are held back from the thread while this lives, and from a child that it makes.
class signal_pause {
public:
    signal_pause() noexcept
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~signal_pause() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    signal_pause(const signal_pause&) = delete;
    signal_pause& operator=(const signal_pause&) = delete;

private:
    sigset_t before_;
};

// Waits until the child has ended. One that somebody stopped is ended here, so that it cannot keep us waiting. The
// program may have reaped it already, in a handler or by ignoring SIGCHLD: that is an end, too.
void reap(pid_t child) noexcept
{
    for (;;) {
        int status;
        if (waitpid(child, &status, WUNTRACED | WCONTINUED) < 0) {
            if (errno == EINTR) continue;
            return;
        }
        if (WIFEXITED(status) || WIFSIGNALED(status)) return;
        if (WIFSTOPPED(status)) kill(child, SIGKILL);
    }
}

// The child of a threaded process may do little: a lock of the allocator may be held by a thread that does not exist
// in it. So it wipes its copy of the collected bytes, releases nothing, and leaves by _exit, which neither runs the
// program's atexit handlers nor writes the program's buffered output a second time. It takes no signal, either, since
// the program's handlers would run in it.
pid_t fork_and_leave(collector& to) noexcept
{
    const pid_t child = fork();
    if (child == 0) {
        to.wipe_collected();
        _exit(0);
    }
    return child;
}

void fork_timing(collector& to) noexcept
{
    pid_t child;
    std::int64_t ticks = 0;
    {
        const signal_pause paused;
        const std::uint64_t before = time_stamp();
        child = fork_and_leave(to);
        if (child > 0) {
            reap(child);
            ticks = std::int64_t(time_stamp() - before);
        }
    }
    // A hard stop on purpose: better than a weak collection that nobody sees. Not by exit: the generator's lock may be
    // held, and a handler of the program that asks for random bytes would wait for it.
    if (child < 0) _exit(1);
    if (ticks > 0) to.add_64(std::uint64_t(ticks), 4);
}

using source = void (*)(collector&) noexcept;

constexpr source kQuickSources[] = {current_process, current_time, random_device};

constexpr source kNormalSources[] = {
    process_stat_line, task_directory,   system_information, kernel_statistics, cpu_information, disk,
    sleep_timing,      cpu_speed_timing, memory_information, network_counters,  current_process, current_time,
    random_device,
};

// Come before the normal ones.
constexpr source kSlowSources[] = {shared_memory_limits, fork_timing};

void run(std::span<const source> sources, collector& to) noexcept
{
    for (const source add_from : sources)
        add_from(to);
}

// Holds back the cancellation of the thread: most sources make calls at which it could end, with a descriptor open
// and the collected bytes in memory.
class cancellation_pause {
public:
    cancellation_pause() noexcept { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before_); }
    ~cancellation_pause()
    {
        int ignored;
        pthread_setcancelstate(before_, &ignored);
    }
    cancellation_pause(const cancellation_pause&) = delete;
    cancellation_pause& operator=(const cancellation_pause&) = delete;

private:
    int before_;
};

} // namespace

bool collect_entropy(ZRC_ENTROPY_UNIT& unit, const source_paths& paths) noexcept
{
    const cancellation_pause paused;
    collector to{unit, paths};
    switch (unit.level) {
    case 1:
        run(kQuickSources, to);
        return true;
    case 3:
        run(kSlowSources, to);
        [[fallthrough]];
    case 2:
        run(kNormalSources, to);
        return true;
    default:
        return false;
    }
}

} // namespace zrc
