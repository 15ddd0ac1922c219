// Memory, locks, diagnostic helpers and the version.
#include "kestrim_crypto.h"
#include "tests/scratch_files.hpp"
#include "tests/support.hpp"

#include <cstdio>
#include <cstring>
#include <sys/stat.h>

namespace {

using test::bytes;

template <class T>
using block_ptr = test::owned<T, ZRC_Free>;

bytes some_data(std::size_t size)
{
    return test::repeatable{37}.data(size);
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
    ZRC_Free_Ex(nullptr, 0xFFFFFFFF);
    ZRC_Free(nullptr);
}

TEST(Memory, ReallocKeepsTheBytesAndTakesNull)
{
    ZRC_Free(ZRC_Realloc(nullptr, 16));
    const bytes data = some_data(16);
    auto* block = static_cast<std::uint8_t*>(test_malloc(16));
    std::ranges::copy(data, block);
    block = static_cast<std::uint8_t*>(ZRC_Realloc(block, 100000));
    ASSERT_NE(block, nullptr);
    EXPECT_TRUE(std::ranges::equal(data, std::span{block, 16}));
    ZRC_Free(block);
}

// Locks

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
    test::expect_codes({{zrc_Init_Lock(nullptr), 0x1D010049},
                        {zrc_Wait_Lock(nullptr), 0x1D020049},
                        {zrc_Release_Lock(nullptr), 0x1D030049},
                        {zrc_Clear_Lock(nullptr), 0}});
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

TEST(Hex, PrintsMixWithTheCallersOutputAndDumpsAreStringsInThreeBytesForEach)
{
    for (const std::size_t size : {1U, 2U, 511U, 512U, 513U, 100003U}) { // a dump is perhaps made in pieces
        const bytes data = some_data(size);
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
    std::vector<char*> dumps;
    for (const auto& [data, length] :
         {std::pair{static_cast<const std::uint8_t*>(nullptr), 1}, {&byte, 0}, {&byte, -1}}) {
        for (const hex_printer& printer : kPrinters)
            printer.print(data, length);
        dumps.push_back(zrc_Dump_HEX(data, length));
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(dumps, std::vector<char*>(3, nullptr));
}

// Files

using Files = test::scratch_files;

TEST_F(Files, WriteFromAnOffsetAndReadBack)
{
    const bytes data = some_data(100003);
    const std::string file = path("file"); // each case replaces the file of the one before
    for (const auto& [offset, length] : {std::pair{0, 1}, {0, 100003}, {7, 8}, {4095, 4096}}) {
        const bytes part{data.begin() + offset, data.begin() + offset + length};
        ASSERT_EQ(zrc_Binary_To_File(data.data(), offset, length, file.c_str()), length);
        EXPECT_EQ(contents(file), part);
        std::uint8_t* read = nullptr;
        ASSERT_EQ(zrc_File_To_Binary(file.c_str(), &read), length);
        const block_ptr<std::uint8_t> owner{read};
        EXPECT_EQ(bytes(read, read + length), part);
    }
    constexpr std::pair<std::int32_t, std::int32_t> kRefused[] = {{4, 4},  {5, 4},  {0, 0},         {0, -1},
                                                                  {-1, 0}, {-1, 4}, {INT32_MIN, 4}, {-5, -4}};
    const bytes kept = contents(file);
    for (const auto& [offset, length] : kRefused) // before the file is touched
        EXPECT_EQ(zrc_Binary_To_File(data.data() + 8, offset, length, file.c_str()), -1) << offset << ' ' << length;
    EXPECT_EQ(zrc_Binary_To_File(nullptr, 0, 4, file.c_str()), -1);
    EXPECT_EQ(contents(file), kept);
    EXPECT_EQ(zrc_Binary_To_File(data.data(), 0, 4, nullptr), -1);
}

TEST_F(Files, WriteThatTheSystemRefuses)
{
    const bytes data = some_data(1 << 20);
    EXPECT_EQ(zrc_Binary_To_File(data.data(), 0, 4, path("missing/file").c_str()), -1);
    EXPECT_EQ(zrc_Binary_To_File(data.data(), 0, 4, path("").c_str()), -1); // the directory
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

TEST(Version, IsTheDocumentedOne)
{
    EXPECT_STREQ(ZRC_Get_Crypto_Version(), "5.2.0");
    EXPECT_EQ(GetLibraryFileName(), nullptr);
}

} // namespace
