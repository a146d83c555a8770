# The fuzzer build (LUMETRA_BUILD_FUZZERS=ON), read before any target is
# made: every target of the build, the library first, is compiled with
# libFuzzer's coverage hooks and with AddressSanitizer and UBSan, so the
# fuzzers are guided by the library's own branches and stop at the first
# memory error or undefined behaviour. Independent of LUMETRA_SANITIZE.
if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang" OR NOT CMAKE_C_COMPILER_ID STREQUAL "Clang")
  message(FATAL_ERROR
    "LUMETRA_BUILD_FUZZERS needs clang for C and C++ (libFuzzer), not "
    "${CMAKE_C_COMPILER_ID}/${CMAKE_CXX_COMPILER_ID}: configure a fresh build folder with "
    "-DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ (scripts/fuzz.sh does)")
endif()

set(LUMETRA_FUZZ_SANITIZERS address,undefined)
add_compile_options(-fsanitize=fuzzer-no-link,${LUMETRA_FUZZ_SANITIZERS}
                    -fno-sanitize-recover=all -fno-omit-frame-pointer)
# Executables other than the fuzzers (the tool, tests if asked for) link
# the sanitizers' run time; the fuzzers add libFuzzer's.
add_link_options(-fsanitize=${LUMETRA_FUZZ_SANITIZERS})
enable_testing()
