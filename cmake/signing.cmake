# The signature behind the finished library file: docs/integrity.md tells what it is for.

# The program that makes it is linked from the library's own objects.
if(KESTRIM_SIGNER)
    set(KESTRIM_SIGN_COMMAND ${KESTRIM_SIGNER})
elseif(CMAKE_CROSSCOMPILING AND NOT CMAKE_CROSSCOMPILING_EMULATOR)
    set(KESTRIM_SIGN_COMMAND ${CMAKE_COMMAND} -P ${PROJECT_SOURCE_DIR}/cmake/no_signer.cmake)
else()
    add_executable(kestrim_sign
        tools/sign_library.cpp
        tools/library_signature.cpp
        tools/der.cpp
        tools/pem.cpp
        tools/rsa_key_file.cpp
        tools/wiped_heap.cpp
        $<TARGET_OBJECTS:kestrim_objects>
        $<TARGET_OBJECTS:kestrim_self_test_objects>)
    target_link_libraries(kestrim_sign PRIVATE kestrim_options Threads::Threads ${CMAKE_DL_LIBS})
    set(KESTRIM_SIGN_COMMAND kestrim_sign)
endif()

# A key of the build's own is made once; removing the build folder's files removes it.
set(KESTRIM_KEY_IS_PUBLIC FALSE)
if(KESTRIM_SIGNING_KEY)
    if(NOT EXISTS ${KESTRIM_SIGNING_KEY})
        message(FATAL_ERROR "There is no file ${KESTRIM_SIGNING_KEY} (KESTRIM_SIGNING_KEY).")
    endif()
    set(KESTRIM_KEY_FILE ${KESTRIM_SIGNING_KEY})
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${KESTRIM_KEY_FILE})
    file(STRINGS ${KESTRIM_KEY_FILE} public_label REGEX "^-----BEGIN (RSA )?PUBLIC KEY-----" LIMIT_COUNT 1)
    if(public_label)
        set(KESTRIM_KEY_IS_PUBLIC TRUE)
    endif()
else()
    set(KESTRIM_KEY_FILE ${PROJECT_BINARY_DIR}/signing_key.pem)
    add_custom_command(OUTPUT ${KESTRIM_KEY_FILE}
        COMMAND ${KESTRIM_SIGN_COMMAND} genkey ${KESTRIM_KEY_FILE}
        COMMENT "Making a key for the library's signature" VERBATIM)
endif()

# Its public half becomes part of the library.
add_custom_command(OUTPUT ${PROJECT_BINARY_DIR}/integrity_key.cpp
    COMMAND ${KESTRIM_SIGN_COMMAND} public ${KESTRIM_KEY_FILE} ${PROJECT_BINARY_DIR}/integrity_key.cpp
    DEPENDS ${KESTRIM_KEY_FILE}
    COMMENT "Writing the public half of the signing key" VERBATIM)
add_library(kestrim_integrity_key OBJECT ${PROJECT_BINARY_DIR}/integrity_key.cpp)
target_link_libraries(kestrim_integrity_key PRIVATE kestrim_library_options)
set_target_properties(kestrim_integrity_key PROPERTIES POSITION_INDEPENDENT_CODE ON)
target_link_libraries(kestrim PRIVATE kestrim_integrity_key)

# Every link makes the file anew, without a signature.
if(KESTRIM_KEY_IS_PUBLIC)
    message(STATUS "KESTRIM_SIGNING_KEY is a public key: the library is left UNSIGNED, and its self-test fails until "
                   "scripts/sign.sh has signed it")
    add_custom_command(TARGET kestrim POST_BUILD
        COMMAND ${CMAKE_COMMAND} -E echo "The library is NOT SIGNED: scripts/sign.sh --key PRIVATE-KEY $<TARGET_FILE:kestrim>"
        VERBATIM)
else()
    add_custom_command(TARGET kestrim POST_BUILD
        COMMAND ${KESTRIM_SIGN_COMMAND} sign ${KESTRIM_KEY_FILE} $<TARGET_FILE:kestrim> VERBATIM)
endif()
