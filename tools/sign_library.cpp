// kestrim_sign, the program of the build that signs the finished library file. It is linked with the library's objects, not
// with the file that it is to sign.
#include "kestrim_crypto.h"
#include "selftest/integrity_key.hpp"
#include "tools/command.hpp"
#include "tools/library_signature.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

// This program is no file that could be checked: it has no key, and its self-test does not run.
const std::uint8_t zrc::kIntegrityModulus[zrc::kIntegrityKeyBytes] = {};

namespace tool {
namespace {

constexpr mode_t kOwnerOnly = 0600;
constexpr mode_t kReadable = 0644;

[[noreturn]] void fail(const std::string& name, int error)
{
    throw failure{kFailed, name + ": " + std::strerror(error)};
}

// Nothing when there is no such file.
std::optional<std::string> content_of(const std::string& name)
{
    std::ifstream file{name, std::ios::binary};
    if (!file && errno == ENOENT) return {};
    if (!file) fail(name, errno);
    std::string content{std::istreambuf_iterator<char>{file}, {}};
    if (file.bad()) fail(name, EIO);
    return content;
}

std::string read_file(const std::string& name)
{
    auto content = content_of(name);
    if (!content) fail(name, ENOENT);
    return *std::move(content);
}

std::span<const std::uint8_t> as_bytes(std::string_view text)
{
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

bool write_all(int descriptor, std::string_view content)
{
    while (!content.empty()) {
        const ssize_t count = ::write(descriptor, content.data(), content.size());
        if (count < 0 && errno != EINTR) return false;
        if (count > 0) content.remove_prefix(std::size_t(count));
    }
    return true;
}

// The file has its old content or all of the new one at every moment.
void replace_file(const std::string& name, std::string_view content, mode_t mode)
{
    std::string temporary = name + ".XXXXXX";
    const int descriptor = ::mkstemp(temporary.data());
    if (descriptor < 0) fail(name, errno);
    const bool written = write_all(descriptor, content) && ::fchmod(descriptor, mode) == 0;
    int error = written ? 0 : errno;
    if (::close(descriptor) != 0 && written) error = errno;
    if (error == 0 && ::rename(temporary.c_str(), name.c_str()) != 0) error = errno;
    if (error == 0) return;
    ::unlink(temporary.c_str());
    fail(name, error);
}

// What is wrong with a key is said with its file's name.
template <auto Read>
auto read_key(const std::string& name)
{
    const std::string pem = read_file(name);
    try {
        auto key = Read(pem);
        require_signing_key({key.n, key.e});
        return key;
    } catch (const std::runtime_error& error) {
        throw failure{kFailed, name + ": " + error.what()};
    }
}
rsa_private_key read_private_key(const std::string& name)
{
    return read_key<[](std::string_view pem) { return read_rsa_private_key(pem); }>(name);
}
rsa_public_key read_public_key(const std::string& name)
{
    return read_key<[](std::string_view pem) { return read_rsa_public_key(pem); }>(name);
}

// A library file, with or without its signature.
struct library_file {
    explicit library_file(const std::string& given) : name{std::filesystem::canonical(given)}, content{read_file(name)}
    {
    }

    bool is_for(const rsa_public_key& key) const
    {
        const auto found = std::search(content.begin(), content.end(), key.n.begin(), key.n.end(),
                                       [](char a, std::uint8_t b) { return std::uint8_t(a) == b; });
        return found != content.end();
    }

    bool is_signed_with(const rsa_public_key& key) const
    {
        if (content.size() <= zrc::kIntegrityKeyBytes) return false;
        const auto all = as_bytes(content);
        return is_signature(key, all.first(all.size() - zrc::kIntegrityKeyBytes), all.last(zrc::kIntegrityKeyBytes));
    }

    std::string name;
    std::string content;
};

// A key that is there already stays: what it signed is to verify after the next build, too.
int make_key(std::span<char*> arguments)
{
    const std::string name = arguments[0];
    if (content_of(name)) {
        read_private_key(name);
    } else {
        replace_file(name, write_rsa_private_key_pem(generate_signing_key()), kOwnerOnly);
    }
    return kOk;
}

int write_public_key(std::span<char*> arguments)
{
    replace_file(arguments[1], write_rsa_public_key_pem(read_public_key(arguments[0])), kReadable);
    return kOk;
}

// A file that holds the key already keeps its date, so that nothing is compiled again.
int write_public_source(std::span<char*> arguments)
{
    const rsa_public_key key = read_public_key(arguments[0]);
    std::string source = "// The public half of the key that signs the library file, written by the build: see "
                         "docs/integrity.md.\n"
                         "#include \"selftest/integrity_key.hpp\"\n\n"
                         "const std::uint8_t zrc::kIntegrityModulus[zrc::kIntegrityKeyBytes] = {";
    for (std::size_t i = 0; i < key.n.size(); ++i) {
        char text[16];
        std::snprintf(text, sizeof text, "%s0x%02X,", i % 16 == 0 ? "\n    " : " ", unsigned(key.n[i]));
        source += text;
    }
    source += "\n};\n";
    if (content_of(arguments[1]) != source) replace_file(arguments[1], source, kReadable);
    return kOk;
}

// A second signature behind the first would make the file wrong.
int sign_library(std::span<char*> arguments)
{
    const rsa_private_key key = read_private_key(arguments[0]);
    const library_file library{arguments[1]};
    if (!library.is_for({key.n, key.e})) throw failure{kFailed, library.name + " was built for another key"};
    if (library.is_signed_with({key.n, key.e})) {
        std::printf("%s is already signed\n", library.name.c_str());
        return kOk;
    }

    const bytes signature = sign(key, as_bytes(library.content));
    struct stat info {};
    if (::stat(library.name.c_str(), &info) != 0) fail(library.name, errno);
    replace_file(library.name, library.content + std::string(signature.begin(), signature.end()), info.st_mode & 07777);
    return kOk;
}

int verify_library(std::span<char*> arguments)
{
    const rsa_public_key key = read_public_key(arguments[0]);
    const library_file library{arguments[1]};
    const bool verified = library.is_signed_with(key);
    const bool embedded = library.is_for(key);
    std::printf("%s: %s%s\n", library.name.c_str(), verified ? "the signature verifies" : "NO VALID SIGNATURE",
                embedded ? "" : ", BUILT FOR ANOTHER KEY");
    return verified && embedded ? kOk : kFailed;
}

struct command {
    std::string_view name;
    std::size_t arguments;
    int (*run)(std::span<char*> arguments);
};

constexpr command kCommands[] = {
    {"genkey", 1, make_key},   {"export", 2, write_public_key}, {"public", 2, write_public_source},
    {"sign", 2, sign_library}, {"verify", 2, verify_library},
};

constexpr char kUsageText[] =
    "usage: kestrim_sign genkey KEY          make a key, unless the file is there\n"
    "       kestrim_sign export KEY PUBLIC   write its public half as a key file\n"
    "       kestrim_sign public KEY SOURCE   write its public half for the library\n"
    "       kestrim_sign sign KEY LIBRARY    append the signature\n"
    "       kestrim_sign verify KEY LIBRARY  check it\n"
    "KEY is an RSA key of 2048 bits in PEM; where it is not used to sign, its public half does, too.\n";

int run(std::span<char*> arguments)
{
    for (const command& command : kCommands) {
        if (arguments.size() == 1 + command.arguments && arguments[0] == command.name) {
            ZRC_Change_Test_Mode(); // no self-test, see above
            return command.run(arguments.subspan(1));
        }
    }
    std::fputs(kUsageText, stderr);
    return kUsage;
}

} // namespace
} // namespace tool

int main(int argc, char** argv)
{
    try {
        return tool::run(std::span{argv, std::size_t(argc)}.subspan(1));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kestrim_sign: %s\n", error.what());
        return tool::kFailed;
    }
}
