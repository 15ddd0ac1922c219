# Every source file of the library, room by room.
set(KESTRIM_SOURCES
    core/cpu.cpp
    core/error.cpp
    core/lock.cpp
    core/mem.cpp
    core/status_proven.cpp
    core/utils.cpp
    core/version.cpp
    digest/digest.cpp
    digest/has160.cpp
    digest/has160_blocks.cpp
    digest/hmac.cpp
    digest/md5.cpp
    digest/md5_blocks.cpp
    digest/mdc2.cpp
    digest/mdc2_des.cpp
    digest/sha.cpp
    digest/sha1_blocks.cpp
    digest/sha256_blocks.cpp
    digest/sha512_blocks.cpp)

# Kept apart: tests build these files once more, with the hook that breaks a check on purpose.
set(KESTRIM_SELF_TEST_SOURCES
    selftest/self_test.cpp)

if(KESTRIM_X86_64_KERNELS)
    list(APPEND KESTRIM_SOURCES
        digest/sha1_blocks_sha_ni.cpp
        digest/sha256_blocks_sha_ni.cpp
        digest/sha512_blocks_avx2.cpp
        digest/sha512_blocks_avx512vl.cpp)
endif()
