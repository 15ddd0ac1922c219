// Entropy collection: the bytes and credits of every source, read from a tree of files made for it, the entry points
// with their codes, and what a collection must not do to the process.
#include "kestrim_crypto.h"
#include "random/entropy.hpp"
#include "tests/fresh_process.hpp"
#include "tests/support.hpp"

#include <algorithm>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <list>
#include <pthread.h>
#include <string>
#include <sys/stat.h>
#include <sys/sysinfo.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

static_assert(sizeof(void*) != 8 || sizeof(ZRC_ENTROPY_UNIT) == 40, "a public record");

namespace fs = std::filesystem;
using test::in_a_fresh_process;
using bytes = std::vector<std::uint8_t>;
using unit_ptr = test::owned<ZRC_ENTROPY_UNIT, zrc_Free_ENTROPY_Unit>;

unit_ptr new_unit(std::uint32_t level = 0)
{
    unit_ptr unit{zrc_New_ENTROPY_Unit()};
    unit->level = level;
    return unit;
}

template <class T>
T value_at(const std::uint8_t* data, std::size_t offset)
{
    T value;
    std::memcpy(&value, data + offset, sizeof value);
    return value;
}

// Files to collect from, in a directory that goes away with it.
class source_tree {
public:
    source_tree()
    {
        char name[] = "/tmp/kestrim-entropy-XXXXXX";
        root_ = mkdtemp(name);
        const std::string own = std::to_string(getpid());
        fs::create_directory(root_ / own);
        write(own + "/stat", own + " (a) 1 2 (b) S 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 1901 20 21 22 23 24 "
                                   "8589934617 26\n");
        write("stat", "cpu  1 2 3\nintr " + std::string(9000, '7') + "\nctxt 11\nctxt 99\nprocesses 12\n");
        write("meminfo", "MemTotal:       21 kB\nMemFree:         22 kB\nMemAvailable: 23 kB\n");
        std::string block;
        for (int i = 0; i < 140; ++i)
            block += char(i);
        write("cpuinfo", block);
        write("urandom", block);
        write("netstat", "IpExt: InOctets\nIpExt: 1\n");
        write("snmp", "Ip: Forwarding InReceives InDelivers OutRequests\nIp: 1 31 32 33\n"
                      "Tcp: MaxConn InSegs OutSegs\nTcp: -1 34 35\n"
                      "Udp: InDatagrams OutDatagrams\nUdp: 36 37\nUdpLite: InDatagrams\nUdpLite: 9\n");
        write("shmall", "18446744073692774399\n");
        write("shmmax", "41");
        fs::create_directory(root_ / "task");
        mkfifo(path("fifo"), 0600);
    }
    ~source_tree() { fs::remove_all(root_); }

    void write(const std::string& name, const std::string& text) { std::ofstream{root_ / name} << text; }

    const char* path(const std::string& name) { return kept_.emplace_back((root_ / name).string()).c_str(); }

    zrc::source_paths paths()
    {
        return {.random_device = path("urandom"),
                .processes = path(""),
                .task_directory = path("task"),
                .kernel_statistics = path("stat"),
                .cpu_information = path("cpuinfo"),
                .memory_information = path("meminfo"),
                .extended_network_counters = path("netstat"),
                .network_counters = path("snmp"),
                .shared_memory_pages = path("shmall"),
                .shared_memory_bytes = path("shmmax"),
                .file_system = "/"};
    }

private:
    fs::path root_;
    std::list<std::string> kept_;
};

// The names and values of a table file, as text.
std::string table_of(source_tree& tree, const std::string& text, ZRC_ENTROPY_TABLE_ENTRY* list = nullptr)
{
    tree.write("table", text);
    load_ugly_table(tree.path("table"), &list);
    std::string out;
    for (const auto* entry = list; entry; entry = entry->next)
        out += std::string{entry->name} + "=" + std::to_string(entry->value) + " ";
    free_ugly_table(list);
    return out;
}

std::size_t open_descriptors()
{
    return std::size_t(std::distance(fs::directory_iterator{"/proc/self/fd"}, fs::directory_iterator{}));
}

} // namespace

TEST(EntropyUnit, AddsBytesAndCredits)
{
    const unit_ptr unit = new_unit();
    const std::uint8_t data[200] = {1, 2, 3, 4};
    test::expect_codes({{zrc_Add_ENTROPY(nullptr, data, 4, 1), 0x1C01002B},
                        {zrc_Add_ENTROPY(unit, nullptr, 4, 1), 0x1C01002B},
                        {zrc_Add_ENTROPY(unit, data, 0, 1), 0x1C01002B},
                        {zrc_Add_ENTROPY(unit, data, 4, 0), 0x1C01002B}, // a source credited 0 cannot add anything
                        {unit->collected_size, 0},
                        {zrc_Add_ENTROPY(unit, data, 4, 5), 0},
                        {zrc_Add_ENTROPY(unit, data, 128, -2), 0},
                        {unit->collected_size, 132},
                        {zrc_Add_ENTROPY(unit, unit->collected, 3, 1), 0},        // its own bytes, while it grows
                        {zrc_Add_ENTROPY(unit, data, UINT32_MAX, 1), 0x1C01003B}, // a size beyond 32 bits
                        {unit->collected_size, 132 + 3 + 128},
                        {unit->collected_length, 135},
                        {unit->estimate, 4}});
    EXPECT_EQ(std::memcmp(unit->collected, data, 4), 0);
    EXPECT_EQ(std::memcmp(unit->collected + 132, data, 3), 0);

    const ZRC_ENTROPY_UNIT zero{};
    zrc_Clean_ENTROPY_Unit(unit);
    EXPECT_EQ(std::memcmp(unit, &zero, sizeof zero), 0);
    zrc_Clean_ENTROPY_Unit(nullptr);
    zrc_Free_ENTROPY_Unit(nullptr);
}

TEST(EntropyCollection, LevelsAndTheirTotals)
{
    source_tree tree;
    const struct {
        std::uint32_t level, length, credit;
    } cases[] = {{1, 76, 71}, {2, 210, 117}, {3, 226, 123}};
    for (const auto& c : cases) {
        const unit_ptr unit = new_unit(c.level), real = new_unit();
        EXPECT_TRUE(zrc::collect_entropy(*unit, tree.paths()));
        EXPECT_EQ(unit->collected_length, c.length);
        EXPECT_EQ(unit->estimate, c.credit);
        EXPECT_EQ(get_collection_entropy(real, c.level), 0u);
        EXPECT_EQ(real->level, c.level);
        EXPECT_GE(real->collected_length, 12u); // process and time: the rest depends on the machine
        EXPECT_LE(real->collected_length, c.length);
    }
    for (const std::uint32_t level : {0u, 7u, UINT32_MAX}) {
        const unit_ptr unit = new_unit();
        EXPECT_EQ(get_collection_entropy(unit, level), 0u);
        EXPECT_EQ(unit->level, 2u);
    }
    EXPECT_TRUE(zrc_Collect_ENTROPY(nullptr) == 1 && zrc_Collect_ENTROPY(new_unit(4)) == 1);
    EXPECT_EQ(get_collection_entropy(nullptr, 1), 0x1C02002Bu);
}

TEST(EntropyCollection, EverySourceAddsItsBytesInOrder)
{
    source_tree tree;
    constexpr std::uint32_t kAccessed = 1'000'000'001, kModified = 1'000'000'002; // and not its time of change
    const timespec times[2] = {{kAccessed, 0}, {kModified, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, tree.path("task"), times, 0), 0);
    const unit_ptr unit = new_unit(3);
    ASSERT_TRUE(zrc::collect_entropy(*unit, tree.paths()));
    ASSERT_EQ(unit->collected_length, 226u);
    const std::uint8_t* data = unit->collected;

    struct stat task;
    ASSERT_EQ(stat(tree.path("task"), &task), 0);
    struct sysinfo info;
    ASSERT_EQ(sysinfo(&info), 0);
    const auto letters = [](std::uint8_t first) { // four bytes of a file that counts up
        const std::uint8_t four[] = {first, std::uint8_t(first + 1), std::uint8_t(first + 2), std::uint8_t(first + 3)};
        return value_at<std::uint32_t>(four, 0);
    };
    constexpr auto kPages = std::uint32_t(18446744073692774399U), kStack = std::uint32_t(8589934617U);
    const std::pair<std::size_t, std::uint32_t> words[] = {{0, kPages},
                                                           {4, 41},
                                                           {16, 1901},
                                                           {20, kStack},
                                                           {24, std::uint32_t(task.st_ino)},
                                                           {28, kAccessed},
                                                           {32, kModified},
                                                           {36, kModified},
                                                           {44, std::uint32_t(info.totalram)},
                                                           {60, std::uint32_t(info.totalswap)},
                                                           {70, 11},
                                                           {74, 12},
                                                           {78, letters(52)},
                                                           {82, letters(108)},
                                                           {114, 21},
                                                           {118, 22},
                                                           {150, std::uint32_t(getpid())}};
    for (const auto& [offset, value] : words)
        EXPECT_EQ(value_at<std::uint32_t>(data, offset), value) << "at " << offset;
    for (std::uint32_t i = 0; i < 7; ++i) // of the network
        EXPECT_EQ(value_at<std::uint32_t>(data, 122 + 4 * i), 31 + i);
    EXPECT_GT(value_at<std::int64_t>(data, 8), 0) << "a fork takes time";
    EXPECT_NEAR(value_at<std::uint32_t>(data, 40), double(info.uptime), 100);
    EXPECT_NEAR(value_at<std::uint16_t>(data, 68), double(info.procs), 300);
    EXPECT_GE(value_at<std::uint64_t>(data, 86), value_at<std::uint64_t>(data, 94)) << "blocks free for all";
    EXPECT_NE(value_at<std::uint64_t>(data, 102), 0u) << "a sleep takes time";
    EXPECT_NE(value_at<std::uint32_t>(data, 110), 0u);
    EXPECT_NEAR(value_at<std::uint32_t>(data, 154), double(std::time(nullptr)), 100);
    EXPECT_LT(value_at<std::uint32_t>(data, 158), 1'000'000'000u);
    for (std::uint8_t i = 0; i < 64; ++i)
        EXPECT_EQ(data[162 + i], i);
}

TEST(EntropyCollection, AMissingOrOddFileOnlyMakesItsSourceSmaller)
{
    source_tree tree;
    tree.write("words", "ctxt many\nprocesses\nMemTotal: x 5\nMemFree:\n");
    tree.write("ten", "0123456789");
    tree.write("131", std::string(131, 'x'));
    tree.write("empty", "");
    const struct {
        const char* zrc::source_paths::*member;
        std::vector<std::string> odd; // beside a missing file, a directory and a FIFO that nobody writes to
        std::uint32_t length, credit; // that the source adds when it can
    } cases[] = {
        {&zrc::source_paths::random_device, {"empty"}, 64, 64},
        {&zrc::source_paths::processes, {"empty"}, 8, 2},
        {&zrc::source_paths::kernel_statistics, {"empty", "words", "131"}, 8, 4},
        {&zrc::source_paths::cpu_information, {"empty", "ten", "131"}, 8, 2},
        {&zrc::source_paths::memory_information, {"empty", "words"}, 8, 2},
        {&zrc::source_paths::extended_network_counters, {"empty"}, 0, 0},
        {&zrc::source_paths::network_counters, {"empty", "netstat"}, 28, 14},
        {&zrc::source_paths::shared_memory_pages, {"empty", "131"}, 4, 1},
        {&zrc::source_paths::shared_memory_bytes, {"empty", "131"}, 4, 1},
    };
    zrc::source_paths none = tree.paths();
    std::uint32_t lost = 0;
    for (const auto& c : cases) {
        std::vector<std::string> files = c.odd;
        files.insert(files.end(), {"missing", "task", "fifo"});
        for (const std::string& file : files) {
            zrc::source_paths paths = tree.paths();
            paths.*c.member = tree.path(file);
            const unit_ptr unit = new_unit(3);
            EXPECT_TRUE(zrc::collect_entropy(*unit, paths));
            EXPECT_EQ(unit->collected_length, 226 - c.length) << file << " loses " << c.length;
            EXPECT_EQ(unit->estimate, 123 - c.credit) << file << " loses " << c.credit;
        }
        none.*c.member = tree.path("missing");
        lost += c.length;
    }
    none.task_directory = none.file_system = tree.path("missing");
    unit_ptr unit = new_unit(3);
    EXPECT_TRUE(zrc::collect_entropy(*unit, none));
    EXPECT_EQ(unit->collected_length, 226 - lost - 32);

    none.random_device = tree.path("ten");
    unit = new_unit(1);
    EXPECT_TRUE(zrc::collect_entropy(*unit, none));
    EXPECT_EQ(unit->collected_length, 12u + 10);
    EXPECT_EQ(unit->estimate, 71u) << "a short read has the credit of the request";
}

TEST(EntropyTable, ReadsPairsOfLines)
{
    source_tree tree;
    const std::string long_name(4095 - 4, 'n'); // with prefix, colon and blank a line that just fits
    const std::pair<std::string, std::string> cases[] = {
        {"Ip: A Bc\nIp: 1 22\nTcp: D\nTcp: 3", "IpA=1 IpBc=22 TcpD=3 "},
        {"Ip: A  B \nIp: 1  4x \n", "IpA=1 IpB=4 "},
        {"Tcp: M\nTcp: -1\n", "TcpM=" + std::to_string(ULONG_MAX) + " "},
        {"Ip: A\nIp: 8 9\n", "IpA=9 "}, // values are counted from the end of the line
        {"Ip:\nIp:\n", ""},
        {"", ""},
        {"I: " + long_name + "\nI: 1\n", "I" + long_name + "=1 "},
    };
    for (const auto& [text, table] : cases)
        EXPECT_EQ(table_of(tree, text), table);

    ZRC_ENTROPY_TABLE_ENTRY* list = nullptr;
    load_ugly_table(tree.path("netstat"), &list);
    EXPECT_EQ(table_of(tree, "Ip: A B\nIp: 1 2\n", list), "IpA=1 IpB=2 IpExtInOctets=1 ") << "in front of the list";
}

TEST(EntropyTableDeathTest, AMalformedPairAbortsTheProcess)
{
    GTEST_FLAG_SET(death_test_style, "fast");
    source_tree tree;
    const std::string too_long = "I: " + std::string(4092, 'n') + "\nI: 1\n"; // by one byte for the line buffer
    const std::string cases[] = {"no colon\nIp: 1\n", "\n",        "Ip: A\n",          "Ip: A\nIp: x\n",
                                 "Ip: A B\nIp: 1\n",  "Ip: A\n\n", "Ip: A\nIp: 1 -\n", too_long};
    for (const std::string& text : cases)
        EXPECT_EXIT(table_of(tree, text), testing::KilledBySignal(SIGABRT), "^$") << text;
}

TEST(EntropyDigest, DigestsAllThatIsCollected)
{
    const unit_ptr unit = new_unit();
    std::uint8_t expected[64], out[100];
    EXPECT_EQ(digest_entropy(unit, ZRC_SHA256), 0x1C03002Bu) << "nothing collected";
    ASSERT_EQ(zrc_Add_ENTROPY(unit, "abc", 3, 1), 0u);
    for (const std::int32_t id : {ZRC_SHA512, ZRC_SHA224}) {
        std::int32_t length = 0;
        ASSERT_EQ(ZRC_DIGEST(id, unit->collected, 3, expected, &length) | digest_entropy(unit, id), 0u);
        ASSERT_EQ(unit->digest_length, std::uint32_t(length));
        EXPECT_EQ(std::memcmp(unit->digest, expected, std::size_t(length)), 0);
    }
    test::expect_codes({{digest_entropy(nullptr, ZRC_SHA256), 0x1C03002B},
                        {digest_entropy(unit, 0), 0x1C03002B},
                        {digest_entropy(unit, 0x05000600), 0x0A050022},
                        {unit->digest != nullptr || unit->digest_length != 0, 0},
                        {get_entropy_digest(nullptr, 1, ZRC_SHA256), 0x1C02002B},
                        {get_entropy_digest(unit, 9, ZRC_SHA384), 0},
                        {unit->level, 2},
                        {unit->digest_length, 48},
                        {zrc_Get_ENTROPY(nullptr, 4, 1, ZRC_SHA256), 0x1C040049},
                        {zrc_Get_ENTROPY(out, 0, 1, ZRC_SHA256), 0x1C040049},
                        {zrc_Get_ENTROPY(out, 4, 1, 0), 0x1C040014},
                        {zrc_Get_ENTROPY(out, 4, 1, 0x05000600), 0x1C040014},
                        {get_entropy_ex(out, 4, 1, ZRC_SHA256, nullptr), 0x1C040049}});
    for (const std::uint32_t length : {1u, 31u, 32u, 33u, 100u}) { // one fresh collection for each digest length
        std::memset(out, 0, sizeof out);
        ASSERT_EQ(get_entropy_ex(out, length, 1, ZRC_SHA256, unit), 0u);
        const std::uint32_t last = (length - 1) / 32 * 32;
        EXPECT_EQ(std::memcmp(out + last, unit->digest, length - last), 0) << length;
        EXPECT_TRUE(last == 0 || std::memcmp(out, unit->digest, 32) != 0) << "each pass collects anew";
        EXPECT_TRUE(std::all_of(out + length, out + sizeof out, [](std::uint8_t byte) { return byte == 0; }));
        EXPECT_EQ(unit->estimate, 71u) << "only the last pass is in the unit";
    }
}

TEST(EntropyInput, StrengthChoosesTheLengths)
{
    // Strength and length; 0: refused.
    const std::pair<std::int32_t, std::int32_t> cases[] = {{INT32_MIN, 0}, {-1, 0},  {0, 28},  {14, 28},
                                                           {15, 32},       {16, 32}, {17, 48}, {24, 48},
                                                           {25, 64},       {32, 64}, {33, 0},  {INT32_MAX, 0}};
    for (const auto& [strength, expected] : cases) {
        auto* entropy = static_cast<std::uint8_t*>(ZRC_Malloc(7)); // an earlier buffer: replaced, or left alone
        const std::uint8_t* const earlier = entropy;
        std::int32_t length = 7;
        EXPECT_EQ(zrc_Get_ENTROPY_Input(&entropy, &length, strength, 1), expected ? 0 : 0x1C05002Bu) << strength;
        EXPECT_EQ(length, expected ? expected : 7);
        EXPECT_TRUE(expected || entropy == earlier);
        ZRC_Free(entropy);

        std::uint8_t *input = nullptr, *nonce = nullptr;
        std::int32_t nonce_length = length = 7;
        EXPECT_EQ(zrc_Get_ENTROPY_Input_With_Nonce_Input(&input, &length, &nonce, &nonce_length, strength, 1),
                  expected ? 0 : 0x1C06002Bu);
        EXPECT_EQ(length, expected ? expected : 7);
        EXPECT_EQ(nonce_length, expected ? expected / 2 : 7);
        EXPECT_EQ(input && nonce, expected != 0);
        if (input && nonce) { // level 1 collects the process id first
            EXPECT_EQ(value_at<std::uint32_t>(input, 0) ^ value_at<std::uint32_t>(nonce, 0), std::uint32_t(getpid()));
        }
        ZRC_Free(input);
        ZRC_Free(nonce);
    }
}

TEST(EntropyInput, NullPointersAndSuppliedValues)
{
    bytes supplied(400, 0x5A);
    std::uint8_t *none = nullptr, *nonce = nullptr, *made = nullptr, *entropy = supplied.data();
    std::int32_t length = 0, nonce_length = 0, one = 1, all = 400;
    const auto both = zrc_Get_ENTROPY_Input_With_Nonce_Input;
    test::expect_codes({{zrc_Get_ENTROPY_Input(nullptr, &length, 16, 1), 0x1C05002B},
                        {zrc_Get_ENTROPY_Input(&none, nullptr, 16, 1), 0x1C05002B},
                        {both(nullptr, &length, &nonce, &nonce_length, 16, 1), 0x1C060049},
                        {both(&none, nullptr, &nonce, &nonce_length, 33, 1), 0x1C060049},
                        {both(&none, &length, nullptr, &nonce_length, 16, 1), 0x1C060049},
                        {both(&none, &length, &nonce, nullptr, 16, 1), 0x1C060049},
                        {both(&entropy, &one, &nonce, &nonce_length, 16, 1), 0x1C06002B}, // no half of one byte
                        {both(&entropy, &all, &nonce, &nonce_length, 16, 1), 0}});
    EXPECT_TRUE(entropy == supplied.data() && supplied == bytes(400, 0x5A));
    ASSERT_EQ(nonce_length, 200);
    for (int i = 0; i + 76 < 200; ++i)
        EXPECT_EQ(nonce[i], nonce[i + 76]) << "the 76 bytes of level 1 repeat";
    EXPECT_EQ(value_at<std::uint32_t>(nonce, 0) ^ 0x5A5A5A5Au, std::uint32_t(getpid()));

    const bytes before{nonce, nonce + 200};
    EXPECT_EQ(both(&entropy, &all, &nonce, &nonce_length, 33, 1), 0x1C06002Bu);
    EXPECT_EQ(both(&entropy, &all, &nonce, &nonce_length, 16, 1), 0u);
    EXPECT_EQ(both(&made, &length, &nonce, &nonce_length, 24, 1), 0u);
    EXPECT_TRUE(length == 48 && nonce_length == 200 && std::equal(before.begin(), before.end(), nonce));
    ZRC_Free(nonce);
    ZRC_Free(made);
}

TEST(EntropyProcess, LeavesNoDescriptorNoChildAndNoChangedSignal)
{
    in_a_fresh_process([] {
        const std::size_t before = open_descriptors();
        sigset_t mask, after;
        sigemptyset(&mask);
        sigaddset(&mask, SIGUSR1);
        ASSERT_EQ(pthread_sigmask(SIG_SETMASK, &mask, nullptr), 0);
        std::uint8_t out[32];
        for (const std::uint32_t level : {1u, 2u, 3u}) {
            for (const auto disposition : {SIG_DFL, SIG_IGN}) {
                std::signal(SIGCHLD, disposition);
                EXPECT_EQ(zrc_Get_ENTROPY(out, sizeof out, level, ZRC_SHA256), 0u);
                EXPECT_EQ(open_descriptors(), before);
                EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
                EXPECT_EQ(errno, ECHILD);
            }
        }
        ASSERT_EQ(pthread_sigmask(SIG_SETMASK, nullptr, &after), 0);
        EXPECT_EQ(sigismember(&after, SIGUSR1), 1);
        EXPECT_EQ(sigismember(&after, SIGUSR2), 0);
    });
}

#ifdef __SANITIZE_THREAD__ // its _exit writes what is buffered
constexpr char kWrittenOnce[] = "^once;once;handler;$";
#else
constexpr char kWrittenOnce[] = "^once;handler;$";
#endif

TEST(EntropyProcessDeathTest, TheChildRunsNoHandlersAndWritesNothingTwice)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            static char buffer[256];
            std::setvbuf(stderr, buffer, _IOFBF, sizeof buffer);
            std::fputs("once;", stderr);
            std::atexit([] { std::fputs("handler;", stderr); });
            std::uint8_t out[32];
            std::exit(zrc_Get_ENTROPY(out, sizeof out, 3, ZRC_SHA256) == 0 ? 0 : 1);
        },
        testing::ExitedWithCode(0), kWrittenOnce);
}

TEST(EntropyProcessDeathTest, TheRandomDeviceIsNotReadThroughAStandardDescriptor)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto collect_with_closed = [](int closed) { // the exit status is the number of bytes
        const unit_ptr unit = new_unit(1);
        close(closed);
        zrc_Collect_ENTROPY(unit);
        _exit(fcntl(closed, F_GETFD) == -1 ? int(unit->collected_length) : 255);
    };
    for (const int closed : {0, 1, 2})
        EXPECT_EXIT(collect_with_closed(closed), testing::ExitedWithCode(12), "") << closed;
    EXPECT_EXIT(collect_with_closed(200), testing::ExitedWithCode(76), "");
}
