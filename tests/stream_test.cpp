// Streams: every kind gives back what it took, filters do what their units do, and trouble is never lost on the way.
#include "kestrim/stream.h"
#include "kestrim_crypto.h"
#include "tests/scratch_files.hpp"
#include "tests/support.hpp"

#include <cerrno>
#include <csignal>
#include <sys/time.h>
#include <sys/wait.h>

namespace {

using test::bytes;

constexpr std::uint32_t kRead = ZRC_STREAM_READ, kWrite = ZRC_STREAM_WRITE, kBoth = kRead | kWrite;

struct stream : test::owned<ZRC_STREAM, ZRC_Free_STREAM> {
    stream() : handle{ZRC_New_STREAM()} {}
};
using digest_ptr = test::owned<ZRC_DIGEST_UNIT, ZRC_Free_DIGEST_Unit>;
using hmac_ptr = test::owned<ZRC_HMAC_UNIT, ZRC_Free_HMAC_Unit>;
using cipher_ptr = test::owned<ZRC_BLOCK_CIPHER_UNIT, ZRC_Free_BLOCK_CIPHER_Unit>;

bytes some_data(std::size_t size)
{
    return test::repeatable{37}.data(size);
}

std::int32_t size_of(const bytes& data)
{
    return std::int32_t(data.size());
}

std::uint32_t read(ZRC_STREAM* stream, bytes& out)
{
    out.resize(out.size() + 1); // never null
    std::int32_t done = -1;
    const std::uint32_t code = ZRC_Read_STREAM(stream, out.data(), size_of(out) - 1, &done);
    out.resize(std::size_t(done));
    return code;
}

// Reads in pieces of every size up to where it stops; the code that stopped it.
std::uint32_t drain(ZRC_STREAM* stream, bytes& all)
{
    for (std::size_t size = 1;; size = size * 3 % 20011) {
        bytes piece(size);
        if (const std::uint32_t code = read(stream, piece)) {
            EXPECT_TRUE(piece.empty());
            return code;
        }
        all.insert(all.end(), piece.begin(), piece.end());
    }
}

bytes drained(ZRC_STREAM* stream)
{
    bytes all;
    EXPECT_EQ(drain(stream, all), 0x0D030013u);
    return all;
}

// Writes in pieces of every size; the first failure.
std::uint32_t write(ZRC_STREAM* stream, const bytes& data)
{
    for (std::size_t at = 0, size = 1; at < data.size(); at += size, size = size * 3 % 20011) {
        size = std::min(size, data.size() - at);
        if (const std::uint32_t code = ZRC_Write_STREAM(stream, data.data() + at, std::int32_t(size))) return code;
    }
    return 0;
}

bytes content(ZRC_STREAM* memory)
{
    bytes all(std::size_t(ZRC_Get_STREAM_Length(memory)) + 1); // never null
    std::int32_t length = size_of(all);
    EXPECT_EQ(ZRC_Get_Memory_STREAM(memory, all.data(), &length), 0u);
    all.resize(std::size_t(length));
    return all;
}

using Stream = test::scratch_files;

TEST_F(Stream, EveryKindGivesBackWhatItTook)
{
    const bytes data = some_data(100003);
    bytes buffer(data.size());
    stream buffered, filed, remembered;
    ASSERT_EQ(ZRC_Open_Buffer_STREAM(buffered, buffer.data(), size_of(buffer), kBoth), 0u);
    ASSERT_EQ(ZRC_Open_File_STREAM(filed, path("new").c_str(), kBoth), 0u);
    ASSERT_EQ(ZRC_Open_Memory_STREAM(remembered), 0u);
    for (ZRC_STREAM* const kind : {+buffered, +filed, +remembered}) {
        SCOPED_TRACE(kind->operations->name);
        EXPECT_EQ(write(kind, data), 0u);
        EXPECT_EQ(ZRC_Get_STREAM_Length(kind), 100003);
        EXPECT_EQ(ZRC_Rewind_STREAM(kind), 0u);
        EXPECT_EQ(drained(kind), data);
        EXPECT_EQ(kind->position, 100003);
        for (const std::int64_t place : {0, 1, 4063, 4064, 4065, 8128, 100002, 100003}) {
            EXPECT_EQ(ZRC_Seek_STREAM(kind, place), 0u);
            EXPECT_EQ(drained(kind), bytes(data.begin() + place, data.end())) << place;
        }
        EXPECT_EQ(ZRC_Seek_STREAM(kind, -1), 0x0D06002Bu);
        EXPECT_EQ(ZRC_Seek_STREAM(kind, 100004), +filed == kind ? 0u : 0x0D06002Bu);
        EXPECT_EQ(drained(kind), bytes{});
        EXPECT_EQ(ZRC_Close_STREAM(kind), 0u);
        EXPECT_EQ(ZRC_Open_Null_STREAM(kind, kWrite), 0u) << "open again, as another kind";
    }
    EXPECT_EQ(contents(path("new")), data);
    EXPECT_EQ(buffer, data);
}

TEST_F(Stream, FilesOpenAsTheirModeSays)
{
    struct {
        std::uint32_t mode;
        std::uint32_t missing, existing; // codes
        const char* content;             // of a file "12345" after "ab" is written
    } constexpr kModes[] = {
        {kRead, 0x0D020008, 0, "12345"},
        {kWrite, 0, 0, "ab"},
        {kBoth, 0, 0, "ab345"},
        {kWrite | ZRC_STREAM_APPEND, 0, 0, "12345ab!"},
        {kBoth | ZRC_STREAM_APPEND, 0x0D02002B, 0x0D02002B, "12345"},
        {ZRC_STREAM_APPEND, 0x0D02002B, 0x0D02002B, "12345"},
        {0, 0x0D02002B, 0x0D02002B, "12345"},
        {8 | kRead, 0x0D02002B, 0x0D02002B, "12345"},
    };
    for (const auto& [mode, missing, existing, expected] : kModes) {
        SCOPED_TRACE(mode);
        stream file;
        std::filesystem::remove(path("file"));
        errno = 0;
        EXPECT_EQ(ZRC_Open_File_STREAM(file, path("file").c_str(), mode), missing);
        EXPECT_EQ(errno, missing == 0x0D020008 ? ENOENT : 0);
        EXPECT_EQ(ZRC_Close_STREAM(file), missing == 0 ? 0u : 0x0D080034u);
        std::ofstream{path("file")} << "12345";
        EXPECT_EQ(ZRC_Open_File_STREAM(file, path("file").c_str(), mode), existing);
        if ((mode & kWrite) != 0 && existing == 0) {
            EXPECT_EQ(write(file, {'a', 'b'}), 0u);
        }
        if ((mode & ZRC_STREAM_APPEND) != 0 && existing == 0) {
            EXPECT_EQ(file->position, 7);
            EXPECT_EQ(ZRC_Rewind_STREAM(file), 0x0D060048u);
            std::ofstream{path("file"), std::ios::app} << '!';
        }
        file.reset();
        const bytes got = contents(path("file"));
        EXPECT_EQ(std::string(got.begin(), got.end()), expected);
    }
}

TEST_F(Stream, BuffersEndWhereTheCallerSaid)
{
    bytes buffer = some_data(10);
    stream s;
    ASSERT_EQ(ZRC_Open_Buffer_STREAM(s, buffer.data(), 9, kWrite), 0u);
    EXPECT_EQ(ZRC_Seek_STREAM(s, 1), 0x0D06002Bu) << "empty for writing alone";
    EXPECT_EQ(ZRC_Write_STREAM(s, buffer.data() + 1, 8), 0u) << "from itself";
    EXPECT_EQ(ZRC_Rewind_STREAM(s), 0u);
    EXPECT_EQ(ZRC_Write_STREAM(s, buffer.data(), 1), 0u);
    EXPECT_EQ(ZRC_Get_STREAM_Length(s), 8) << "written over";
    EXPECT_EQ(ZRC_Seek_STREAM(s, 8), 0u);
    EXPECT_EQ(ZRC_Write_STREAM(s, buffer.data(), 2), 0x0D050006u);
    EXPECT_EQ(ZRC_Write_STREAM(s, buffer.data(), 1), 0x0D050006u) << "not forgotten";
    EXPECT_EQ(ZRC_Flush_STREAM(s), 0x0D070006u);
    EXPECT_EQ(ZRC_Close_STREAM(s), 0x0D080006u);
    EXPECT_EQ(ZRC_Close_STREAM(s), 0x0D080034u);
    const bytes original = some_data(10);
    EXPECT_TRUE(std::equal(original.begin() + 1, original.begin() + 9, buffer.begin()));
    EXPECT_EQ((bytes{buffer[8], buffer[9]}), (bytes{original[8], original[9]}));

    ASSERT_EQ(ZRC_Open_Data_STREAM(s, original.data(), 0), 0u);
    EXPECT_EQ(drained(s), bytes{});
    EXPECT_EQ(ZRC_Write_STREAM(s, buffer.data(), 1), 0x0D050048u);
}

TEST_F(Stream, RefusesItsArguments)
{
    stream closed, out, memory;
    std::uint8_t byte[1] = {7};
    std::int32_t done = 5, size = 1;
    ASSERT_EQ(ZRC_Open_Null_STREAM(out, kWrite), 0u);
    ASSERT_EQ(ZRC_Open_Memory_STREAM(memory), 0u);
    ASSERT_EQ(write(memory, {1, 2}), 0u);
    const digest_ptr digest{ZRC_New_DIGEST_Unit()};
    const cipher_ptr cipher{ZRC_New_BLOCK_CIPHER_Unit()};
    test::expect_codes({
        {ZRC_Open_STREAM(closed, nullptr, nullptr, kRead), 0x0D020049},
        {ZRC_Open_STREAM(nullptr, memory->operations, nullptr, kRead), 0x0D020049},
        {ZRC_Open_Buffer_STREAM(nullptr, byte, 1, kRead), 0x0D020049},
        {ZRC_Open_Data_STREAM(closed, nullptr, 0), 0x0D020049},
        {ZRC_Open_Data_STREAM(closed, byte, -1), 0x0D02002B},
        {ZRC_Open_Buffer_STREAM(closed, byte, 1, kWrite | ZRC_STREAM_APPEND), 0x0D02002B},
        {ZRC_Open_Null_STREAM(closed, kWrite | ZRC_STREAM_APPEND), 0x0D02002B},
        {ZRC_Open_File_STREAM(closed, nullptr, kRead), 0x0D020049},
        {ZRC_Open_Descriptor_STREAM(nullptr, 0, kRead), 0x0D020049},
        {ZRC_Open_Descriptor_STREAM(closed, -1, kRead), 0x0D02002B},
        {ZRC_Open_Descriptor_STREAM(closed, 1, kWrite | ZRC_STREAM_APPEND), 0x0D02002B},
        {ZRC_Open_Descriptor_STREAM(closed, next_descriptor(), kRead), 0x0D020008},
        {ZRC_Open_Null_STREAM(out, kRead), 0x0D020008},
        {ZRC_Open_Digest_STREAM(closed, nullptr, digest, kWrite), 0x0D020049},
        {ZRC_Open_HMAC_STREAM(closed, memory, nullptr, kWrite), 0x0D020049},
        {ZRC_Open_Cipher_STREAM(closed, memory, nullptr, kWrite), 0x0D020049},
        {ZRC_Open_Cipher_STREAM(closed, memory, cipher, kBoth), 0x0D02002B},
        {ZRC_Open_Digest_STREAM(closed, memory, digest, kBoth), 0x0D02002B},
        {ZRC_Open_Digest_STREAM(closed, closed, digest, kRead), 0x0D020008},
        {ZRC_Open_Digest_STREAM(closed, out, digest, kRead), 0x0D020008},
        {ZRC_Read_STREAM(nullptr, byte, 1, &done), 0x0D030049},
        {ZRC_Read_STREAM(memory, nullptr, 0, &done), 0x0D030049},
        {ZRC_Read_STREAM(memory, byte, 1, nullptr), 0x0D030049},
        {ZRC_Read_STREAM(memory, byte, -1, &done), 0x0D03002B},
        {ZRC_Read_STREAM(closed, byte, 1, &done), 0x0D030034},
        {ZRC_Read_STREAM(out, byte, 1, &done), 0x0D030048},
        {ZRC_Read_Exact_STREAM(memory, nullptr, 1, &done), 0x0D040049},
        {ZRC_Read_Exact_STREAM(memory, byte, -1, &done), 0x0D04002B},
        {ZRC_Write_STREAM(memory, nullptr, 0), 0x0D050049},
        {ZRC_Write_STREAM(memory, byte, -1), 0x0D05002B},
        {ZRC_Write_STREAM(closed, byte, 1), 0x0D050034},
        {ZRC_Seek_STREAM(nullptr, 0), 0x0D060049},
        {ZRC_Rewind_STREAM(closed), 0x0D060034},
        {ZRC_Rewind_STREAM(out), 0x0D060048},
        {ZRC_Flush_STREAM(nullptr), 0x0D070049},
        {ZRC_Flush_STREAM(closed), 0x0D070034},
        {ZRC_Close_STREAM(nullptr), 0x0D080049},
        {ZRC_Copy_STREAM(out, nullptr, nullptr), 0x0D090049},
        {ZRC_Copy_STREAM(memory, memory, nullptr), 0x0D09002B},
        {ZRC_Copy_STREAM(closed, memory, nullptr), 0x0D090034},
        {ZRC_Get_Memory_STREAM(memory, byte, nullptr), 0x0D0A0049},
        {ZRC_Get_Memory_STREAM(out, byte, &size), 0x0D0A0048},
        {ZRC_Get_Memory_STREAM(memory, byte, &size), 0x0D0A0006},
        {ZRC_Clear_Memory_STREAM(nullptr), 0x0D0B0049},
        {ZRC_Clear_Memory_STREAM(closed), 0x0D0B0048},
        {ZRC_Read_STREAM(memory, byte, 0, &done), 0},
        {ZRC_Write_STREAM(memory, byte, 0), 0},
        {ZRC_Flush_STREAM(memory), 0},
    });
    EXPECT_EQ(ZRC_Get_STREAM_Length(nullptr), -1);
    EXPECT_EQ(ZRC_Get_STREAM_Length(closed), -1);
    EXPECT_EQ(content(memory), (bytes{1, 2})) << "no refusal changed it";
    EXPECT_EQ(drained(memory), (bytes{1, 2}));
    EXPECT_EQ(ZRC_Clear_Memory_STREAM(memory), 0u);
    EXPECT_EQ(drained(memory), bytes{});
    EXPECT_EQ(byte[0], 7);
    EXPECT_EQ(size, 1);
    ZRC_Free_STREAM(nullptr);
}

// A signal every few milliseconds, whose handler interrupts system calls.
class interruptions {
public:
    interruptions()
    {
        struct sigaction action {};
        action.sa_handler = [](int) {};
        sigaction(SIGALRM, &action, &before_);
        const itimerval often{{0, 3000}, {0, 3000}};
        setitimer(ITIMER_REAL, &often, nullptr);
    }
    ~interruptions()
    {
        const itimerval never{};
        setitimer(ITIMER_REAL, &never, nullptr);
        sigaction(SIGALRM, &before_, nullptr);
    }

private:
    struct sigaction before_ {};
};

TEST_F(Stream, PipesGiveWhatTheyHaveAndSignalsDoNotCount)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    stream in, out;
    ASSERT_EQ(ZRC_Open_Descriptor_STREAM(in, ends[0], kRead), 0u);
    ASSERT_EQ(ZRC_Open_Descriptor_STREAM(out, ends[1], kWrite), 0u);
    EXPECT_EQ(ZRC_Rewind_STREAM(in), 0x0D060048u);
    EXPECT_EQ(ZRC_Get_STREAM_Length(in), -1);
    EXPECT_EQ(write(out, {1, 2, 3}), 0u);
    bytes some(100);
    EXPECT_EQ(read(in, some), 0u);
    EXPECT_EQ(some, (bytes{1, 2, 3}));

    const bytes data = some_data(300000); // more than a pipe holds: both sides wait
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]); // so that nobody waits for a parent that has failed
        usleep(20000);
        const interruptions interrupted;
        _exit(ZRC_Write_STREAM(out, data.data(), size_of(data)) == 0 && ZRC_Close_STREAM(out) == 0 ? 0 : 1);
    }
    EXPECT_EQ(ZRC_Close_STREAM(out), 0u);
    EXPECT_EQ(close(ends[1]), 0) << "the stream left it open";
    bytes got(data.size() + 1);
    std::int32_t done = 0;
    {
        const interruptions interrupted;
        EXPECT_EQ(ZRC_Read_Exact_STREAM(in, got.data(), 1, &done), 0u);
    }
    usleep(20000); // now the child waits
    EXPECT_EQ(ZRC_Read_Exact_STREAM(in, got.data() + 1, size_of(data) - 1, &done), 0u);
    EXPECT_EQ(ZRC_Read_Exact_STREAM(in, &got.back(), 1, &done), 0x0D040013u);
    got.pop_back();
    EXPECT_EQ(got, data);
    EXPECT_EQ(done, 0);
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    close(ends[0]);
    EXPECT_EQ(read(in, some), 0x0D030050u);
    EXPECT_EQ(errno, EBADF);
}

TEST_F(Stream, FullDisksAndLostFilesAreAlwaysNoticed)
{
    const bytes data = some_data(50000);
    stream source, full, filter;
    const digest_ptr digest{ZRC_New_DIGEST_Unit()};
    ASSERT_EQ(ZRC_Init_DIGEST(digest, ZRC_SHA256), 0u);
    ASSERT_EQ(ZRC_Open_Data_STREAM(source, data.data(), size_of(data)), 0u);
    ASSERT_EQ(ZRC_Open_File_STREAM(full, "/dev/full", kWrite), 0u);
    ASSERT_EQ(ZRC_Open_Digest_STREAM(filter, full, digest, kWrite), 0u);
    std::int64_t copied = -1;
    EXPECT_EQ(ZRC_Copy_STREAM(filter, source, &copied), 0x0D090060u);
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_EQ(copied, 0);
    for (ZRC_STREAM* const failed : {+filter, +full}) {
        EXPECT_EQ(ZRC_Write_STREAM(failed, data.data(), 0), 0x0D050060u);
        EXPECT_EQ(ZRC_Flush_STREAM(failed), 0x0D070060u);
        EXPECT_EQ(ZRC_Close_STREAM(failed), 0x0D080060u);
    }

    const int descriptor = next_descriptor();
    ASSERT_EQ(ZRC_Open_File_STREAM(full, path("file").c_str(), kWrite), 0u);
    lseek(descriptor, 3, SEEK_SET);
    ASSERT_EQ(ZRC_Open_Descriptor_STREAM(filter, descriptor, kWrite), 0u);
    EXPECT_EQ(filter->position, 3);
    close(descriptor);
    EXPECT_EQ(ZRC_Close_STREAM(full), 0x0D080007u);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(full->operations, nullptr);
}

TEST_F(Stream, DigestAndHmacFiltersSeeEveryByteInBothDirections)
{
    const bytes data = some_data(70001);
    const digest_ptr digest{ZRC_New_DIGEST_Unit()};
    const hmac_ptr hmac{ZRC_New_HMAC_Unit()};
    ASSERT_EQ(ZRC_Init_DIGEST(digest, ZRC_MD5), 0u);
    ASSERT_EQ(ZRC_Init_HMAC(hmac, ZRC_SHA256, data.data(), 20), 0u);
    bytes digest_value(16), hmac_value(32), digested(16), authenticated(32);
    ASSERT_EQ(ZRC_DIGEST(ZRC_MD5, data.data(), size_of(data), digest_value.data(), nullptr), 0u);
    ASSERT_EQ(ZRC_HMAC(ZRC_SHA256, data.data(), 20, data.data(), size_of(data), hmac_value.data(), nullptr), 0u);

    stream memory;
    ASSERT_EQ(ZRC_Open_Memory_STREAM(memory), 0u);
    for (const std::uint32_t mode : {kWrite, kRead}) { // written first, then read back
        stream lower, upper;
        ASSERT_EQ(ZRC_Open_HMAC_STREAM(lower, memory, hmac, mode), 0u);
        ASSERT_EQ(ZRC_Open_Digest_STREAM(upper, lower, digest, mode), 0u);
        EXPECT_TRUE(mode == kWrite ? write(upper, data) == 0 : drained(upper) == data);
        EXPECT_EQ(upper->position, 70001);
        EXPECT_EQ(ZRC_Rewind_STREAM(upper), 0x0D060048u);
        EXPECT_EQ(ZRC_Flush_STREAM(upper), 0u);
        EXPECT_EQ(ZRC_Final_DIGEST(digest, digested.data(), nullptr), 0u);
        EXPECT_EQ(ZRC_Final_HMAC(hmac, authenticated.data(), nullptr), 0u);
        EXPECT_TRUE(digested == digest_value && authenticated == hmac_value);
        EXPECT_EQ(content(memory), data);
    }
}

cipher_ptr keyed_cipher(std::uint32_t id, std::uint32_t encrypt)
{
    cipher_ptr unit{ZRC_New_BLOCK_CIPHER_Unit()};
    const bytes key = some_data(48);
    EXPECT_EQ(ZRC_Init_BLOCK_CIPHER(unit, id, key.data(), key.data() + 32, encrypt), 0u);
    return unit;
}

// The whole message, by the unit alone.
bytes processed(ZRC_BLOCK_CIPHER_UNIT* unit, const bytes& data)
{
    bytes out(data.size() + 16);
    std::int32_t length = 0, rest = 0;
    EXPECT_TRUE(data.empty() || ZRC_Update_BLOCK_CIPHER(unit, out.data(), &length, data.data(), size_of(data)) == 0);
    EXPECT_EQ(ZRC_Final_BLOCK_CIPHER(unit, out.data() + length, &rest), 0u);
    out.resize(std::size_t(length + rest));
    return out;
}

TEST_F(Stream, CipherFiltersGiveTheMessageOfOneCall)
{
    for (const std::uint32_t mode : {0x20u, 0x00u, 0x21u, 0x41u, 0x81u}) { // CBC, ECB; CBC, CFB, CTR without padding
        for (const std::size_t size : {0U, 1U, 15U, 16U, 17U, 16384U, 16400U, 65520U, 65535U}) {
            if (mode == 0x21 && size % 16 != 0) continue;
            SCOPED_TRACE(testing::Message() << std::hex << mode << std::dec << ' ' << size);
            const bytes data = some_data(size);
            const cipher_ptr encryption = keyed_cipher(ZRC_ARIA_256 | mode, 1);
            const cipher_ptr decryption = keyed_cipher(ZRC_ARIA_256 | mode, 0);
            stream memory, writer, reader, back, plain;
            ASSERT_EQ(ZRC_Open_Memory_STREAM(memory), 0u);
            ASSERT_EQ(ZRC_Open_Cipher_STREAM(writer, memory, encryption, kWrite), 0u);
            EXPECT_EQ(write(writer, data), 0u);
            EXPECT_EQ(ZRC_Close_STREAM(writer), 0u);
            EXPECT_EQ(content(memory), processed(encryption, data));

            ASSERT_EQ(ZRC_Open_Cipher_STREAM(reader, memory, decryption, kRead), 0u);
            EXPECT_EQ(drained(reader), data);
            EXPECT_EQ(ZRC_Flush_STREAM(reader), 0u);
            EXPECT_EQ(ZRC_Rewind_STREAM(memory), 0u);
            ASSERT_EQ(ZRC_Open_Memory_STREAM(plain), 0u);
            ASSERT_EQ(ZRC_Open_Cipher_STREAM(back, plain, decryption, kWrite), 0u);
            std::int64_t copied = -1;
            EXPECT_EQ(ZRC_Copy_STREAM(back, memory, &copied), 0u);
            EXPECT_EQ(copied, ZRC_Get_STREAM_Length(memory));
            EXPECT_EQ(ZRC_Flush_STREAM(back), 0u);
            EXPECT_EQ(content(plain), data);
            EXPECT_EQ(write(back, {1}), 0x0D050013u) << "the message has ended";
            EXPECT_EQ(ZRC_Close_STREAM(back), 0x0D080013u);
        }
    }
}

TEST_F(Stream, TroubleOfFilters)
{
    const bytes data = some_data(40);
    const cipher_ptr padded = keyed_cipher(ZRC_ARIA_256 | ZRC_MODE_CBC, 0);
    const cipher_ptr whole = keyed_cipher(ZRC_ARIA_256 | ZRC_MODE_ECB | ZRC_NO_PADDING, 1);
    const cipher_ptr fresh_cipher{ZRC_New_BLOCK_CIPHER_Unit()};
    const digest_ptr fresh_digest{ZRC_New_DIGEST_Unit()};
    const hmac_ptr fresh_hmac{ZRC_New_HMAC_Unit()};
    stream memory, filter, upper;
    bytes got;
    ASSERT_EQ(ZRC_Open_Memory_STREAM(memory), 0u);
    ASSERT_EQ(write(memory, data), 0u);

    for (const auto& [unit, expected] : {std::pair{&padded, 0x0D030017u}, {&fresh_cipher, 0x0D03005Au}}) {
        EXPECT_EQ(ZRC_Rewind_STREAM(memory), 0u);
        ASSERT_EQ(ZRC_Open_Cipher_STREAM(filter, memory, *unit, kRead), 0u);
        EXPECT_EQ(drain(filter, got), expected);
        EXPECT_EQ(drain(filter, got), expected);
        EXPECT_EQ(ZRC_Close_STREAM(filter), 0u);
    }
    ASSERT_EQ(ZRC_Open_Cipher_STREAM(filter, memory, padded, kRead), 0u);
    EXPECT_EQ(ZRC_Close_STREAM(filter), 0u) << "reading owes nothing";

    for (const bool flushed : {false, true}) {
        ASSERT_EQ(ZRC_Open_Cipher_STREAM(filter, memory, whole, kWrite), 0u);
        EXPECT_EQ(write(filter, data), 0u);
        if (flushed) { // from above
            ASSERT_EQ(ZRC_Open_Digest_STREAM(upper, filter, fresh_digest, kWrite), 0u);
            EXPECT_EQ(ZRC_Flush_STREAM(upper), 0x0D070017u);
            EXPECT_EQ(ZRC_Close_STREAM(upper), 0x0D080017u);
        }
        EXPECT_EQ(ZRC_Close_STREAM(filter), 0x0D080017u);
    }

    for (const std::uint32_t mode : {kRead, kWrite}) {
        const auto use = [&](std::uint32_t opened) {
            EXPECT_EQ(opened, 0u);
            EXPECT_EQ(ZRC_Rewind_STREAM(memory), 0u);
            const std::uint32_t code = mode == kRead ? drain(filter, got) : write(filter, data);
            EXPECT_EQ(code >> 16, mode == kRead ? 0x0D03u : 0x0D05u);
            if (mode == kWrite) {
                EXPECT_EQ(ZRC_Flush_STREAM(filter), 0x0D070000 | (code & 0xFF));
            }
            ZRC_Close_STREAM(filter);
            return code & 0xFFFF;
        };
        EXPECT_EQ(use(ZRC_Open_Cipher_STREAM(filter, memory, fresh_cipher, mode)), 0x5Au);
        EXPECT_EQ(use(ZRC_Open_Digest_STREAM(filter, memory, fresh_digest, mode)), 0x5Bu);
        EXPECT_EQ(use(ZRC_Open_HMAC_STREAM(filter, memory, fresh_hmac, mode)), 0x5Cu);
    }

    ASSERT_EQ(ZRC_Open_Digest_STREAM(filter, memory, fresh_digest, kWrite), 0u);
    ASSERT_EQ(ZRC_Open_Digest_STREAM(upper, filter, fresh_digest, kWrite), 0u);
    EXPECT_EQ(ZRC_Copy_STREAM(upper, memory, nullptr), 0x0D09002Bu) << "would never end";
    EXPECT_EQ(ZRC_Close_STREAM(filter), 0u);
    EXPECT_EQ(ZRC_Open_Digest_STREAM(filter, upper, fresh_digest, kWrite), 0x0D02002Bu) << "a circle";
    EXPECT_EQ(write(upper, data), 0x0D050034u);
    EXPECT_EQ(ZRC_Close_STREAM(upper), 0x0D080034u);

    const std::int64_t length = ZRC_Get_STREAM_Length(memory);
    ASSERT_EQ(ZRC_Open_Cipher_STREAM(upper, memory, whole, kWrite), 0u);
    EXPECT_EQ(ZRC_Write_STREAM(upper, data.data(), 7), 0u);
    upper.reset();
    EXPECT_EQ(ZRC_Get_STREAM_Length(memory), length) << "given up, not ended";
}

TEST_F(Stream, KindsOfTheProgramsOwn)
{
    static std::int32_t given;
    static std::uint32_t result, freed;
    freed = 0;
    ZRC_STREAM_OPERATIONS operations{};
    operations.name = "own";
    operations.state_length = 4;
    operations.open = [](ZRC_STREAM* stream, void* argument) {
        EXPECT_EQ(*static_cast<std::uint32_t*>(stream->state), 0u);
        return *static_cast<std::uint32_t*>(argument);
    };
    operations.free = [](ZRC_STREAM*) { ++freed; };
    stream own;
    std::uint32_t refusal = 0x47;
    EXPECT_EQ(ZRC_Open_STREAM(own, &operations, &refusal, kBoth), 0x0D020047u);
    refusal = 0;
    ASSERT_EQ(ZRC_Open_STREAM(own, &operations, &refusal, kBoth), 0u);
    bytes some(4);
    EXPECT_EQ(read(own, some), 0x0D030048u);
    EXPECT_EQ(write(own, {1}), 0x0D050048u);
    EXPECT_EQ(ZRC_Flush_STREAM(own), 0u);
    EXPECT_EQ(ZRC_Get_STREAM_Length(own), -1);

    operations.read = [](ZRC_STREAM*, std::uint8_t*, std::int32_t, std::int32_t* done) {
        *done = given;
        return result;
    };
    struct {
        std::int32_t done;
        std::uint32_t result, code;
    } constexpr kAnswers[] = {{4, 0, 0},          {-1, 0, 0x0D030028},         {0, 0, 0x0D030028},
                              {5, 0, 0x0D030028}, {4, 0x01020050, 0x0D030050}, {4, 0x100, 0x0D030059}};
    for (const auto& answer : kAnswers) {
        given = answer.done;
        result = answer.result;
        some.resize(4);
        EXPECT_EQ(read(own, some), answer.code);
    }
    EXPECT_EQ(ZRC_Close_STREAM(own), 0u);
    EXPECT_EQ(freed, 1u);
}

} // namespace
