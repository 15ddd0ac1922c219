// Curves over fields of 4 and 6 limbs for processors with MULX, ADCX and ADOX.
#include "pubkey/ecc_engine.hpp"
#include "pubkey/ecc_prepared.hpp"
#include "pubkey/field_adx.hpp"

#include <cstddef>

namespace zrc {
namespace {

template <std::size_t N, class Limbs>
using curve = curves::prepared_curve<prime_field<N, Limbs>>;

} // namespace

curve_engine* new_curve_engine_adx(const curve_numbers& numbers) noexcept
{
    const std::size_t bits = curves::field_bits(numbers);
    if (bits <= 256 && known_prime(*numbers.p) == 256) return curve<4, p256_adx_limbs>::make(numbers);
    if (bits <= 256) return curve<4, adx_limbs<4>>::make(numbers);
    if (bits <= 384) return curve<6, adx_limbs<6>>::make(numbers);
    return new_curve_engine_portable(numbers);
}

} // namespace zrc
