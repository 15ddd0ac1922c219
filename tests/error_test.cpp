// The error decoders against a second statement of their vocabularies, over the code space.
#include "kestrim_crypto.h"
#include "tests/sanitized.hpp"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

namespace {

// Reasons 0x01 to 0x67 in order, without ZRC_ERR_.
constexpr const char* kReasons =
    "ADD_BIGINT_FAIL BIGINT_FROM_MONTGOMERY_FAIL BIGINT_MEM_EXPAND_FAILURE BIGINT_TO_MONTGOMERY_FAIL "
    "BINARY_TO_BIGINT_FAIL BUF_TOO_SMALL CANNOT_CLOSE_STREAM CANNOT_OPEN_STREAM CIPHER_DECRYPT_FAILURE "
    "CIPHER_ENCRYPT_FAILURE CMP_BIGINT_FAIL COMPARE_FAIL COPY_BIGINT_FAIL DECODING_FAILURE DIGEST_FAIL "
    "DIV_BIGINT_FAIL DIVIDE_BY_ZERO ENCODING_FAILURE END_OF_STREAM ENTROPY_FAIL EUCLID_FAIL EXPAND_BIGINT_WORD "
    "FINAL_BLOCKCIPHER_FAIL FINAL_DIGEST_FAIL FINAL_FAILURE GET_ADRESS_LOADLIBRARY GET_BIGINT_POOL_FAIL "
    "GET_RAND_DSA_BIGINT_FAIL GET_RAND_FAIL HASH_DF_FAIL HASH_GEN_FAIL INI_BIGINT_FAIL INIT_BLOCKCIPHER_FAIL "
    "INIT_DIGEST_FAIL INIT_FAILURE INIT_KEY_FAILURE INIT_PRNG_FAIL INPUT_BUF_TOO_BIG INPUT_BUF_TOO_SHORT INTERNAL "
    "INVALID_ALGORITHM_ID INVALID_ENCODE_MODE INVALID_INPUT INVALID_IV_LENGTH INVALID_KEY_LENGTH INVALID_KEY_PAIR "
    "INVALID_OPERATION_MASK INVALID_OUTPUT INVALID_PADDING INVALID_PASSWORD INVALID_RSA_ENCODING INVALID_UNIT "
    "IO_EOF IS_BIGINT_PRIME IS_BIGINT_ZERO_FAIL KEY_GEN_FAIL LEFT_SHIFT_BIGINT_FAIL MALLOC MEM_ALLOC MEMORY_ALLOC "
    "MESSAGE_TOO_LONG MOD_BIGINT_FAIL MOD_EXP_BIGINT_FAIL MOD_EXP_MONT_BIGINT_FAIL MOD_INVERSE_BIGINT_FAIL "
    "MOD_MTP_BIGINT_FAIL MOD_MUL_BIGINT_MONTGOMERY_FAIL MTP_BIGINT_FAIL NO_PRIVATE_VALUE NO_PUBLIC_VALUE "
    "NOT_FOUNDED NOT_SUPPORTED NULL_INPUT NULL_IV_VALUE NULL_XKEY_VALUE OPERATE_FUNCTION RAND_BIGINT_FAIL "
    "RANDOM_GEN_FAILURE READ_FROM_BINARY READ_FROM_FILE RIGHT_SHIFT_BIGINT_FAIL SET_BIGINT_FAIL SIGN_DSA_FAIL "
    "SIGN_FAILURE SIGNATURE_TOO_LONG SQR_BIGINT_FAIL START_BIGINT_POOL_FAIL SUB_BIGINT_FAIL SUB_OPERATION_FAILURE "
    "UPDATE_BLOCKCIPHER_FAIL UPDATE_DIGEST_FAIL UPDATE_FAILURE VERIFY_DSA_FAIL VERIFY_FAILURE WRITE_TO_BINARY "
    "WRITE_TO_FILE MUTEX_LOCK_FAIL MUTEX_UNLOCK_FAIL INIT_DRBG_FAIL INSTANTIATE_DRBG_FAIL RESEED_DRBG_FAIL "
    "GENERATE_DRBG_FAIL CONDITION_TEST_FAIL";

// Libraries 0x01 to 0x21 in order as the string form knows them, without ZRC_L_; "-" for one that it does not.
constexpr const char* kLibraries =
    "AES_INTERFACE ARIA_INTERFACE BF_INTERFACE BIGINT BLOCK_CIPHER CBC_MAC DES_EDE_INTERFACE DES_INTERFACE DES_MAC "
    "DIGEST - DSA FOUNDATION HAS160 HMAC KCDSA KEY MD5 MDC2 PRNG RC2_INTERFACE RC4_INTERFACE RC5_INTERFACE RSA "
    "SEED_INTERFACE SELF_TEST SHA ENTROPY METEX_LOCK - LEA_INTERFACE DH ECDSA";

// The name of functions 1 to 33 in the string form, whatever the library, without ZRC_F_.
constexpr const char* kFirstOwners =
    "DES_MAC CONTEXT_CHECK ADD_BIGINT_WORD CBC_MAC DIGEST FINAL_ENCRYPTION DIGEST_CHECK BLOCKCIPHER ENCRYPT_RSAES "
    "ASYMMETIC_KEY_CHECK COMP_SHA256 BIGINT_FROM_MONTGOMERY ADD_BIGINT FINAL_SHA384 ADD_RSASSA_ENCODING "
    "CHECK_RSASSA_PKCS1_PSS_ENCODE SQR_BIGINT MTP_BIGINT MOD_MTP_BIGINT MOD_EXP_BIGINT LEFT_SHIFT_BIGINT "
    "RIGHT_SHIFT_BIGINT RAND_BIGINT_EX RAND_BIGINT FREE_BIGINT_POOL CLEAR_BIGINT_POOL START_BIGINT_POOL "
    "FINISH_BIGINT_POOL RELEASE_BIGINT_POOL GENERATE_BIGINT_PRIME COPY_BIGINT SET_BIGINT_WORD FINAL_SHA512";

// What GetErrorCode prints for a library and for its functions: number and name without ZRC_F_.
struct printed_library {
    unsigned library;
    const char* word;
    const char* functions;
};

constexpr printed_library kPrinted[] = {
    {0x01, "ZRC_L_AES_INTERFACE", "1 INIT_AES_KEY 3 DO_AES_ECB 4 DO_AES_CBC 5 DO_AES_CFB 6 DO_AES_OFB 7 DO_AES_CTR"},
    {0x02, "ZRC_L_ARIA_INTERFACE",
     "1 INIT_ARIA_KEY 3 DO_ARIA_ECB 4 DO_ARIA_CBC 5 DO_ARIA_CFB 6 DO_ARIA_OFB 7 DO_ARIA_CTR"},
    {0x03, "ZRC_L_BF_INTERFACE", "1 INIT_BF_KEY 3 DO_BF_ECB 4 DO_BF_CBC 5 DO_BF_CFB 6 DO_BF_OFB 7 DO_BF_CTR"},
    {0x04, "ZRC_L_BIGINT", "23 RAND_BIGINT_EX 31 COPY_BIGINT 32 SET_BIGINT_WORD 33 SET_BIGINT_BIT"},
    {0x05, "ZRC_L_BLOCK_CIPHER",
     "1 INIT_BLOCKCIPHER 3 UPDATE_ENCRYPTION 4 UPDATE_DECRYPTION 6 FINAL_ENCRYPTION 7 FINAL_DECRYPTION 9 "
     "INIT_ALGORITHM 10 INIT_ADVANCED_BLOCKCIPHER 11 DO_FINAL_ADVANCED_BLOCKCIPHER"},
    {0x06, "ZRC_L_CBC_MAC", "1 INIT_CBC_MAC 2 UPDATE_CBC_MAC 3 FINAL_CBC_MAC 4 CBC_MAC"},
    {0x07, "ZRC_L_DES_EDE_INTERFACE",
     "1 INIT_DES_EDE_KEY 2 DO_DES_EDE_ECB 3 DO_DES_EDE_CBC 4 DO_DES_EDE_CFB 5 DO_DES_EDE_OFB 6 DO_DES_EDE_CTR"},
    {0x08, "ZRC_L_DES_INTERFACE", "1 INIT_DES_KEY 2 DO_DES_ECB 3 DO_DES_CBC 4 DO_DES_CFB 5 DO_DES_OFB 6 DO_DES_CTR"},
    {0x09, "ZRC_L_DES_MAC", "1 DES_MAC"},
    {0x0A, "ZRC_L_DIGEST", "1 INIT_DIGEST 2 UPDATE_DIGEST 3 FINAL_DIGEST 4 INIT_DIGEST_ALG 5 DIGEST"},
    {0x0B, "ZRC_L_DRBG",
     "1 INIT_DRBG 2 INSTANTIATE_DRBG 3 RESEED_DRBG 4 GENERATE_DRBG 5 RAND_BYTES_DRBG 7 INIT_HASHDRBG 8 "
     "INSTANTIATE_HASHDRBG 9 RESEED_HASHDRBG 10 GENERATE_HASHDRBG"},
    {0x0C, "ZRC_L_DSA",
     "1 SET_DSA_PARAMS 2 INIT_DSA 3 UPDATE_DSA 4 FINAL_DSA 5 SIGN_DSA 6 VERIFY_DSA 7 GENERATE_DSA_PARAMS 9 "
     "GENERATE_DSA_KEY"},
    {0x0D, "ZRC_L_FOUNDATION", "1 CHANGE_NON_PROVENMODE"},
    {0x0E, "ZRC_L_HAS160", "1 INIT_HAS160 2 UPDATE_HAS160 3 FINAL_HAS160"},
    {0x0F, "ZRC_L_HMAC", "1 INIT_HMAC 2 UPDATE_HMAC 3 FINAL_HMAC 4 HMAC"},
    {0x10, "ZRC_L_KCDSA",
     "1 GENERATE_KCDSA_PARAMS_EX 2 GENERATE_KCDSA_PARAMS 3 GET_RAND_KCDSA_BIGINT 4 GENERATE_KCDSA_KEY_PAIR_EX 6 "
     "SET_KCDSA_PARAMS 7 INIT_KCDSA_EX 8 INIT_KCDSA 9 UPDATE_KCDSA 10 FINAL_KCDSA 11 SIGN_KCDSA 12 VERIFY_KCDSA"},
    {0x12, "ZRC_L_MD5", "1 INIT_MD5 2 UPDATE_MD5 3 FINAL_MD5"},
    {0x13, "ZRC_L_MDC2", "1 INIT_MDC2 2 UPDATE_MDC2 3 FINAL_MDC2"},
    {0x14, "ZRC_L_PRNG", "1 INIT_PRNG 4 GET_RAND 7 INIT_PRNG_ALG"},
    {0x16, "ZRC_L_RC4_INTERFACE", ""},
    {0x17, "ZRC_L_RC5_INTERFACE", "1 INIT_RC5_KEY 2 DO_RC5_ECB 3 DO_RC5_CBC 4 DO_RC5_CFB 5 DO_RC5_OFB 6 DO_RC5_CTR"},
    {0x18, "ZRC_L_RSA",
     "1 SET_RSA_PRAMS 2 SET_RSA_PUBLIC_PRAMS 3 INIT_RSASSA 4 UPDATE_RSASSA 5 FINAL_RSASSA 6 SIGN_RSASSA 7 "
     "VERIFY_RSASSA 8 INIT_RSAES 9 ENCRYPT_RSAES 10 DECRYPT_RSAES 11 GENERATE_RSA_PARAMS_EX 12 GENERATE_RSA_PARAMS "
     "15 ADD_RSASSA_ENCODING"},
    {0x19, "F_INIT_SEED_KEY", "1 INIT_SEED_KEY 3 DO_SEED_CBC 4 DO_SEED_CFB 5 DO_SEED_ECB 6 DO_SEED_OFB 7 DO_SEED_CTR"},
    {0x1A, "ZRC_L_SELF_TEST",
     "1 LIB_INTEGRITY_CHECK 2 CONTEXT_CHECK 3 VERSION_CHECK 4 ENTROPY_CHECK 5 DRBG_CHECK 6 HMAC_CHECK 7 "
     "DIGEST_CHECK 8 SYMMETIC_KEY_CHECK 9 SYMMETIC_ALGORITHM_CHECK 10 ASYMMETIC_KEY_CHECK 11 RSAES_OAEP_CHECK 12 "
     "RSASSA_CHECK"},
    {0x1B, "ZRC_L_SHA",
     "1 INIT_SHA1 2 UPDATE_SHA1 3 FINAL_SHA1 4 COMP_SHA1 5 INIT_SHA224 6 UPDATE_SHA224 7 FINAL_SHA224 8 "
     "INIT_SHA256 9 UPDATE_SHA256 10 FINAL_SHA256 11 COMP_SHA256 12 INIT_SHA384 13 UPDATE_SHA384 14 FINAL_SHA384 "
     "15 INIT_SHA512 32 UPDATE_SHA512 33 FINAL_SHA512"},
    {0x1C, "ZRC_L_ENTROPY",
     "1 ADD_ENTROPY 2 COLLECT_ENTROPY 3 DIGEST_ENTROPY 4 GET_ENTROPY 5 GET_ENTROPY_INPUT 6 "
     "GET_ENTROPY_AND_NONCE_INPUT"},
    {0x1D, "ZRC_L_METEX_LOCK", "1 INIT_LOCK 2 WAIT_LOCK 3 RELEASE_LOCK 4 CLEAR_LOCK"},
    {0x1F, "ZRC_L_LEA_INTERFACE",
     "1 INIT_LEA_KEY 2 INIT_LEA 3 DO_LEA_ECB 4 DO_LEA_CBC 5 DO_LEA_CFB 6 DO_LEA_OFB 7 DO_LEA_CTR"},
    {0x20, "ZRC_L_ENTROPY", "1 INIT_DH 2 INIT_DH_PARAMS 3 GENERATE_DH_PARAMS 4 GENERATE_DH_KEY_PAIR 5 COMPUTE_KEY"},
    {0x21, "ZRC_F_INIT_ECDSA", "1 INIT_DH 2 UPDATE_ECDSA 3 FINAL_ECDSA 4 SIGN_ECDSA 5 VERIFY_ECDSA"},
};

constexpr const char* kNonProvenLine = ">> ERROR : NON-PROVEN ALGORITM IN PROVEN MODE!! \n";

std::vector<std::string> list(const char* words, const char* prefix)
{
    std::vector<std::string> names{""}; // number 0 has no name
    std::istringstream in{words};
    for (std::string word; in >> word;)
        names.push_back(word == "-" ? "" : prefix + word);
    return names;
}

std::string at(const std::vector<std::string>& names, std::size_t index)
{
    return index < names.size() ? names[index] : "";
}

struct vocabulary {
    std::vector<std::string> reasons = list(kReasons, "ZRC_ERR_");
    std::vector<std::string> libraries = list(kLibraries, "ZRC_L_");
    std::vector<std::string> first_owners = list(kFirstOwners, "ZRC_F_");
    std::array<std::string, 256> printed_library;
    std::array<std::array<std::string, 256>, 256> printed_function;

    vocabulary()
    {
        for (const auto& [library, word, functions] : kPrinted) {
            printed_library[library] = word;
            std::istringstream in{functions};
            std::string name;
            for (unsigned number; in >> number >> name;)
                printed_function[library][number] = "ZRC_F_" + name;
        }
    }

    std::string reason(std::uint32_t code) const
    {
        if ((code & 0xFFFF) == 0xF0) return "ZRC_ERR_NOT_PROVEN_ALGORITHM";
        if ((code & 0xFFFF) == 0xF1) return "ZRC_ERR_NOT_CHANGE_NONPROVEN";
        return at(reasons, code & 0xFFFF);
    }

    // What ZRC_Get_Error_String writes; empty when it fails.
    std::string text(std::uint32_t code) const
    {
        const std::string names[] = {at(libraries, code >> 24), at(first_owners, code >> 16 & 0xFF), reason(code)};
        for (const std::string& name : names)
            if (name.empty()) return "";
        return names[0] + ":" + names[1] + ":" + names[2];
    }

    // What GetErrorCode prints, one string for each print call.
    std::vector<std::string> pieces(std::uint32_t code) const
    {
        if ((code & 0xF0) == 0xF0) return {kNonProvenLine};
        std::vector<std::string> found;
        const std::string& library = printed_library[code >> 24];
        const std::string& function = printed_function[code >> 24][code >> 16 & 0xFF];
        if (!library.empty()) found.push_back(">> ERROR : " + library + " ");
        if (!function.empty()) found.push_back(function + " ");
        if (const std::string name = reason(code); !name.empty()) found.push_back(name);
        return found;
    }
};

const vocabulary& expected()
{
    static const vocabulary words;
    return words;
}

// A grid over the codes of one library: every function with reasons of each kind, each reason below 0x100 (under
// valgrind less) where library and function may have names, and every reason of 16 bits with one function.
std::vector<std::uint32_t> codes(std::uint32_t library)
{
    constexpr std::uint32_t kNamed = 0x23; // above every library and function that has a name
    constexpr std::uint32_t kKinds[] = {0x002B, 0x00F0, 0x012B};
    constexpr std::uint32_t kChosen[] = {0x0000, 0x0001, 0x0067, 0x0068, 0x00EF, 0x00F1, 0x00F2,
                                         0x00FF, 0x0100, 0x01F0, 0x01F1, 0x8001, 0xFF67};
    std::vector<std::uint32_t> grid;
    for (std::uint32_t function = 0; function < 0x100; ++function) {
        const std::uint32_t base = library << 24 | function << 16;
        const bool named = library < kNamed && function < kNamed;
        for (const std::uint32_t reason : kKinds)
            grid.push_back(base | reason);
        for (std::size_t i = 0; named && i < std::size(kChosen); ++i)
            grid.push_back(base | kChosen[i]);
        const std::uint32_t below = base == 0x05010000 ? 0x10000 : named && !test::runs_slowly() ? 0x100 : 0;
        for (std::uint32_t reason = 0; reason < below; ++reason)
            grid.push_back(base | reason);
    }
    return grid;
}

std::string hex(std::uint32_t code)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", unsigned(code));
    return text;
}

// The first line in which two texts differ; empty when none does.
std::string difference(const std::string& got, const std::string& want)
{
    if (got == want) return "";
    std::istringstream got_lines{got}, want_lines{want};
    std::string got_line, want_line;
    while (std::getline(got_lines, got_line) && std::getline(want_lines, want_line) && got_line == want_line) {
    }
    return "printed \"" + got_line + "\", expected \"" + want_line + "\"";
}

// Compares what GetErrorCode prints and returns for the codes of one library; returns the first fault, or nothing.
// Failures are not reported meanwhile: GoogleTest prints them to the output that is captured.
std::string fault_of_get_error_code(std::uint32_t library)
{
    std::string want, wrong_count;
    testing::internal::CaptureStdout();
    for (const std::uint32_t code : codes(library)) {
        const std::vector<std::string> pieces = expected().pieces(code);
        const std::int32_t count = GetErrorCode(code);
        if (count != (pieces.empty() ? 0 : std::int32_t(pieces.back().size())))
            wrong_count = hex(code) + " returned " + std::to_string(count);
        for (const std::string& piece : pieces)
            want += piece;
        const std::string mark = " (" + hex(code) + ")\n"; // keeps the texts of two codes apart
        std::fputs(mark.c_str(), stdout);
        want += mark;
    }
    const std::string fault = difference(testing::internal::GetCapturedStdout(), want);
    return wrong_count.empty() ? fault : wrong_count;
}

std::string printed_error(std::uint32_t code)
{
    testing::internal::CaptureStdout();
    ZRC_Print_Error_String(code);
    return testing::internal::GetCapturedStdout();
}

// A caller's buffer, full of a mark, with `text` and its terminator at the start unless it is empty.
std::array<char, 256> buffer_with(const std::string& text)
{
    std::array<char, 256> buf;
    buf.fill('~');
    if (!text.empty()) std::memcpy(buf.data(), text.c_str(), text.size() + 1);
    return buf;
}

TEST(Error, GetErrorCodePrintsItsOwnWords)
{
    for (std::uint32_t library = 0; library < 0x100; ++library)
        ASSERT_EQ(fault_of_get_error_code(library), "");
}

TEST(Error, ErrorStringNamesTheFunctionByItsFirstOwner)
{
    for (std::uint32_t library = 0; library < 0x100; ++library) {
        for (const std::uint32_t code : codes(library)) {
            const std::string text = expected().text(code);
            std::array<char, 256> buf = buffer_with("");
            ASSERT_EQ(ZRC_Get_Error_String(code, buf.data()), text.empty() ? 1U : 0U) << hex(code);
            ASSERT_EQ(buf, buffer_with(text)) << hex(code) << ' ' << text;
        }
    }
    EXPECT_EQ(ZRC_Get_Error_String(0x0501002B, nullptr), 1U);
}

TEST(Error, ReasonString)
{
    for (std::uint32_t reason = 0; reason <= 0xFFFF; ++reason) {
        const std::string name = expected().reason(reason);
        std::array<char, 256> buf = buffer_with("");
        ASSERT_EQ(ZRC_Get_Reason_String(std::uint16_t(reason), buf.data()), name.empty() ? 1U : 0U) << hex(reason);
        ASSERT_EQ(buf, buffer_with(name)) << hex(reason);
    }
    EXPECT_EQ(ZRC_Get_Reason_String(0x2B, nullptr), 1U);
}

TEST(Error, PrintErrorString)
{
    EXPECT_EQ(printed_error(0x0501002B),
              "CRYPTO ERROR (83951659) : ZRC_L_BLOCK_CIPHER:ZRC_F_DES_MAC:ZRC_ERR_INVALID_INPUT\n");
    EXPECT_EQ(printed_error(0x0D0100F1),
              "CRYPTO ERROR (218169585) : ZRC_L_FOUNDATION:ZRC_F_DES_MAC:ZRC_ERR_NOT_CHANGE_NONPROVEN\n");
    for (const std::uint32_t code : {0U, 0x0B01002BU, 0x0501002BU + 0x80000000U, 0x05010000U})
        EXPECT_EQ(printed_error(code), "CRYPTO ERROR (unknown)\n") << hex(code);
}

} // namespace
