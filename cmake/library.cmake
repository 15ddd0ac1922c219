# The shared library.
find_package(Threads REQUIRED)

add_library(kestrim_objects OBJECT ${KESTRIM_SOURCES})
add_library(kestrim_self_test_objects OBJECT ${KESTRIM_SELF_TEST_SOURCES})
foreach(target kestrim_objects kestrim_self_test_objects)
    target_link_libraries(${target} PRIVATE kestrim_library_options)
    set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON)
endforeach()

# cmake/exports.txt names every exported function; the linker script with its two version nodes is made from it.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/exports.txt)
file(STRINGS ${PROJECT_SOURCE_DIR}/cmake/exports.txt exports REGEX "^[A-Za-z_]")
set(public_names ${exports})
list(FILTER public_names EXCLUDE REGEX "^zrc_")
set(internal_names ${exports})
list(FILTER internal_names INCLUDE REGEX "^zrc_")
list(JOIN public_names ";\n    " public_names)
list(JOIN internal_names ";\n    " internal_names)
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/exports.map CONTENT
"KESTRIM_CRYPTO_5.2 {
global:
    ${public_names};
local:
    *;
};

KESTRIM_CRYPTO_5.2_INTERNAL {
global:
    ${internal_names};
} KESTRIM_CRYPTO_5.2;
")

add_library(kestrim SHARED)
add_library(Kestrim::Crypto ALIAS kestrim)
target_link_libraries(kestrim PRIVATE kestrim_objects kestrim_self_test_objects)
target_include_directories(kestrim INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
set_target_properties(kestrim PROPERTIES
    EXPORT_NAME Crypto
    OUTPUT_NAME KESTRIM_Crypto_for_C_v${PROJECT_VERSION}_Linux_2.6
    LINK_DEPENDS ${PROJECT_BINARY_DIR}/exports.map)
target_link_options(kestrim PRIVATE
    -Wl,--version-script=${PROJECT_BINARY_DIR}/exports.map
    -Wl,-Bsymbolic -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack -Wl,--gc-sections -Wl,--build-id=sha1)

# Sanitizers leave symbols to the executable and bring the C++ runtime along; everywhere else a symbol that is not in libc
# is an error, and the C++ runtime is not even offered. Nor are the compiler's start files: the library has nothing to run
# when it is loaded or unloaded, and without them a static constructor or destructor does not slip in unseen.
if(NOT KESTRIM_SANITIZE)
    set(CMAKE_CXX_IMPLICIT_LINK_LIBRARIES "")
    set_target_properties(kestrim PROPERTIES LINKER_LANGUAGE C)
    target_link_options(kestrim PRIVATE -Wl,-z,defs -Wl,--no-undefined-version -static-libgcc -nostartfiles)
endif()
