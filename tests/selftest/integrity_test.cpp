// The self-test looks for the library's file in LD_LIBRARY_PATH, and refuses one that is not as it was built.
#include "kestrim_crypto.h"
#include "tests/fresh_process.hpp"
#include "tests/scratch_files.hpp"

#include <cstdint>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <link.h>
#include <sys/stat.h>
#include <sys/wait.h>

namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t kNotFound = 0x1A010050, kWrongSignature = 0x1A010019;
const std::string kName = "libKESTRIM_Crypto_for_C_v5.2.0_Linux_2.6.so";
const std::string kLibraryFolder = KESTRIM_LIBRARY_FOLDER;

// The gate's answer in a process that finds `folders` in LD_LIBRARY_PATH; null: the variable is not set. A fork will
// do: this program makes its gated calls in processes of their own only.
std::uint32_t answer(const char* folders)
{
    int ends[2];
    if (pipe(ends) != 0) return 1;
    const pid_t child = fork();
    if (child == 0) {
        alarm(60); // what is looked at may not keep the process waiting
        folders ? setenv("LD_LIBRARY_PATH", folders, 1) : unsetenv("LD_LIBRARY_PATH");
        const std::uint32_t code = ZRC_Crypto_Initialize();
        _exit(write(ends[1], &code, sizeof code) == sizeof code ? 0 : 1);
    }
    close(ends[1]);
    std::uint32_t code = 1;
    if (read(ends[0], &code, sizeof code) != sizeof code) code = 1;
    close(ends[0]);
    waitpid(child, nullptr, 0);
    return code;
}
std::uint32_t answer(const std::string& folders)
{
    return answer(folders.c_str());
}

// Folders with what is to be found in them under the library's name.
class LibraryFile : public test::scratch_files {
protected:
    // The path of the library in a new folder of that name.
    std::string in_folder(const std::string& folder) const
    {
        fs::create_directory(path(folder));
        return path(folder) + "/" + kName;
    }
    std::string copy_in(const std::string& folder) const
    {
        std::string copy = in_folder(folder);
        fs::copy_file(kLibraryFolder + "/" + kName, copy);
        return copy;
    }
};

TEST_F(LibraryFile, IsLookedForInLdLibraryPathOnly)
{
    for (const char* nothing : {static_cast<const char*>(nullptr), "", ":", "::", "/nonexistent", "/nonexistent:/"})
        EXPECT_EQ(answer(nothing), kNotFound);
    EXPECT_EQ(answer(kLibraryFolder), 0U);
    EXPECT_EQ(answer("/nonexistent::" + kLibraryFolder + "/:"), 0U);

    copy_in("copy");
    const fs::path here = fs::current_path();
    fs::current_path(path("copy"));
    EXPECT_EQ(answer("::"), kNotFound); // an empty name never means this folder
    EXPECT_EQ(answer("."), 0U);
    fs::current_path(here);
}

TEST_F(LibraryFile, PathsThatDoNotFitArePassedOver)
{
    const std::size_t longest = 2048 - 1 - kName.size();
    const std::string fits = kLibraryFolder + std::string(longest - kLibraryFolder.size(), '/');
    EXPECT_EQ(answer(fits), 0U);
    EXPECT_EQ(answer(fits + "/"), kNotFound);
    EXPECT_EQ(answer(kLibraryFolder + std::string(100'000, '/')), kNotFound);
    EXPECT_EQ(answer(fits + "/:" + kLibraryFolder), 0U);
}

TEST_F(LibraryFile, IsNotWhatDoesNotLoadOrHasNoSelfTest)
{
    void* other = dlopen("libm.so.6", RTLD_NOW);
    ASSERT_NE(other, nullptr);
    link_map* map = nullptr;
    ASSERT_EQ(dlinfo(other, RTLD_DI_LINKMAP, &map), 0);
    fs::copy_file(map->l_name, in_folder("other-library"));
    dlclose(other);
    std::ofstream{in_folder("text")} << "not a library\n";
    std::ofstream{in_folder("empty")};
    fs::create_directory(in_folder("folder"));
    ASSERT_EQ(mkfifo(in_folder("pipe").c_str(), 0600), 0);
    fs::create_symlink(kName, in_folder("circle"));
    fs::permissions(copy_in("unreadable"), fs::perms::none);

    std::string all;
    for (const char* name : {"other-library", "text", "empty", "folder", "pipe", "circle"}) {
        EXPECT_EQ(answer(path(name)), kNotFound);
        all += path(name) + ":";
    }
    EXPECT_EQ(answer(path("unreadable")), geteuid() == 0 ? 0U : kNotFound);
    EXPECT_EQ(answer(all + kLibraryFolder), 0U);
}

TEST_F(LibraryFile, IsRefusedWhenItIsNotAsItWasBuilt)
{
    const auto flip_byte = [](const std::string& path, std::streamoff from_end) {
        std::fstream file{path, std::ios::in | std::ios::out | std::ios::binary};
        file.seekg(-from_end, std::ios::end);
        const int byte = file.get();
        file.seekp(-from_end, std::ios::end);
        file.put(char(byte ^ 1));
    };
    flip_byte(copy_in("last"), 1);     // of the signature
    flip_byte(copy_in("first"), 256);  // of the signature: its value exceeds the modulus, perhaps
    flip_byte(copy_in("before"), 257); // the last one that is signed
    std::ofstream{copy_in("longer"), std::ios::app} << 'x';
    const std::string shorter = copy_in("shorter");
    fs::resize_file(shorter, fs::file_size(shorter) - 1);

    for (const char* name : {"last", "first", "before", "longer", "shorter"}) {
        EXPECT_EQ(answer(path(name)), kWrongSignature);
        EXPECT_EQ(answer(path(name) + ":" + kLibraryFolder), kWrongSignature); // the first one that qualifies counts
        EXPECT_EQ(answer(kLibraryFolder + ":" + path(name)), 0U);
    }
}

TEST(LibraryFileFailure, StopsEverythingElseAndIsNotRemembered)
{
    test::in_a_fresh_process([] {
        unsetenv("LD_LIBRARY_PATH");
        std::uint8_t byte = 0xA5;
        EXPECT_EQ(ZRC_Rand_Bytes(&byte, 1), kNotFound);
        EXPECT_EQ(byte, 0xA5);
        EXPECT_EQ(zrc_Verify_DLL(), kNotFound);
        EXPECT_EQ(zrc_Version_Check(), 0U);
        EXPECT_EQ(zrc_DIGEST_Check(), 0x1A070059U) << "its Init answers with the gate's code";
        setenv("LD_LIBRARY_PATH", kLibraryFolder.c_str(), 1);
        EXPECT_EQ(ZRC_Rand_Bytes(&byte, 1), 0U);
        unsetenv("LD_LIBRARY_PATH");
        EXPECT_EQ(ZRC_Crypto_Initialize(), 0U) << "a pass is";
        EXPECT_EQ(zrc_Verify_DLL(), kNotFound);
    });
}

} // namespace
