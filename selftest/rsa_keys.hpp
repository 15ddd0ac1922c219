// The RSA keys of the self-test: RSA Laboratories' test vectors of PKCS #1 v2.1, oaep-vect.txt and pss-vect.txt,
// example 10 of each. Everybody knows them; they protect nothing.
#pragma once

#include "core/bytes.hpp"
#include "selftest/hex.hpp"

#include <cstddef>

namespace zrc {

inline constexpr std::size_t kRsaKeyBytes = 256; // of the modulus of each

struct rsa_key_numbers {
    byte_span n, e, d, p, q; // big-endian
};

inline constexpr auto kRsaPublicExponent = hex("010001");

inline constexpr auto kOaepModulus =
    hex("ae45ed5601cec6b8cc05f803935c674ddbe0d75c4c09fd7951fc6b0caec313a8df39970c518bffba5ed68f3f0d7f22a4"
        "029d413f1ae07e4ebe9e4177ce23e7f5404b569e4ee1bdcf3c1fb03ef113802d4f855eb9b5134b5a7c8085adcae6fa2f"
        "a1417ec3763be171b0c62b760ede23c12ad92b980884c641f5a8fac26bdad4a03381a22fe1b754885094c82506d4019a"
        "535a286afeb271bb9ba592de18dcf600c2aeeae56e02f7cf79fc14cf3bdc7cd84febbbf950ca90304b2219a7aa063aef"
        "a2c3c1980e560cd64afe779585b6107657b957857efde6010988ab7de417fc88d8f384c4e6e72c3f943e0c31c0c4a5cc"
        "36f879d8a3ac9d7d59860eaada6b83bb");
inline constexpr auto kOaepPrivateExponent =
    hex("056b04216fe5f354ac77250a4b6b0c8525a85c59b0bd80c56450a22d5f438e596a333aa875e291dd43f48cb88b9d5fc0"
        "d499f9fcd1c397f9afc070cd9e398c8d19e61db7c7410a6b2675dfbf5d345b804d201add502d5ce2dfcb091ce9997bbe"
        "be57306f383e4d588103f036f7e85d1934d152a323e4a8db451d6f4a5b1b0f102cc150e02feee2b88dea4ad4c1baccb2"
        "4d84072d14e1d24a6771f7408ee30564fb86d4393a34bcf0b788501d193303f13a2284b001f0f649eaf79328d4ac5c43"
        "0ab4414920a9460ed1b7bc40ec653e876d09abc509ae45b525190116a0c26101848298509c1c3bf3a483e7274054e15e"
        "97075036e989f60932807b5257751e79");
inline constexpr auto kOaepPrime1 =
    hex("ecf5aecd1e5515fffacbd75a2816c6ebf49018cdfb4638e185d66a7396b6f8090f8018c7fd95cc34b857dc17f0cc6516"
        "bb1346ab4d582cadad7b4103352387b70338d084047c9d9539b6496204b3dd6ea442499207bec01f964287ff6336c398"
        "4658336846f56e46861881c10233d2176bf15a5e96ddc780bc868aa77d3ce769");
inline constexpr auto kOaepPrime2 =
    hex("bc46c464fc6ac4ca783b0eb08a3c841b772f7e9b2f28babd588ae885e1a0c61e4858a0fb25ac299990f35be85164c259"
        "ba1175cdd7192707135184992b6c29b746dd0d2cabe142835f7d148cc161524b4a09946d48b828473f1ce76b6cb6886c"
        "345c03e05f41d51b5c3a90a3f24073c7d74a4fe25d9cf21c75960f3fc3863183");
inline constexpr rsa_key_numbers kOaepKey{kOaepModulus, kRsaPublicExponent, kOaepPrivateExponent, kOaepPrime1,
                                          kOaepPrime2};

inline constexpr auto kPssModulus =
    hex("a5dd867ac4cb02f90b9457d48c14a770ef991c56c39c0ec65fd11afa8937cea57b9be7ac73b45c0017615b82d622e318"
        "753b6027c0fd157be12f8090fee2a7adcd0eef759f88ba4997c7a42d58c9aa12cb99ae001fe521c13bb5431445a8d5ae"
        "4f5e4c7e948ac227d3604071f20e577e905fbeb15dfaf06d1de5ae6253d63a6a2120b31a5da5dabc9550600e20f27d37"
        "39e2627925fea3cc509f21dff04e6eea4549c540d6809ff9307eede91fff58733d8385a237d6d3705a33e39190099207"
        "0df7adf1357cf7e3700ce3667de83f17b8df1778db381dce09cb4ad058a511001a738198ee27cf55a13b754539906582"
        "ec8b174bd58d5d1f3d767c613721ae05");
inline constexpr auto kPssPrivateExponent =
    hex("2d2ff567b3fe74e06191b7fded6de112290c670692430d5969184047da234c9693deed1673ed429539c969d372c04d6b"
        "47e0f5b8cee0843e5c22835dbd3b05a0997984ae6058b11bc4907cbf67ed84fa9ae252dfb0d0cd49e618e35dfdfe59bc"
        "a3ddd66c33cebbc77ad441aa695e13e324b518f01c60f5a85c994ad179f2a6b5fbe93402b11767be01bf073444d6ba1d"
        "d2bca5bd074d4a5fae3531ad1303d84b30d897318cbbba04e03c2e66de6d91f82f96ea1d4bb54a5aae102d594657f5c9"
        "789553512b296dea29d8023196357e3e3a6e958f39e3c2344038ea604b31edc6f0f7ff6e7181a57c92826a268f86768e"
        "96f878562fc71d85d69e448612f7048f");
inline constexpr auto kPssPrime1 =
    hex("cfd50283feeeb97f6f08d73cbc7b3836f82bbcd499479f5e6f76fdfcb8b38c4f71dc9e88bd6a6f76371afd65d2af1862"
        "b32afb34a95f71b8b132043ffebe3a952baf7592448148c03f9c69b1d68e4ce5cf32c86baf46fed301ca1ab403069b32"
        "f456b91f71898ab081cd8c4252ef5271915c9794b8f295851da7510f99cb73eb");
inline constexpr auto kPssPrime2 =
    hex("cc4e90d2a1b3a065d3b2d1f5a8fce31b544475664eab561d2971b99fb7bef844e8ec1f360b8c2ac8359692971ea6a38f"
        "723fcc211f5dbcb177a0fdac5164a1d4ff7fbb4e829986353cb983659a148cdd420c7d31ba3822ea90a32be46c030e8c"
        "17e1fa0ad37859e06b0aa6fa3b216d9cbe6c0e22339769c0a615913e5da719cf");
inline constexpr rsa_key_numbers kPssKey{kPssModulus, kRsaPublicExponent, kPssPrivateExponent, kPssPrime1, kPssPrime2};

} // namespace zrc
