// The filter that enciphers or deciphers what flows through it.
#include "core/stream.hpp"

#include <algorithm>
#include <cstring>

namespace zrc {
namespace {

constexpr std::int32_t kPiece = 16 * 1024;
constexpr std::int32_t kLongestBlock = 16;

struct cipher_state {
    ZRC_BLOCK_CIPHER_UNIT* unit;
    bool ended;           // the message is; no more goes to the unit
    std::uint32_t failed; // reading: the reason why it ended wrongly, or 0
    std::int32_t at;      // reading: ready[at ... end) is to be delivered
    std::int32_t end;     // what came out of the unit last
    std::uint8_t in[kPiece];
    std::uint8_t ready[kPiece + kLongestBlock]; // an update writes at most a block more than it is given
};

struct cipher_arguments {
    ZRC_STREAM* next;
    ZRC_BLOCK_CIPHER_UNIT* unit;
};

std::uint32_t open_cipher(ZRC_STREAM* stream, void* argument) noexcept
{
    if (!is_one_way(stream->mode)) return ZRC_ERR_INVALID_INPUT;
    const auto& arguments = *static_cast<const cipher_arguments*>(argument);
    state_of<cipher_state>(stream).unit = arguments.unit;
    return attach(stream, arguments.next);
}

std::uint32_t update(cipher_state& cipher, const std::uint8_t* data, std::int32_t length) noexcept
{
    cipher.at = 0;
    const std::uint32_t failed = ZRC_Update_BLOCK_CIPHER(cipher.unit, cipher.ready, &cipher.end, data, length);
    return failed != 0 ? std::uint32_t{ZRC_ERR_UPDATE_BLOCKCIPHER_FAIL} : 0;
}

std::uint32_t finish(cipher_state& cipher) noexcept
{
    cipher.at = 0;
    cipher.ended = true;
    const std::uint32_t failed = ZRC_Final_BLOCK_CIPHER(cipher.unit, cipher.ready, &cipher.end);
    return failed != 0 ? std::uint32_t{ZRC_ERR_FINAL_BLOCKCIPHER_FAIL} : 0;
}

// Gets something ready, if the unit gives something for the next piece. Trouble of the next stream leaves the message
// as it is, trouble of the unit ends it.
std::uint32_t refill(ZRC_STREAM* stream) noexcept
{
    cipher_state& cipher = state_of<cipher_state>(stream);
    if (cipher.ended) return cipher.failed != 0 ? cipher.failed : std::uint32_t{ZRC_ERR_END_OF_STREAM};
    std::int32_t count = 0;
    const std::uint32_t stopped = reason_in(ZRC_Read_STREAM(stream->next, cipher.in, kPiece, &count));
    if (stopped != 0 && stopped != ZRC_ERR_END_OF_STREAM) return stopped;
    cipher.failed = stopped != 0 ? finish(cipher) : update(cipher, cipher.in, count);
    if (cipher.failed != 0) cipher.ended = true;
    return cipher.failed;
}

std::uint32_t read_cipher(ZRC_STREAM* stream, std::uint8_t* out, std::int32_t length, std::int32_t* done) noexcept
{
    cipher_state& cipher = state_of<cipher_state>(stream);
    while (cipher.at == cipher.end)
        if (const std::uint32_t reason = refill(stream)) return reason;
    *done = std::min(length, cipher.end - cipher.at);
    std::memcpy(out, cipher.ready + cipher.at, std::size_t(*done));
    cipher.at += *done;
    stream->position += *done;
    return 0;
}

std::uint32_t hand_on(ZRC_STREAM* stream) noexcept
{
    const cipher_state& cipher = state_of<cipher_state>(stream);
    return ZRC_Write_STREAM(stream->next, cipher.ready, cipher.end);
}

std::uint32_t write_cipher(ZRC_STREAM* stream, const std::uint8_t* data, std::int32_t length) noexcept
{
    cipher_state& cipher = state_of<cipher_state>(stream);
    if (cipher.ended) return ZRC_ERR_END_OF_STREAM;
    while (length != 0) {
        const std::int32_t count = std::min(length, kPiece);
        if (const std::uint32_t reason = update(cipher, data, count)) return reason;
        if (const std::uint32_t failed = hand_on(stream)) return failed;
        stream->position += count;
        data += count;
        length -= count;
    }
    return 0;
}

std::uint32_t close_cipher(ZRC_STREAM* stream) noexcept
{
    cipher_state& cipher = state_of<cipher_state>(stream);
    if (stream->mode != ZRC_STREAM_WRITE || cipher.ended) return 0;
    if (const std::uint32_t reason = finish(cipher)) return reason;
    return hand_on(stream);
}

std::uint32_t flush_cipher(ZRC_STREAM* stream) noexcept
{
    if (const std::uint32_t failed = close_cipher(stream)) return failed;
    return ZRC_Flush_STREAM(stream->next);
}

constexpr ZRC_STREAM_OPERATIONS kCipher = {.name = "cipher",
                                           .state_length = sizeof(cipher_state),
                                           .open = open_cipher,
                                           .read = read_cipher,
                                           .write = write_cipher,
                                           .seek = nullptr,
                                           .flush = flush_cipher,
                                           .close = close_cipher,
                                           .free = nullptr,
                                           .length = nullptr};

} // namespace
} // namespace zrc

std::uint32_t ZRC_Open_Cipher_STREAM(ZRC_STREAM* stream, ZRC_STREAM* next, ZRC_BLOCK_CIPHER_UNIT* unit,
                                     std::uint32_t mode)
{
    if (!next || !unit) return zrc::open_failure(ZRC_ERR_NULL_INPUT);
    zrc::cipher_arguments arguments{next, unit};
    return ZRC_Open_STREAM(stream, &zrc::kCipher, &arguments, mode);
}
