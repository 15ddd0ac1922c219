// Makes the tables of pubkey/dh_sets.cpp: `make_dh_sets > pubkey/dh_sets.cpp`. Built on request only: the library
// ships what it has made. Each set is a new search of the library, of which the seed and the counter are kept.
#include "kestrim_crypto.h"

#include <cstdint>
#include <cstdio>

namespace {

bool print_set(ZRC_DH_UNIT* unit, std::int32_t p_bits, std::int32_t q_bits)
{
    const std::uint32_t code = ZRC_Generate_DH_Params(unit, p_bits, q_bits, ZRC_DH_GENERATE);
    if (code != 0) {
        std::fprintf(stderr, "make_dh_sets: ZRC_Generate_DH_Params: 0x%08X\n", unsigned(code));
        return false;
    }
    std::printf("    {{");
    for (std::int32_t i = 0; i < unit->seed_length; i += 4)
        std::printf("%s0x%02X%02X%02X%02X", i == 0 ? "" : ", ", unit->seed[i], unit->seed[i + 1], unit->seed[i + 2],
                    unit->seed[i + 3]);
    std::printf("}, %d},\n", int(unit->counter));
    return true;
}

bool print_table(ZRC_DH_UNIT* unit, std::int32_t p_bits, std::int32_t q_bits)
{
    std::printf("constinit const std::array<dh_set_record<%d>, kDhSets> dh_sets_%d = {{\n", int(q_bits / 32),
                int(p_bits));
    for (int i = 0; i < ZRC_DH_PRECOMPUTED_SETS; ++i)
        if (!print_set(unit, p_bits, q_bits)) return false;
    std::printf("}};\n");
    return true;
}

} // namespace

int main()
{
    ZRC_Change_Non_Proven_Mode();
    ZRC_DH_UNIT* const unit = ZRC_New_DH();
    if (!unit) return 1;
    std::printf(
        "// Made by tools/make_dh_sets.cpp: seeds from the approved generator, each with the first counter that\n"
        "// gives a prime. `kestrim dhparam --verify` and the tests derive and check every set.\n"
        "#include \"pubkey/dh_sets.hpp\"\n\n"
        "namespace zrc {\n\n");
    const bool done = print_table(unit, 1024, 160) && std::printf("\n") > 0 && print_table(unit, 2048, 256);
    std::printf("\n} // namespace zrc\n");
    ZRC_Free_DH(unit);
    const bool written = std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
    return done && written ? 0 : 1;
}
