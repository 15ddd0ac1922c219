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

key_kind key_file::kind() const
{
    return reading(name_, [&] {
        if (is_kcdsa(block_)) return key_kind::kcdsa;
        if (is_dsa(block_)) return key_kind::dsa;
        if (is_dh(block_)) return key_kind::dh;
        return is_ec(block_) ? key_kind::ec : key_kind::rsa;
    });
}

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

dsa_key key_file::dsa_parameters() const
{
    return reading(name_, [&] { return read_dsa_key(block_); });
}

dsa_key key_file::dsa_private() const
{
    dsa_key key = dsa_parameters();
    if (key.x.empty()) fail("not a private key");
    return key;
}

dsa_key key_file::dsa_public() const
{
    dsa_key key = dsa_parameters();
    if (key.x.empty() && key.y.empty()) fail("domain parameters, without a key");
    return key;
}

dh_key key_file::dh_parameters() const
{
    return reading(name_, [&] { return read_dh_key(block_); });
}

dh_key key_file::dh_private() const
{
    dh_key key = dh_parameters();
    if (key.x.empty()) fail("not a private key");
    return key;
}

dh_key key_file::dh_public() const
{
    dh_key key = dh_parameters();
    if (key.x.empty() && key.y.empty()) fail("domain parameters, without a key");
    return key;
}

ec_key key_file::ec() const
{
    return reading(name_, [&] { return read_ec_key(block_); });
}

ec_key key_file::ec_private() const
{
    ec_key key = ec();
    if (key.d.empty()) fail("not a private key");
    return key;
}

void key_file::fail(const std::string& reason) const
{
    throw failure{kFailed, name_ + ": " + reason};
}

void save_key(const std::string& pem, const std::string& name, readers readers)
{
    output_file output{name, readers};
    output.write({reinterpret_cast<const std::uint8_t*>(pem.data()), pem.size()});
    output.commit();
}

std::size_t bits(std::span<const std::uint8_t> number)
{
    return number.empty() ? 0 : 8 * number.size() - std::size_t(std::countl_zero(number[0]));
}

} // namespace tool
