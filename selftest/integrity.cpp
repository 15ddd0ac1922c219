// The check of the library's own file: it is looked for in LD_LIBRARY_PATH, and its last bytes sign all before them.
#include "core/error.hpp"
#include "core/owned.hpp"
#include "kestrim_crypto.h"
#include "selftest/fault.hpp"
#include "selftest/integrity_key.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <span>
#include <sys/stat.h>

namespace zrc {
namespace {

constexpr char kLibraryFile[] = "libKESTRIM_Crypto_for_C_v5.2.0_Linux_2.6.so";
constexpr std::size_t kPathBytes = 2049; // with the terminating zero
constexpr std::size_t kSignatureBytes = kIntegrityKeyBytes;
constexpr std::uint8_t kExponent[] = {0x01, 0x00, 0x01};

std::uint32_t fail(std::uint32_t reason) noexcept
{
    return code(ZRC_L_SELF_TEST, ZRC_F_LIB_INTEGRITY_CHECK, reason);
}

// The program's own library is loaded already, so the loader only counts one more user of it.
bool exports_the_self_test(const char* path) noexcept
{
    void* library = dlopen(path, RTLD_NOW);
    if (!library) return false;
    const bool found = dlsym(library, "ZRC_Crypto_Self_Test") != nullptr;
    dlclose(library);
    return found;
}

bool is_this_library(const char* path) noexcept
{
    struct stat status;
    return stat(path, &status) == 0 && S_ISREG(status.st_mode) && exports_the_self_test(path);
}

// Writes the path of the library in `folder`; false when it does not fit.
bool write_path(std::span<char> path, const char* folder, std::size_t folder_length) noexcept
{
    if (folder_length >= path.size()) return false;
    const int length = std::snprintf(path.data(), path.size(), "%.*s/%s", int(folder_length), folder, kLibraryFile);
    return length > 0 && std::size_t(length) < path.size();
}

// Finds the library in the folders of LD_LIBRARY_PATH. An empty one is none: the current folder is never meant.
bool find_library(std::span<char> path) noexcept
{
    const char* folder = std::getenv("LD_LIBRARY_PATH");
    while (folder) {
        const std::size_t length = std::strcspn(folder, ":");
        if (length != 0 && write_path(path, folder, length) && is_this_library(path.data())) return true;
        folder = folder[length] == ':' ? folder + length + 1 : nullptr;
    }
    return false;
}

// `file` ends with the signature. Returns 0 or the code of the check.
std::uint32_t verify(ZRC_RSA_UNIT& unit, std::span<std::uint8_t> file) noexcept
{
    if (file.size() <= kSignatureBytes) return fail(ZRC_ERR_FINAL_FAILURE);
    spoil_if_broken(ZRC_F_LIB_INTEGRITY_CHECK, file);
    const std::span data = file.first(file.size() - kSignatureBytes);
    const std::span signature = file.last(kSignatureBytes);
    auto signature_length = std::int32_t(kSignatureBytes);

    if (ZRC_Init_RSASSA(&unit, ZRC_SHA256, ZRC_RSASSA_PSS, 0) != 0) return fail(ZRC_ERR_INIT_FAILURE);
    if (ZRC_Update_RSASSA(&unit, data.data(), std::int32_t(data.size())) != 0) return fail(ZRC_ERR_UPDATE_FAILURE);
    if (ZRC_Final_RSASSA(&unit, signature.data(), &signature_length) != 0) return fail(ZRC_ERR_FINAL_FAILURE);
    return 0;
}

} // namespace
} // namespace zrc

std::uint32_t zrc_Verify_DLL()
{
    using namespace zrc;

    const owned<ZRC_RSA_UNIT, ZRC_Free_RSA> unit{ZRC_New_RSA()};
    if (!unit) return fail(ZRC_ERR_MEM_ALLOC);
    unit->n = ZRC_Binary_To_BIGINT(kIntegrityModulus, kIntegrityKeyBytes, nullptr);
    unit->e = ZRC_Binary_To_BIGINT(kExponent, sizeof kExponent, nullptr);
    unit->key_flags = ZRC_RSA_HAS_N | ZRC_RSA_HAS_E;
    const owned<char, ZRC_Free> path{static_cast<char*>(ZRC_Malloc(kPathBytes))};
    if (!unit->n || !unit->e || !path) return fail(ZRC_ERR_MEM_ALLOC);

    if (!find_library({path.get(), kPathBytes})) return fail(ZRC_ERR_READ_FROM_FILE);
    std::uint8_t* bytes = nullptr;
    const std::int32_t size = zrc_File_To_Binary(path.get(), &bytes);
    if (size < 0) return fail(ZRC_ERR_READ_FROM_FILE);
    const owned<std::uint8_t, ZRC_Free> file{bytes};
    return verify(*unit, {file.get(), std::size_t(size)});
}
