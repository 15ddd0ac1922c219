// Memory, locks, diagnostic helpers and the version.
#include "kestrim_crypto.h"
#include "tests/support.hpp"
#include "tests/vector_file.hpp"

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

using test::bytes;

template <class T>
using block_ptr = test::owned<T, ZRC_Free>;

bytes counting(std::size_t size)
{
    bytes out(size);
    for (std::size_t i = 0; i < size; ++i)
        out[i] = std::uint8_t(i * 37 + i / 256);
    return out;
}

// Memory

TEST(Memory, CallocClearsAndRefusesAProductThatDoesNotFit)
{
    for (int round = 0; round < 8; ++round) { // blocks that come back from the allocator are used ones
        const block_ptr<std::uint8_t> block{static_cast<std::uint8_t*>(ZRC_Calloc(33, 7))};
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(std::count(block + 0, block + 231, 0), 231);
        std::memset(block, 0xA5, 231);
    }
    EXPECT_EQ(ZRC_Calloc(0xFFFFFFFF, 0xFFFFFFFF), nullptr);
    ZRC_Free_Ex(nullptr, 0);
    ZRC_Free_Ex(nullptr, 0xFFFFFFFF);
    ZRC_Free(nullptr);
}

TEST(Memory, ReallocKeepsTheBytesAndTakesNull)
{
    auto* block = static_cast<std::uint8_t*>(ZRC_Realloc(nullptr, 16));
    ASSERT_NE(block, nullptr);
    const bytes data = counting(16);
    std::copy(data.begin(), data.end(), block);
    block = static_cast<std::uint8_t*>(ZRC_Realloc(block, 100000));
    ASSERT_NE(block, nullptr);
    EXPECT_TRUE(std::equal(data.begin(), data.end(), block));
    ZRC_Free(block);
}

constexpr std::size_t kWatched = 4096; // small enough to stay mapped after its release

// Whether the block at an address holds `pattern`, read by the kernel: it no longer belongs to this program. Must not
// allocate, which could reuse the block.
bool memory_holds(std::uintptr_t address, const bytes& pattern)
{
    std::array<std::uint8_t, kWatched> seen;
    const int memory = open("/proc/self/mem", O_RDONLY);
    const ssize_t got = pread(memory, seen.data(), seen.size(), off_t(address));
    close(memory);
    if (got != ssize_t(seen.size())) return false;
    return std::search(seen.begin(), seen.end(), pattern.begin(), pattern.end()) != seen.end();
}

TEST(Memory, FreeExLeavesNoTrace)
{
    constexpr std::size_t kTail = 64; // not to be wiped
    const bytes wiped = counting(16), kept(16, 0xC3);
    auto* block = static_cast<std::uint8_t*>(test_malloc(kWatched));
    const block_ptr<void> barrier{ZRC_Malloc(16)}; // keeps the block from melting into the top of the heap
    ASSERT_NE(block, nullptr);
    for (std::size_t at = 0; at < kWatched; at += 16)
        std::copy_n(at < kWatched - kTail ? wiped.begin() : kept.begin(), 16, block + at);
    const auto address = reinterpret_cast<std::uintptr_t>(block);
    ZRC_Free_Ex(block, kWatched - kTail);
    if (!memory_holds(address, kept)) GTEST_SKIP() << "released memory cannot be looked at here";
    EXPECT_FALSE(memory_holds(address, wiped));
}

// Locks

// The result of pthread_mutex_trylock in a thread of its own; a lock that was taken is released.
int trylock_elsewhere(pthread_mutex_t& mutex)
{
    int result = -1;
    std::thread{[&] {
        result = pthread_mutex_trylock(&mutex);
        if (result == 0) pthread_mutex_unlock(&mutex);
    }}.join();
    return result;
}

TEST(Lock, NullIsRefusedExceptByClear)
{
    EXPECT_EQ(zrc_Init_Lock(nullptr), 0x1D010049U);
    EXPECT_EQ(zrc_Wait_Lock(nullptr), 0x1D020049U);
    EXPECT_EQ(zrc_Release_Lock(nullptr), 0x1D030049U);
    EXPECT_EQ(zrc_Clear_Lock(nullptr), 0U);
}

TEST(Lock, ExcludesAndWaits)
{
    pthread_mutex_t mutex;
    ASSERT_EQ(zrc_Init_Lock(&mutex), 0U);
    ASSERT_EQ(zrc_Wait_Lock(&mutex), 0U);
    EXPECT_EQ(trylock_elsewhere(mutex), EBUSY);

    std::atomic<bool> released = false, waited = false;
    std::thread waiter{[&] {
        EXPECT_EQ(zrc_Wait_Lock(&mutex), 0U);
        waited = released.load();
        EXPECT_EQ(zrc_Release_Lock(&mutex), 0U);
    }};
    std::this_thread::sleep_for(std::chrono::milliseconds(20)); // time for a lock that does not wait to show it
    released = true;
    EXPECT_EQ(zrc_Release_Lock(&mutex), 0U);
    waiter.join();
    EXPECT_TRUE(waited);
    EXPECT_EQ(trylock_elsewhere(mutex), 0);
    EXPECT_EQ(zrc_Clear_Lock(&mutex), 0U);
}

// ThreadSanitizer reports the misuse that this test is about.
#if defined(__SANITIZE_THREAD__)
constexpr bool kThreadSanitizer = true;
#elif defined(__has_feature)
constexpr bool kThreadSanitizer = __has_feature(thread_sanitizer);
#else
constexpr bool kThreadSanitizer = false;
#endif

TEST(Lock, EveryRefusalOfTheSystemHasTheReasonOfLocking)
{
    if (kThreadSanitizer) GTEST_SKIP();
    pthread_mutexattr_t checking;
    pthread_mutexattr_init(&checking);
    pthread_mutexattr_settype(&checking, PTHREAD_MUTEX_ERRORCHECK);
    pthread_mutex_t mutex;
    ASSERT_EQ(pthread_mutex_init(&mutex, &checking), 0);
    pthread_mutexattr_destroy(&checking);

    EXPECT_EQ(zrc_Release_Lock(&mutex), 0x1D030061U);
    EXPECT_EQ(zrc_Wait_Lock(&mutex), 0U);
    EXPECT_EQ(zrc_Wait_Lock(&mutex), 0x1D020061U);
    EXPECT_EQ(zrc_Clear_Lock(&mutex), 0x1D040061U);
    EXPECT_EQ(zrc_Release_Lock(&mutex), 0U);
    EXPECT_EQ(zrc_Clear_Lock(&mutex), 0U);
}

// Hexadecimal dumps

std::string hex_pairs(const bytes& data)
{
    std::string text = test::hex(data), pairs;
    std::ranges::transform(text, text.begin(), [](char digit) { return digit >= 'a' ? char(digit - 32) : digit; });
    for (std::size_t i = 0; i < text.size(); i += 2)
        pairs += (i == 0 ? "" : ":") + text.substr(i, 2);
    return pairs;
}

struct hex_printer {
    void (*print)(const std::uint8_t*, std::int32_t);
    const char* end;
};
constexpr hex_printer kPrinters[] = {{zrc_Print_HEX_No_Nl, ""}, {zrc_Print_HEX, "\n"}, {zrc_Print_HEX_Nl, "\n\n"}};

// Every byte value, and lengths around the sizes in which a dump might be cut.
const std::vector<bytes> kDumped = {{0x01, 0xAB},  {0x00},        {0xFF},        counting(256),
                                    counting(511), counting(512), counting(513), counting(100003)};

TEST(Hex, PrintsMixWithTheCallersOutputAndDumpsAreStringsInThreeBytesForEach)
{
    for (const bytes& data : kDumped) {
        const std::string pairs = hex_pairs(data);
        const auto length = std::int32_t(data.size());
        for (const hex_printer& printer : kPrinters) {
            testing::internal::CaptureStdout();
            std::printf("before ");
            printer.print(data.data(), length);
            std::printf(" after");
            EXPECT_EQ(testing::internal::GetCapturedStdout(), "before " + pairs + printer.end + " after");
        }
        const block_ptr<char> text{zrc_Dump_HEX(data.data(), length)};
        ASSERT_NE(text, nullptr);
        EXPECT_EQ(text.get()[3 * data.size() - 1], '\0');
        EXPECT_EQ(text.get(), pairs);
    }
}

TEST(Hex, NothingForNullOrLengthsBelowOne)
{
    const std::uint8_t byte = 0x5A;
    testing::internal::CaptureStdout();
    std::vector<char*> dumps{zrc_Dump_HEX(nullptr, 1)};
    for (const hex_printer& printer : kPrinters)
        printer.print(nullptr, 1);
    for (const std::int32_t length : {0, -1, INT32_MIN}) {
        for (const hex_printer& printer : kPrinters)
            printer.print(&byte, length);
        dumps.push_back(zrc_Dump_HEX(&byte, length));
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(dumps, std::vector<char*>(4, nullptr));
}

// Files

class Files : public testing::Test {
protected:
    void SetUp() override
    {
        std::string name = testing::TempDir() + "kestrim_core_XXXXXX";
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        directory_ = name;
        next_descriptor_ = next_descriptor();
    }
    void TearDown() override
    {
        EXPECT_EQ(next_descriptor(), next_descriptor_) << "a file was left open";
        std::filesystem::remove_all(directory_);
    }

    std::string path(const char* name) const { return directory_ + "/" + name; }

    static bytes contents(const std::string& path)
    {
        std::ifstream in{path, std::ios::binary};
        return {std::istreambuf_iterator<char>{in}, {}};
    }

private:
    static int next_descriptor()
    {
        const int descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
        close(descriptor);
        return descriptor;
    }

    std::string directory_;
    int next_descriptor_ = -1;
};

TEST_F(Files, WriteFromAnOffsetAndReadBack)
{
    struct {
        std::int32_t offset, length;
    } constexpr kCases[] = {{0, 1}, {0, 100003}, {7, 8}, {4095, 4096}};
    const bytes data = counting(100003);
    const std::string file = path("file"); // each case replaces the file of the one before
    for (const auto& [offset, length] : kCases) {
        const bytes part{data.begin() + offset, data.begin() + offset + length};
        ASSERT_EQ(zrc_Binary_To_File(data.data(), offset, length, file.c_str()), length);
        EXPECT_EQ(contents(file), part);

        std::uint8_t* read = nullptr;
        ASSERT_EQ(zrc_File_To_Binary(file.c_str(), &read), length);
        const block_ptr<std::uint8_t> owner{read};
        EXPECT_EQ(bytes(read, read + length), part);
    }
}

TEST_F(Files, WriteRefusesItsArgumentsBeforeItTouchesTheFile)
{
    const bytes data = counting(64), kept = counting(10);
    const std::string file = path("kept");
    ASSERT_EQ(zrc_Binary_To_File(kept.data(), 0, 10, file.c_str()), 10);

    struct {
        std::int32_t offset, length;
    } constexpr kRefused[] = {{4, 4}, {5, 4}, {0, 0}, {0, -1}, {-1, 0}, {-1, 4}, {INT32_MIN, 4}, {-5, -4}};
    for (const auto& [offset, length] : kRefused)
        EXPECT_EQ(zrc_Binary_To_File(data.data() + 8, offset, length, file.c_str()), -1) << offset << ' ' << length;
    EXPECT_EQ(zrc_Binary_To_File(nullptr, 0, 4, file.c_str()), -1);
    EXPECT_EQ(contents(file), kept);
    EXPECT_EQ(zrc_Binary_To_File(data.data(), 0, 4, nullptr), -1);
}

TEST_F(Files, WriteThatTheSystemRefuses)
{
    const bytes data = counting(1 << 20);
    EXPECT_EQ(zrc_Binary_To_File(data.data(), 0, 4, path("missing/file").c_str()), -1);
    EXPECT_EQ(zrc_Binary_To_File(data.data(), 0, 4, path("").c_str()), -1); // the directory
    EXPECT_EQ(zrc_Binary_To_File(data.data(), 0, 4, ""), -1);
    if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "no /dev/full";
    EXPECT_EQ(zrc_Binary_To_File(data.data(), 0, 4, "/dev/full"), -1) << "shows at closing";
    EXPECT_EQ(zrc_Binary_To_File(data.data(), 0, 1 << 20, "/dev/full"), 0) << "shows at writing";
}

TEST_F(Files, ReadRefusesWhatIsNotAFileOf1To2To31Bytes)
{
    const std::string empty = path("empty"), large = path("large"), wraps = path("wraps"), pipe = path("pipe");
    for (const std::string& file : {empty, large, wraps})
        std::ofstream{file};
    ASSERT_EQ(truncate(large.c_str(), off_t{1} << 31), 0); // neither has blocks on the disk
    ASSERT_EQ(truncate(wraps.c_str(), (off_t{1} << 32) + 1), 0);
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string& file : {path("missing"), path(""), std::string{}, empty, large, wraps, pipe,
                                    path("empty/below"), std::string{"/proc/self/status"}, std::string{"/dev/null"}}) {
        std::uint8_t untouched = 0;
        std::uint8_t* out = &untouched;
        EXPECT_EQ(zrc_File_To_Binary(file.c_str(), &out), -1) << file;
        EXPECT_EQ(out, &untouched) << file;
    }
    std::uint8_t* out = nullptr;
    EXPECT_EQ(zrc_File_To_Binary(nullptr, &out), -1);
    EXPECT_EQ(zrc_File_To_Binary(empty.c_str(), nullptr), -1);
}

// A file that promises more bytes than it gives: sysfs attributes have the size of a page, whatever they hold.
TEST_F(Files, ReadRefusesAFileThatIsShorterThanItsSize)
{
    const char* const kAttribute = "/sys/kernel/mm/transparent_hugepage/enabled";
    struct stat status;
    if (stat(kAttribute, &status) != 0 || status.st_size <= off_t(contents(kAttribute).size())) {
        GTEST_SKIP() << "no such file here";
    }
    std::uint8_t* out = nullptr;
    EXPECT_EQ(zrc_File_To_Binary(kAttribute, &out), -1);
    EXPECT_EQ(out, nullptr);
}

TEST(Version, IsTheDocumentedOne)
{
    EXPECT_STREQ(ZRC_Get_Crypto_Version(), "5.2.0");
    EXPECT_EQ(GetLibraryFileName(), nullptr);
}

} // namespace
