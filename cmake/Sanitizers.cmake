# Sanitizer builds. LUMETRA_SANITIZE is the list handed to -fsanitize=
# ("address,undefined" or "thread"); every target of the build is compiled
# and linked with it. A finding of UBSan aborts the process (no recovery), so
# it fails the test that made it. scripts/sanitize.sh runs both builds.
set(LUMETRA_SANITIZE "" CACHE STRING
    "Sanitizers for every target, as given to -fsanitize= (e.g. address,undefined or thread); empty for none")

set(LUMETRA_PC_SANITIZE "")
if(LUMETRA_SANITIZE)
  add_compile_options(-fsanitize=${LUMETRA_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${LUMETRA_SANITIZE})
  set(LUMETRA_PC_SANITIZE " -fsanitize=${LUMETRA_SANITIZE}")
endif()

# The library carries the link flag to its hosts, in the build tree and in the
# installed CMake package and pkg-config file: the instrumented library needs
# the sanitizer's run time loaded first, which only the host's link can do.
function(lumetra_sanitize_library target)
  if(LUMETRA_SANITIZE)
    target_link_options(${target} INTERFACE -fsanitize=${LUMETRA_SANITIZE})
  endif()
endfunction()

# Run-time options for every test of the calling directory, set once the
# directory has been read (so suites added later are covered): suppressions of
# what is not ours (commented in tests/sanitizers/), full stacks, and a failed
# test for any finding.
function(lumetra_sanitize_tests)
  cmake_language(DEFER CALL _lumetra_sanitize_tests_now)
endfunction()

function(_lumetra_sanitize_tests_now)
  if(NOT LUMETRA_SANITIZE)
    return()
  endif()
  set(supp "${PROJECT_SOURCE_DIR}/tests/sanitizers")
  set(environment
    "ASAN_OPTIONS=detect_leaks=1:check_initialization_order=1:strict_string_checks=1"
    "LSAN_OPTIONS=suppressions=${supp}/lsan.supp:print_suppressions=0"
    "UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1"
    "TSAN_OPTIONS=suppressions=${supp}/tsan.supp:second_deadlock_stack=1:history_size=4")
  # llvmpipe's rasteriser threads hand work over through atomics and futexes
  # in uninstrumented code, which ThreadSanitizer cannot see, so it reports
  # races in Mesa's own fences. Without them llvmpipe draws on the thread that
  # calls GL, our queue threads, and every thread left is ours to answer for.
  if(LUMETRA_SANITIZE MATCHES "thread")
    list(APPEND environment "LP_NUM_THREADS=0")
  endif()
  get_property(tests DIRECTORY PROPERTY TESTS)
  if(tests)
    set_property(TEST ${tests} APPEND PROPERTY ENVIRONMENT ${environment})
  endif()
endfunction()
