// The error decoders against the names of the public header, over the code space.
#include "kestrim_crypto.h"
#include "tests/sanitized.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

// The name of functions 1 to 33 in the string form, whatever the library, without ZRC_F_.
constexpr const char* kFirstOwners =
    "DES_MAC CONTEXT_CHECK ADD_BIGINT_WORD CBC_MAC DIGEST FINAL_ENCRYPTION DIGEST_CHECK BLOCKCIPHER ENCRYPT_RSAES "
    "ASYMMETIC_KEY_CHECK COMP_SHA256 BIGINT_FROM_MONTGOMERY ADD_BIGINT FINAL_SHA384 ADD_RSASSA_ENCODING "
    "CHECK_RSASSA_PKCS1_PSS_ENCODE SQR_BIGINT MTP_BIGINT MOD_MTP_BIGINT MOD_EXP_BIGINT LEFT_SHIFT_BIGINT "
    "RIGHT_SHIFT_BIGINT RAND_BIGINT_EX RAND_BIGINT FREE_BIGINT_POOL CLEAR_BIGINT_POOL START_BIGINT_POOL "
    "FINISH_BIGINT_POOL RELEASE_BIGINT_POOL GENERATE_BIGINT_PRIME COPY_BIGINT SET_BIGINT_WORD FINAL_SHA512";

// What GetErrorCode leaves out: the functions with these numbers, each library by itself.
struct omission {
    std::size_t library;
    std::vector<std::size_t> functions;
};
const omission kOmitted[] = {
    {0x01, {2}}, {0x02, {2}},          {0x03, {2}}, {0x05, {2, 5, 8}},    {0x07, {7}}, {0x0C, {8}},
    {0x10, {5}}, {0x14, {2, 3, 5, 6}}, {0x15, {1}}, {0x18, {13, 14, 16}}, {0x19, {2}},
};
const std::set<std::size_t> kPrintedOfBigint{23, 31, 32, 33};

constexpr const char* kNonProvenLine = ">> ERROR : NON-PROVEN ALGORITM IN PROVEN MODE!! \n";

std::string at(const std::map<std::size_t, std::string>& names, std::size_t number)
{
    const auto found = names.find(number);
    return found != names.end() ? found->second : "";
}

// The names of the public header, and what the decoders make of them on purpose.
struct vocabulary {
    std::map<std::size_t, std::string> reasons, libraries, first_owners, printed_libraries;
    std::map<std::size_t, std::string> printed_functions; // by library and function

    vocabulary()
    {
        read_header();
        printed_libraries = libraries;
        libraries.erase(0x0B);         // unknown to the string form,
        printed_libraries.erase(0x11); // and these in print
        printed_libraries.erase(0x15);
        printed_libraries[0x19] = "F_INIT_SEED_KEY";
        printed_libraries[0x20] = "ZRC_L_ENTROPY";
        printed_libraries[0x21] = "ZRC_F_INIT_ECDSA";
        printed_functions[0x2101] = "ZRC_F_INIT_DH";
        for (const omission& o : kOmitted)
            for (const std::size_t function : o.functions)
                printed_functions.erase(o.library << 8 | function);
        std::erase_if(printed_functions,
                      [](const auto& f) { return f.first >> 8 == 0x04 && !kPrintedOfBigint.contains(f.first & 0xFF); });

        std::istringstream in{kFirstOwners};
        std::string name;
        for (std::size_t number = 1; in >> name; ++number)
            first_owners[number] = "ZRC_F_" + name;
    }

    // `NAME = NUMBER`; a comment with the name of a library alone stands above its functions.
    void read_header()
    {
        std::map<std::string, std::size_t> numbers; // of libraries
        std::ifstream in{KESTRIM_SOURCE_DIR "/include/kestrim/error.h"};
        std::string word, equals, value, library;
        while (in >> word) {
            if (word == "/*" && in >> word && word.starts_with("ZRC_L_")) library = word;
            if (!word.starts_with("ZRC_") || !(in >> equals) || equals != "=") continue;
            in >> value;
            const std::size_t number = std::stoul(value, nullptr, 0);
            if (word.starts_with("ZRC_L_")) libraries[numbers[word] = number] = word;
            if (word.starts_with("ZRC_F_")) printed_functions[numbers.at(library) << 8 | number] = word;
            if (word.starts_with("ZRC_ERR_")) reasons[number] = word;
        }
    }

    std::string reason(std::uint32_t code) const { return at(reasons, code & 0xFFFF); }

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
        const std::string library = at(printed_libraries, code >> 24);
        const std::string function = library.empty() ? "" : at(printed_functions, code >> 16);
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
// valgrind none) where library and function may have names, and every reason of 16 bits with one function.
std::vector<std::uint32_t> codes(std::uint32_t library)
{
    constexpr std::uint32_t kNamed = 0x23; // above every library and function that has a name
    constexpr std::uint32_t kKinds[] = {0x0000, 0x002B, 0x0067, 0x0068, 0x00F0, 0x00F1, 0x00F2, 0x012B, 0x01F0, 0xFF67};
    std::vector<std::uint32_t> grid;
    for (std::uint32_t function = 0; function < 0x100; ++function) {
        const std::uint32_t base = library << 24 | function << 16;
        for (const std::uint32_t reason : kKinds)
            grid.push_back(base | reason);
        const bool named = library < kNamed && function < kNamed && !test::runs_slowly();
        const std::uint32_t below = base == 0x05010000 ? 0x10000 : named ? 0x100 : 0;
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

// Where two texts differ first; empty when they do not.
std::string difference(const std::string& got, const std::string& want)
{
    if (got == want) return "";
    const auto at = std::size_t(std::ranges::mismatch(got, want).in1 - got.begin());
    return "printed \"" + got.substr(at, 80) + "\", expected \"" + want.substr(at, 80) + "\"";
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

TEST(Error, MisspeltNamesStayAsTheyAre)
{
    EXPECT_EQ(expected().libraries.at(0x1D), "ZRC_L_METEX_LOCK");
    EXPECT_EQ(expected().reason(0x1A), "ZRC_ERR_GET_ADRESS_LOADLIBRARY");
    EXPECT_EQ(expected().reason(0x47), "ZRC_ERR_NOT_FOUNDED");
    const auto& functions = expected().printed_functions;
    EXPECT_EQ(functions.at(0x1A08) + functions.at(0x1A09), "ZRC_F_SYMMETIC_KEY_CHECKZRC_F_SYMMETIC_ALGORITHM_CHECK");
    EXPECT_EQ(functions.at(0x1A0A) + functions.at(0x1802), "ZRC_F_ASYMMETIC_KEY_CHECKZRC_F_SET_RSA_PUBLIC_PRAMS");
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
