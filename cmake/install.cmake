# Installation: the library, its headers, and the files by which CMake and pkg-config find it.
include(CMakePackageConfigHelpers)

# The library file is finished when it is signed: what is installed is that file, byte for byte, also with --strip.
set(CMAKE_STRIP "")
set_target_properties(kestrim PROPERTIES SKIP_BUILD_RPATH ON INSTALL_RPATH "")

install(TARGETS kestrim EXPORT KestrimCryptoTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/kestrim_crypto.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/kestrim
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")

# find_package(KestrimCrypto) gives the target Kestrim::Crypto.
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/KestrimCrypto)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/KestrimCryptoConfig.cmake.in
    ${PROJECT_BINARY_DIR}/package/KestrimCryptoConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/KestrimCryptoConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(EXPORT KestrimCryptoTargets NAMESPACE Kestrim:: DESTINATION ${package_dir})
install(FILES
    ${PROJECT_BINARY_DIR}/package/KestrimCryptoConfig.cmake
    ${PROJECT_BINARY_DIR}/package/KestrimCryptoConfigVersion.cmake
    DESTINATION ${package_dir})

# kestrim-crypto.pc finds everything from where it stands itself, so that the prefix can be moved.
set(pc_dir ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH pc_to_prefix ${pc_dir} ${CMAKE_INSTALL_PREFIX})
file(RELATIVE_PATH pc_to_include ${pc_dir} ${CMAKE_INSTALL_FULL_INCLUDEDIR})
get_target_property(library_name kestrim OUTPUT_NAME)
configure_file(${PROJECT_SOURCE_DIR}/cmake/kestrim-crypto.pc.in ${PROJECT_BINARY_DIR}/package/kestrim-crypto.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/package/kestrim-crypto.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# `cpack` packs what is installed. A package of the sources must not take a key along from a build folder.
set(CPACK_PACKAGE_NAME kestrim-crypto)
set(CPACK_STRIP_FILES OFF)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_SOURCE_IGNORE_FILES "/\\.git/" "/build[^/]*/" "/out/" "\\.pem$")
include(CPack)
