# Compile options that every target of the project shares, and those of the library alone.

# No path of the build machine ends up in a binary.
add_compile_options(-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)

add_library(kestrim_options INTERFACE)
target_compile_options(kestrim_options INTERFACE -Wall -Wextra -Wconversion $<$<BOOL:${KESTRIM_WERROR}>:-Werror>)
target_include_directories(kestrim_options INTERFACE
    ${PROJECT_SOURCE_DIR} $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>)

if(KESTRIM_SANITIZE)
    add_compile_options(-fsanitize=${KESTRIM_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${KESTRIM_SANITIZE})
endif()

# The library's own code: no C++ runtime, nothing exported unless it says so, hardened.
add_library(kestrim_library_options INTERFACE)
target_link_libraries(kestrim_library_options INTERFACE kestrim_options)
target_compile_options(kestrim_library_options INTERFACE
    -fno-exceptions -fno-rtti -fno-threadsafe-statics -fno-semantic-interposition
    -fvisibility=hidden -fvisibility-inlines-hidden
    -ffunction-sections -fdata-sections -fstack-protector-strong)
if(NOT KESTRIM_SANITIZE)
    target_compile_definitions(kestrim_library_options INTERFACE $<$<CONFIG:Release>:_FORTIFY_SOURCE=2>)
endif()

# Kernels for one processor stand in files of their own and carry their target attributes themselves.
set(KESTRIM_X86_64_KERNELS 0)
if(NOT KESTRIM_PORTABLE)
    include(CheckCXXSourceCompiles)
    check_cxx_source_compiles("#ifndef __x86_64__
        #error
        #endif
        int main() {}" KESTRIM_TARGET_IS_X86_64)
    if(KESTRIM_TARGET_IS_X86_64)
        set(KESTRIM_X86_64_KERNELS 1)
    endif()
endif()
target_compile_definitions(kestrim_options INTERFACE KESTRIM_X86_64_KERNELS=${KESTRIM_X86_64_KERNELS})

# GCC's generic tuning clears and copies fixed sizes of some hundred bytes with string instructions, which take longer to
# start than the work takes. Whatever is not a few stores goes to libc, which knows the processor.
include(CheckCXXCompilerFlag)
set(memory_strategy
    -mmemset-strategy=unrolled_loop:64:noalign,libcall:-1:noalign
    -mmemcpy-strategy=unrolled_loop:64:noalign,libcall:-1:noalign)
check_cxx_compiler_flag("${memory_strategy}" KESTRIM_HAS_MEMORY_STRATEGY)
if(KESTRIM_HAS_MEMORY_STRATEGY)
    target_compile_options(kestrim_library_options INTERFACE $<$<COMPILE_LANGUAGE:CXX>:${memory_strategy}>)
endif()
