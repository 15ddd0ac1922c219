#!/usr/bin/env bash
# package.sh LIBRARY CMAKE CPACK CC CXX SOURCE-FOLDER BUILD-FOLDER WORK-FOLDER - what `cmake --install` leaves can be moved,
# and found and used by C and C++ programs through CMake and through pkg-config. The signed library is in it, and in what
# `cpack` makes, as it was built.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
library=$1 cmake=$2 cpack=$3 cc=$4 cxx=$5 source=$6 build=$7 work=$8
fresh_folder "$work"

"$cmake" --install "$build" --strip --prefix "$work/staged" >/dev/null
mv "$work/staged" "$work/prefix"

installed=$(find "$work/prefix" -name "$kLibraryName")
cmp "$library" "$installed" || fail "the installed library differs from the one that was built"
pass "the installed library is the built one, byte for byte"
"$cpack" --config "$build/CPackConfig.cmake" -G TGZ -B "$work/packed" -D CPACK_STRIP_FILES=ON >"$work/log" ||
    { cat "$work/log"; fail "cpack"; }
tar -xzf "$work"/packed/*.tar.gz -C "$work/packed" --no-anchored "$kLibraryName"
cmp "$library" "$(find "$work/packed" -name "$kLibraryName" -not -path '*/_CPack_Packages/*')" || fail "the packed library differs from the one that was built"
pass "the packed library is the built one, byte for byte"
diff -r "$source/include" "$work/prefix/include" --exclude='.*' || fail "installed headers"
pass "the installed headers are the project's"
empty "paths of this machine in the package files" \
    "$(grep -rlF -e "$source" -e "$build" -e "$work" "$(dirname "$installed")" --include='*.cmake' --include='*.pc' || true)"

cp "$source/examples/sha256.c" "$work/client.c"
cp "$source/examples/sha256.c" "$work/client.cpp"
"$cmake" -S "$source/tests/library/package" -B "$work/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" \
    -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" -DCLIENTS="$work" >"$work/log" || { cat "$work/log"; fail "find_package"; }
"$cmake" --build "$work/cmake" >"$work/log" || { cat "$work/log"; fail "build with find_package"; }
for client in client_c client_cpp; do
    expect "$client by find_package" "$kSha256OfAbc  abc" "$(LD_LIBRARY_PATH=$(dirname "$installed") "$work/cmake/$client")"
done

PKG_CONFIG_PATH=$(dirname "$installed")/pkgconfig
export PKG_CONFIG_PATH
expect "pkg-config version" 5.2.0 "$(pkg-config --modversion kestrim-crypto)"
read -ra flags < <(pkg-config --cflags --libs kestrim-crypto)
"$cc" -o "$work/client_c" "$work/client.c" "${flags[@]}"
"$cxx" -o "$work/client_cpp" "$work/client.cpp" "${flags[@]}"
for client in client_c client_cpp; do
    expect "$client by pkg-config" "$kSha256OfAbc  abc" "$(LD_LIBRARY_PATH=$(dirname "$installed") "$work/$client")"
done
