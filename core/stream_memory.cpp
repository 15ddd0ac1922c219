// Memory streams: a growing buffer of fragments behind the operations of a stream.
#include "core/membuf.hpp"
#include "core/stream.hpp"

#include <memory>
#include <new>

namespace zrc {
namespace {

std::uint32_t open_memory(ZRC_STREAM* stream, void*) noexcept
{
    ::new (stream->state) membuf;
    return 0;
}

std::uint32_t read_memory(ZRC_STREAM* stream, std::uint8_t* out, std::int32_t length, std::int32_t* done) noexcept
{
    *done = std::int32_t(state_of<membuf>(stream).read({out, std::size_t(length)}));
    if (*done == 0) return ZRC_ERR_END_OF_STREAM;
    stream->position += *done;
    return 0;
}

std::uint32_t write_memory(ZRC_STREAM* stream, const std::uint8_t* data, std::int32_t length) noexcept
{
    const bool appended = state_of<membuf>(stream).append({data, std::size_t(length)});
    return appended ? 0 : std::uint32_t{ZRC_ERR_MEMORY_ALLOC};
}

std::uint32_t seek_memory(ZRC_STREAM* stream, std::int64_t position) noexcept
{
    if (!state_of<membuf>(stream).seek(std::uint64_t(position))) return ZRC_ERR_INVALID_INPUT;
    stream->position = position;
    return 0;
}

void free_memory(ZRC_STREAM* stream) noexcept
{
    std::destroy_at(&state_of<membuf>(stream));
}

std::int64_t memory_length(const ZRC_STREAM* stream) noexcept
{
    return std::int64_t(state_of<membuf>(stream).length());
}

constexpr ZRC_STREAM_OPERATIONS kMemory = {.name = "memory",
                                           .state_length = sizeof(membuf),
                                           .open = open_memory,
                                           .read = read_memory,
                                           .write = write_memory,
                                           .seek = seek_memory,
                                           .flush = nullptr,
                                           .close = nullptr,
                                           .free = free_memory,
                                           .length = memory_length};

} // namespace
} // namespace zrc

std::uint32_t ZRC_Open_Memory_STREAM(ZRC_STREAM* stream)
{
    return ZRC_Open_STREAM(stream, &zrc::kMemory, nullptr, ZRC_STREAM_READ | ZRC_STREAM_WRITE);
}

std::uint32_t ZRC_Get_Memory_STREAM(const ZRC_STREAM* stream, std::uint8_t* out, std::int32_t* length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_FOUNDATION, ZRC_F_GET_MEMORY_STREAM, reason); };

    if (!stream || !out || !length) return fail(ZRC_ERR_NULL_INPUT);
    if (stream->operations != &zrc::kMemory) return fail(ZRC_ERR_NOT_SUPPORTED);
    const std::int64_t whole = zrc::memory_length(stream);
    if (*length < whole) return fail(ZRC_ERR_BUF_TOO_SMALL);
    zrc::state_of<zrc::membuf>(stream).copy_to(out);
    *length = std::int32_t(whole);
    return 0;
}

std::uint32_t ZRC_Clear_Memory_STREAM(ZRC_STREAM* stream)
{
    const auto fail = [](std::uint32_t reason) {
        return zrc::code(ZRC_L_FOUNDATION, ZRC_F_CLEAR_MEMORY_STREAM, reason);
    };

    if (!stream) return fail(ZRC_ERR_NULL_INPUT);
    if (stream->operations != &zrc::kMemory) return fail(ZRC_ERR_NOT_SUPPORTED);
    zrc::state_of<zrc::membuf>(stream).clear();
    stream->position = 0;
    stream->failed = 0;
    return 0;
}
