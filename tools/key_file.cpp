#include "tools/key_file.hpp"

#include "tools/key.hpp"

#include <bit>

namespace tool {
namespace {

// What `read` gives, with the name of the file in its complaints.
template <class Read>
auto reading(const std::string& name, const Read& read)
{
    try {
        return read();
    } catch (const malformed& error) {
        throw failure{kFailed, name + ": " + error.what()};
    }
}

pem_block block_of(const std::string& name, const session& session)
{
    const bytes text = read_small_file(name, "a key", session);
    return reading(name, [&] { return read_pem({reinterpret_cast<const char*>(text.data()), text.size()}); });
}

} // namespace

key_file::key_file(const std::string& name, const session& session) : name_{name}, block_{block_of(name, session)} {}

rsa_private_key key_file::rsa_private() const
{
    return reading(name_, [&] { return read_rsa_private_key(block_); });
}

rsa_public_key key_file::rsa_public() const
{
    return reading(name_, [&] { return read_rsa_public_key(block_); });
}

kcdsa_key key_file::kcdsa_parameters() const
{
    return reading(name_, [&] { return read_kcdsa_key(block_); });
}

kcdsa_key key_file::kcdsa_private() const
{
    kcdsa_key key = kcdsa_parameters();
    if (key.x.empty()) fail("not a private key");
    return key;
}

kcdsa_key key_file::kcdsa_public() const
{
    kcdsa_key key = kcdsa_parameters();
    if (key.y.empty()) fail("domain parameters, without a key");
    return key;
}

void key_file::fail(const std::string& reason) const
{
    throw failure{kFailed, name_ + ": " + reason};
}

std::size_t bits(std::span<const std::uint8_t> number)
{
    return number.empty() ? 0 : 8 * number.size() - std::size_t(std::countl_zero(number[0]));
}

} // namespace tool
