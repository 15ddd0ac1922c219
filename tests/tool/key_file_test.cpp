// Key files: what is written is read again, every other encoding is refused, and no damage does harm.
#include "tests/tool/key_file_property.hpp"
#include "tools/base64.hpp"

#include <gtest/gtest.h>
#include <random>

namespace tool {
namespace {

using generator = std::mt19937; // the same numbers everywhere

std::size_t draw(generator& random, std::size_t below)
{
    return random() % below;
}

bytes random_number(generator& random)
{
    bytes number(1 + draw(random, draw(random, 4) == 0 ? 600 : 40));
    for (std::uint8_t& byte : number)
        byte = std::uint8_t(random());
    if (number[0] == 0) number[0] = 0x80;
    return number;
}

// A file of each form. The numbers are of any length, with and without their top bit, and no key.
std::vector<std::string> random_files(generator& random)
{
    const auto number = [&] { return random_number(random); };
    const rsa_private_key rsa{number(), number(), number(), number(), number(), number(), number(), number()};
    const rsa_public_key rsa_public{rsa.n, rsa.e};
    const kcdsa_key kcdsa{number(), number(), number(), number(), number()};
    return {
        write_rsa_private_key_pem(rsa, rsa_key_form::pkcs1),
        write_rsa_private_key_pem(rsa),
        write_rsa_public_key_pem(rsa_public, rsa_key_form::pkcs1),
        write_rsa_public_key_pem(rsa_public),
        write_kcdsa_pem(kcdsa),
        write_kcdsa_pem({kcdsa.p, kcdsa.q, kcdsa.g, kcdsa.y, {}}),
        write_kcdsa_pem({kcdsa.p, kcdsa.q, kcdsa.g, {}, {}}),
    };
}

// One change of a kind that readers are known to stumble over.
template <class Text>
void damage(Text& text, generator& random)
{
    using unit = typename Text::value_type;
    constexpr unsigned kTelling[] = {0x00, 0x01, 0x02, 0x04, 0x30, 0x7F, 0x80, 0x81,
                                     0x82, 0x84, 0x88, 0xFF, '-',  '=',  '\n'};
    const auto value = [&] { return unit(kTelling[draw(random, std::size(kTelling))]); };
    if (text.empty()) return;
    const std::size_t at =
        draw(random, 3) == 0 ? draw(random, std::min<std::size_t>(text.size(), 12)) : draw(random, text.size());
    const auto place = text.begin() + std::ptrdiff_t(at);
    switch (draw(random, 6)) {
    case 0:
        text[at] = unit(text[at] ^ 1 << draw(random, 8));
        break;
    case 1:
        text[at] = value();
        break;
    case 2:
        text.resize(at);
        break;
    case 3:
        text.insert(place, value());
        break;
    case 4:
        text.erase(place);
        break;
    default:
        text.insert(text.end(), place, place + std::ptrdiff_t(std::min<std::size_t>(text.size() - at, 9)));
    }
}

TEST(KeyFile, WhatIsWrittenIsReadAgain)
{
    generator random{1};
    for (int round = 0; round < 50; ++round)
        for (const std::string& file : random_files(random))
            EXPECT_EQ(rewritten(read_pem(file)), file);
}

// The content is damaged below the base64, so that the damage gets through to the DER reader, or the text is.
TEST(KeyFile, DamageIsRefusedOrGivesAnotherKey)
{
    generator random{2};
    std::size_t refused = 0, accepted = 0;
    for (int round = 0; round < 300; ++round)
        for (const std::string& file : random_files(random))
            for (int i = 0; i < 20; ++i) {
                std::string text = file;
                if (i % 4 == 0) {
                    for (std::size_t n = 1 + draw(random, 3); n != 0; --n)
                        damage(text, random);
                } else {
                    pem_block block = read_pem(file);
                    for (std::size_t n = 1 + draw(random, 3); n != 0; --n)
                        damage(block.content, random);
                    text = write_pem(block.label, block.content);
                }
                const auto same = read_and_rewrite(text);
                ASSERT_TRUE(same.value_or(true)) << text;
                ++(same ? accepted : refused);
            }
    EXPECT_GT(refused, 10000u);
    EXPECT_GT(accepted, 1000u); // digits of a number, or text around the block
}

// Each end that a file can have too early.
TEST(KeyFile, TruncatedFilesAreRefused)
{
    generator random{3};
    for (const std::string& file : random_files(random)) {
        const pem_block block = read_pem(file);
        for (std::size_t size = 0; size < block.content.size(); ++size)
            ASSERT_EQ(read_and_rewrite(write_pem(block.label, std::span{block.content}.first(size))), std::nullopt);
        for (std::size_t size = 0; size + 1 < file.size(); ++size) // all but the last newline
            ASSERT_EQ(read_and_rewrite(file.substr(0, size)), std::nullopt);
    }
}

bytes from_hex(std::string_view text)
{
    bytes result;
    for (std::size_t i = 0; i < text.size(); i += 2)
        result.push_back(std::uint8_t(std::stoul(std::string{text.substr(i, 2)}, nullptr, 16)));
    return result;
}

struct encoding {
    const char* what;
    const char* label;
    const char* hex;
};

// n = 5 and e = 3 in other clothes.
constexpr encoding kRefused[] = {
    {"nothing", "RSA PUBLIC KEY", ""},
    {"indefinite length", "RSA PUBLIC KEY", "30800201050201030000"},
    {"long form of a short length", "RSA PUBLIC KEY", "308106020105020103"},
    {"long form with a leading zero", "RSA PUBLIC KEY", "30820006020105020103"},
    {"length of five bytes", "RSA PUBLIC KEY", "30850000000006020105020103"},
    {"length of 4 GiB", "RSA PUBLIC KEY", "3084FFFFFFFF020105020103"},
    {"reserved length", "RSA PUBLIC KEY", "30FF020105020103"},
    {"integer longer than its sequence", "RSA PUBLIC KEY", "3006020105020203"},
    {"padded integer", "RSA PUBLIC KEY", "300702020005020103"},
    {"negative integer", "RSA PUBLIC KEY", "3006020185020103"},
    {"integer of no bytes", "RSA PUBLIC KEY", "30050200020103"},
    {"zero", "RSA PUBLIC KEY", "3006020100020103"},
    {"another tag", "RSA PUBLIC KEY", "3106020105020103"},
    {"a number less", "RSA PUBLIC KEY", "3003020105"},
    {"a number more", "RSA PUBLIC KEY", "3009020105020103020101"},
    {"something behind", "RSA PUBLIC KEY", "300602010502010300"},
    {"unused bits", "PUBLIC KEY", "301A300D06092A864886F70D010101050003090130060201050201 03"},
    {"no bits at all", "PUBLIC KEY", "3011300D06092A864886F70D01010105000300"},
    {"no NULL", "PUBLIC KEY", "3018300B06092A864886F70D010101030900300602010502 0103"},
    {"something behind the NULL", "PUBLIC KEY", "301C300F06092A864886F70D0101010500050003090030060201050201 03"},
    {"another algorithm", "PUBLIC KEY", "301A300D06092A864886F70D01010A050003090030060201050201 03"},
    {"a number more in a private key", "RSA PRIVATE KEY",
     "301E020100020105020103020101020101020101020101020101020101020101"},
    {"attributes", "PRIVATE KEY",
     "3033020100300D06092A864886F70D0101010500041D301B020100020105020103020101020101020101020101020101020101A000"},
    {"three primes", "RSA PRIVATE KEY", "301B020101020105020103020101020101020101020101020101020101"},
    {"another version", "KCDSA PARAMETERS", "300C020101020105020103020102"},
    {"unknown label", "EC PRIVATE KEY", "3006020105020103"},
    {"private key in a public form", "RSA PRIVATE KEY", "3006020105020103"},
};

TEST(KeyFile, OtherEncodingsAreRefused)
{
    const auto text = [](const encoding& given) {
        std::string hex = given.hex;
        std::erase(hex, ' ');
        return write_pem(given.label, from_hex(hex));
    };
    for (const encoding& good :
         {encoding{"", "RSA PUBLIC KEY", "3006020105020103"},
          encoding{"", "PUBLIC KEY", "301A300D06092A864886F70D01010105000309003006020105020103"},
          encoding{"", "RSA PRIVATE KEY", "301B020100020105020103020101020101020101020101020101020101"},
          encoding{
              "", "PRIVATE KEY",
              "3031020100300D06092A864886F70D0101010500041D301B020100020105020103020101020101020101020101020101020101"},
          encoding{"", "KCDSA PARAMETERS", "300C020100020105020103020102"}})
        EXPECT_EQ(read_and_rewrite(text(good)), true) << good.label;
    for (const encoding& bad : kRefused)
        EXPECT_EQ(read_and_rewrite(text(bad)), std::nullopt) << bad.what;
}

TEST(KeyFile, LongObjectsAreRefused)
{
    const auto key = [](std::size_t bytes_of_n) {
        return write_rsa_public_key_pem({bytes(bytes_of_n, 1), {3}}, rsa_key_form::pkcs1);
    };
    EXPECT_EQ(read_and_rewrite(key(65000)), true);
    EXPECT_EQ(read_and_rewrite(key(66000)), std::nullopt);

    // The length in nine bytes, of which as many as a word has are right: 30 82 hh ll becomes 30 89 01 00 ... hh ll.
    pem_block block = read_pem(key(300));
    block.content[1] = 0x89;
    block.content.insert(block.content.begin() + 2, {1, 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(read_and_rewrite(write_pem(block.label, block.content)), std::nullopt);
}

// MAYCAQUCAQM= is the key above.
TEST(KeyFile, PemAroundTheKey)
{
    const std::string begin = "-----BEGIN RSA PUBLIC KEY-----\n", end = "-----END RSA PUBLIC KEY-----\n";
    for (const std::string& good : {
             begin + "MAYCAQUCAQM=\n" + end,
             begin + "MAYC\r\nAQUC  \n\nAQM=\n" + end,
             "an explanation\n" + begin + "MAYCAQUCAQM=\n" + end + "another\n",
         })
        EXPECT_EQ(read_and_rewrite(good), true) << good;
    for (const std::string& bad : {
             begin + "MAYCAQUCAQN=\n" + end, // bits that have no place
             begin + "MAYCAQUCAQM\n" + end,
             begin + "MAYCAQUCAQM==\n" + end,
             begin + "MAYCAQUCAQM=MAYC\n" + end,
             begin + "MAYCAQU*AQM=\n" + end,
             begin + "MAYCAQUCAQM=\n",
             begin + "MAYCAQUCAQM=\n-----END PUBLIC KEY-----\n",
             begin + "MAYCAQUCAQM=\n" + end + begin + "MAYCAQUCAQM=\n" + end,
             begin + "Proc-Type: 4,ENCRYPTED\n\nMAYCAQUCAQM=\n" + end,
             "MAYCAQUCAQM=\n" + end,
             std::string((1 << 20) + 1, '\n') + begin + "MAYCAQUCAQM=\n" + end,
         })
        EXPECT_EQ(read_and_rewrite(bad), std::nullopt) << bad.substr(0, 200);
}

// RFC 4648, section 10, and every character.
TEST(KeyFile, Base64)
{
    const std::string text = "foobar";
    const char* const kEncoded[] = {"", "Zg==", "Zm8=", "Zm9v", "Zm9vYg==", "Zm9vYmE=", "Zm9vYmFy"};
    for (std::size_t size = 0; size <= text.size(); ++size) {
        const bytes plain{text.begin(), text.begin() + std::ptrdiff_t(size)};
        EXPECT_EQ(to_base64(plain), kEncoded[size]);
        EXPECT_EQ(from_base64(kEncoded[size]), plain);
    }
    const std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (int c = -128; c < 128; ++c)
        EXPECT_EQ(base64::value(char(c)), std::min<std::size_t>(digits.find(char(c)), 64)) << c;
    for (std::uint32_t i = 0; i < 64; ++i)
        EXPECT_EQ(base64::digit(i), digits[i]);
}

} // namespace
} // namespace tool

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
