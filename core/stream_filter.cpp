// Filters that digest what flows through them and pass it on as it is.
#include "core/stream.hpp"

namespace zrc {
namespace {

// Feeds bytes to the unit; 0 or a reason.
using consumer = std::uint32_t (*)(void* unit, const std::uint8_t* data, std::int32_t length) noexcept;

struct filter_state {
    ZRC_STREAM* next;
    void* unit;
    consumer consume;
};

std::uint32_t digest(void* unit, const std::uint8_t* data, std::int32_t length) noexcept
{
    const std::uint32_t failed = ZRC_Update_DIGEST(static_cast<ZRC_DIGEST_UNIT*>(unit), data, length);
    return failed != 0 ? std::uint32_t{ZRC_ERR_UPDATE_DIGEST_FAIL} : 0;
}

std::uint32_t authenticate(void* unit, const std::uint8_t* data, std::int32_t length) noexcept
{
    const std::uint32_t failed = ZRC_Update_HMAC(static_cast<ZRC_HMAC_UNIT*>(unit), data, length);
    return failed != 0 ? std::uint32_t{ZRC_ERR_UPDATE_FAILURE} : 0;
}

std::uint32_t open_filter(ZRC_STREAM* stream, void* argument) noexcept
{
    if (!is_one_way(stream->mode)) return ZRC_ERR_INVALID_INPUT;
    filter_state& filter = state_of<filter_state>(stream);
    filter = *static_cast<const filter_state*>(argument);
    return attach(stream, filter.next);
}

std::uint32_t consume(ZRC_STREAM* stream, const std::uint8_t* data, std::int32_t length) noexcept
{
    const filter_state& filter = state_of<filter_state>(stream);
    stream->position += length;
    return filter.consume(filter.unit, data, length);
}

std::uint32_t read_filter(ZRC_STREAM* stream, std::uint8_t* out, std::int32_t length, std::int32_t* done) noexcept
{
    if (const std::uint32_t failed = ZRC_Read_STREAM(stream->next, out, length, done)) return failed;
    return consume(stream, out, *done);
}

// What did not get through is not digested.
std::uint32_t write_filter(ZRC_STREAM* stream, const std::uint8_t* data, std::int32_t length) noexcept
{
    if (const std::uint32_t failed = ZRC_Write_STREAM(stream->next, data, length)) return failed;
    return consume(stream, data, length);
}

std::uint32_t flush_filter(ZRC_STREAM* stream) noexcept
{
    return ZRC_Flush_STREAM(stream->next);
}

constexpr ZRC_STREAM_OPERATIONS kFilter = {.name = "digest",
                                           .state_length = sizeof(filter_state),
                                           .open = open_filter,
                                           .read = read_filter,
                                           .write = write_filter,
                                           .seek = nullptr,
                                           .flush = flush_filter,
                                           .close = nullptr,
                                           .free = nullptr,
                                           .length = nullptr};

std::uint32_t open_over(ZRC_STREAM* stream, filter_state filter, std::uint32_t mode) noexcept
{
    if (!filter.next || !filter.unit) return open_failure(ZRC_ERR_NULL_INPUT);
    return ZRC_Open_STREAM(stream, &kFilter, &filter, mode);
}

} // namespace
} // namespace zrc

std::uint32_t ZRC_Open_Digest_STREAM(ZRC_STREAM* stream, ZRC_STREAM* next, ZRC_DIGEST_UNIT* unit, std::uint32_t mode)
{
    return zrc::open_over(stream, {next, unit, zrc::digest}, mode);
}

std::uint32_t ZRC_Open_HMAC_STREAM(ZRC_STREAM* stream, ZRC_STREAM* next, ZRC_HMAC_UNIT* unit, std::uint32_t mode)
{
    return zrc::open_over(stream, {next, unit, zrc::authenticate}, mode);
}
