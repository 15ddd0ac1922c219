// Curves over fields of 4 and 6 limbs for processors with MULX, ADCX and ADOX.
#include "pubkey/ecc_engine.hpp"
#include "pubkey/ecc_prepared.hpp"
#include "pubkey/field_adx.hpp"
#include "pubkey/field_p256_adx.hpp"

#include <cstddef>

namespace zrc {
namespace {

template <class Arithmetic>
using curve = curves::prepared_curve<prime_field<Arithmetic::kLimbs, Arithmetic>>;

} // namespace

curve_engine* new_curve_engine_adx(const curve_numbers& numbers) noexcept
{
    const std::size_t bits = curves::field_bits(numbers);
    if (bits <= 256 && known_prime(*numbers.p) == 256) return curve<p256_adx>::make(numbers);
    if (bits <= 256) return curve<adx_4>::make(numbers);
    if (bits <= 384) return curve<modular<adx_limbs<6>>>::make(numbers);
    return new_curve_engine_portable(numbers);
}

} // namespace zrc
