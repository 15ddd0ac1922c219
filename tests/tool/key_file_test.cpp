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

bytes random_bytes(generator& random, std::size_t size)
{
    bytes result(size);
    for (std::uint8_t& byte : result)
        byte = std::uint8_t(random());
    return result;
}

bytes random_number(generator& random)
{
    bytes number = random_bytes(random, 1 + draw(random, draw(random, 4) == 0 ? 600 : 40));
    if (number[0] == 0) number[0] = 0x80;
    return number;
}

// With and without what is optional.
std::vector<std::string> random_dh_files(generator& random)
{
    const auto number = [&] { return random_number(random); };
    const bytes p = number(), g = number(), q = number(), value = number();
    return {
        write_dh_pem({p, g, q, {}, {}, {}, {}, {}, {}}),
        write_dh_pem({p, g, q, number(), random_bytes(random, 32), number(), {}, {}, {}}),
        write_dh_pem({p, g, q, {}, random_bytes(random, 20), {}, {}, value, {}}),
        write_dh_pem({p, g, q, number(), {}, {}, {}, {}, value}),
        write_dh_pem({p, g, {}, {}, {}, {}, number(), {}, {}}),
        write_dh_pem({p, g, {}, {}, {}, {}, {}, value, {}}),
        write_dh_pem({p, g, {}, {}, {}, {}, number(), {}, value}),
    };
}

std::vector<std::string> random_ec_files(generator& random)
{
    constexpr std::string_view kCurves[] = {"p192", "p224", "p256", "p384", "p521", "secp256k1", "secp384r1"};
    const named_curve* const curve = find_curve(kCurves[draw(random, std::size(kCurves))]);
    const std::size_t size = curve->coordinate_bytes();
    ec_key key{curve, random_bytes(random, size), random_bytes(random, size), {}};
    std::vector<std::string> files{write_ec_pem(key)};
    key.d = random_bytes(random, size);
    files.push_back(write_ec_pem(key));
    files.push_back(write_ec_pem(key, key_form::traditional));
    key.names_curve = true;
    files.push_back(write_ec_pem(key));
    files.push_back(write_ec_pem({curve, {}, {}, key.d}));
    return files;
}

// A file of each form. The numbers are of any length, with and without their top bit, and no key.
std::vector<std::string> random_files(generator& random)
{
    const auto number = [&] { return random_number(random); };
    const rsa_private_key rsa{number(), number(), number(), number(), number(), number(), number(), number()};
    const rsa_public_key rsa_public{rsa.n, rsa.e};
    const kcdsa_key kcdsa{number(), number(), number(), number(), number()};
    std::vector<std::string> files{
        write_rsa_private_key_pem(rsa, key_form::traditional),
        write_rsa_private_key_pem(rsa),
        write_rsa_public_key_pem(rsa_public, key_form::traditional),
        write_rsa_public_key_pem(rsa_public),
        write_kcdsa_pem(kcdsa),
        write_kcdsa_pem({kcdsa.p, kcdsa.q, kcdsa.g, kcdsa.y, {}}),
        write_kcdsa_pem({kcdsa.p, kcdsa.q, kcdsa.g, {}, {}}),
        write_dsa_pem({rsa.p, rsa.q, rsa.e, rsa.n, rsa.d}, key_form::traditional),
        write_dsa_pem({rsa.p, rsa.q, rsa.e, {}, rsa.d}),
        write_dsa_pem({rsa.p, rsa.q, rsa.e, rsa.n, {}}),
        write_dsa_pem({rsa.p, rsa.q, rsa.e, {}, {}}),
    };
    for (const auto& more : {random_dh_files(random), random_ec_files(random)})
        files.insert(files.end(), more.begin(), more.end());
    return files;
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
    for (int round = 0; round < 100; ++round)
        for (const std::string& file : random_files(random))
            for (int i = 0; i < 20; ++i) {
                std::string text = file;
                pem_block block = read_pem(file);
                for (std::size_t n = 1 + draw(random, 3); n != 0; --n)
                    i % 4 == 0 ? damage(text, random) : damage(block.content, random);
                if (i % 4 != 0) text = write_pem(block.label, block.content);
                const auto same = read_and_rewrite(text);
                ASSERT_TRUE(same.value_or(true)) << text;
                ++(same ? accepted : refused);
            }
    EXPECT_GT(refused, 10000u);
    EXPECT_GT(accepted, 1000u); // digits of a number, or text around the block
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
    {"unknown label", "EC PARAMETERS", "06052B8104000A"},
    {"DSA without g", "DSA PARAMETERS", "3006020107020103"},
    {"DSA without parameters", "PUBLIC KEY", "3011300906072A8648CE3804010304000201 05"},
    {"something behind the parameters", "PUBLIC KEY",
     "301E301606072A8648CE3804013009020107020103020102050003040002 0104"},
    {"something behind y", "PUBLIC KEY", "301E301406072A8648CE380401300902010702010302010203060002 01040500"},
    {"length 0", "DH PARAMETERS", "3009020107020102020100"},
    {"another number behind j", "X9.42 DH PARAMETERS", "300F020107020102020103020102020101"},
    {"empty seed", "X9.42 DH PARAMETERS", "30110201070201020201033006030100020100"},
    {"seed of unused bits", "X9.42 DH PARAMETERS", "301202010702010202010330070302 01FE020100"},
    {"no counter", "X9.42 DH PARAMETERS", "300F020107020102020103300403020005"},
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
          encoding{"", "KCDSA PARAMETERS", "300C020100020105020103020102"},
          encoding{"", "PUBLIC KEY", "301C301406072A8648CE3804013009020107020103020102030400020104"},
          encoding{"", "DH PARAMETERS", "3006020107020102"},
          encoding{"", "X9.42 DH PARAMETERS", "3012020107020102020103300703020005020100"}})
        EXPECT_EQ(read_and_rewrite(text(good)), true) << good.label;
    for (const encoding& bad : kRefused)
        EXPECT_EQ(read_and_rewrite(text(bad)), std::nullopt) << bad.what;
}

// One thing wrong with a key of P-256 at a time.
TEST(KeyFile, OtherEncodingsOfCurvesAreRefused)
{
    const std::string name = "06082A8648CE3D030107", digits(64, '1'), point = "04" + digits + digits;
    const auto wrapped = [](const std::string& tag, const std::string& content) {
        const std::size_t size = content.size() / 2;
        constexpr char kDigit[] = "0123456789ABCDEF";
        return tag + (size < 128 ? "" : "81") + kDigit[size / 16] + kDigit[size % 16] + content;
    };
    const auto sequence = [&](const std::string& content) { return wrapped("30", content); };
    const auto identifier = [&](const std::string& curve) { return sequence("06072A8648CE3D0201" + curve); };
    const auto public_key = [&](const std::string& curve, const std::string& bits) {
        return sequence(identifier(curve) + wrapped("03", bits));
    };
    const auto private_key = [&](const std::string& number, const std::string& rest) {
        return sequence("020101" + wrapped("04", number) + rest);
    };
    const auto general = [&](const std::string& key) {
        return sequence("020100" + identifier(name) + wrapped("04", key));
    };
    const std::string named = wrapped("A0", name), other = "A00706052B8104000A",
                      shown = wrapped("A1", wrapped("03", "00" + point));
    const struct {
        const char* label;
        std::string hex;
        std::optional<bool> result;
    } cases[] = {
        {"PUBLIC KEY", public_key(name, "00" + point), true},
        {"PUBLIC KEY", public_key(name, "0004" + digits), {}},                // a coordinate
        {"PUBLIC KEY", public_key(name, "0003" + digits), {}},                // compressed
        {"PUBLIC KEY", public_key(name, "0006" + digits + digits), {}},       // hybrid
        {"PUBLIC KEY", public_key(name, "0000"), {}},                         // infinity
        {"PUBLIC KEY", public_key("06082A8648CE3D030105", "00" + point), {}}, // an unknown curve
        {"PUBLIC KEY", public_key("06052B81040022", "00" + point), {}},       // P-384
        {"PUBLIC KEY", public_key("3003020101", "00" + point), {}},           // its parameters
        {"PUBLIC KEY", public_key("", "00" + point), {}},                     // none
        {"PUBLIC KEY", public_key(name + "0500", "00" + point), {}},          // and more
        {"PRIVATE KEY", general(private_key(digits, "")), true},
        {"PRIVATE KEY", general(private_key(digits, named + shown)), true},
        {"PRIVATE KEY", general(private_key(digits, other)), {}},                 // two curves
        {"PRIVATE KEY", general(private_key(digits, shown + named)), {}},         // in the wrong order
        {"PRIVATE KEY", general(private_key(digits.substr(2), "")), {}},          // a byte less
        {"PRIVATE KEY", general(private_key("00" + digits, "")), {}},             // a byte more
        {"PRIVATE KEY", general(sequence("020100" + wrapped("04", digits))), {}}, // version 0
        {"EC PRIVATE KEY", private_key(digits, named), true},
        {"EC PRIVATE KEY", private_key(digits, ""), {}},                     // no curve
        {"EC PRIVATE KEY", private_key(digits, named + "A000"), {}},         // no point
        {"EC PRIVATE KEY", private_key(digits, named + shown + "0500"), {}}, // and more
    };
    for (const auto& one : cases)
        EXPECT_EQ(read_and_rewrite(write_pem(one.label, from_hex(one.hex))), one.result) << one.hex;
}

TEST(KeyFile, LongObjectsAreRefused)
{
    const auto key = [](std::size_t bytes_of_n) {
        return write_rsa_public_key_pem({bytes(bytes_of_n, 1), {3}}, key_form::traditional);
    };
    EXPECT_EQ(read_and_rewrite(key(65000)), true);
    EXPECT_EQ(read_and_rewrite(key(66000)), std::nullopt);
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

// RFC 4648, section 10.
TEST(KeyFile, Base64)
{
    const std::string text = "foobar";
    const char* const kEncoded[] = {"", "Zg==", "Zm8=", "Zm9v", "Zm9vYg==", "Zm9vYmE=", "Zm9vYmFy"};
    for (std::size_t size = 0; size <= text.size(); ++size) {
        const bytes plain{text.begin(), text.begin() + std::ptrdiff_t(size)};
        EXPECT_EQ(to_base64(plain), kEncoded[size]);
        EXPECT_EQ(from_base64(kEncoded[size]), plain);
    }
}

} // namespace
} // namespace tool

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
