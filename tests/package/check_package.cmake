# Installs the build into a scratch prefix, then builds and runs a consumer
# against it the two ways hosts do: with CMake's find_package, and with a
# plain compiler command given nothing but what pkg-config says.
set(prefix "${WORK_DIR}/prefix")
file(REMOVE_RECURSE "${WORK_DIR}")

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${ARGN} failed:\n${output}")
  endif()
  message(STATUS "${output}")
endfunction()

run(${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${prefix}")

# Only the host and filter-writing tiers are installed, and together they
# compile with nothing but the installed tree.
foreach(header IN LISTS INTERNAL_HEADERS)
  if(EXISTS "${prefix}/include/lumetra/${header}")
    message(FATAL_ERROR "the engine's own header lumetra/${header} was installed")
  endif()
endforeach()
file(GLOB_RECURSE installed RELATIVE "${prefix}/include" "${prefix}/include/*.h")
list(LENGTH installed installed_count)
set(every_header "")
foreach(header IN LISTS installed)
  string(APPEND every_header "#include <${header}>\n")
endforeach()
file(WRITE "${WORK_DIR}/every_header.cpp" "${every_header}")
run(${CXX_COMPILER} -std=c++20 -fsyntax-only -I "${prefix}/include" "${WORK_DIR}/every_header.cpp")
message(STATUS "${installed_count} installed headers compile from the installed tree alone")

# CMake, on a machine without X11's development files (as far as
# find_package can tell).
run(${CMAKE_COMMAND} -S "${SOURCE_DIR}" -B "${WORK_DIR}/consumer" "-DCMAKE_PREFIX_PATH=${prefix}"
    "-DCMAKE_BUILD_TYPE=Release" "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}" "-DCMAKE_DISABLE_FIND_PACKAGE_X11=TRUE")
run(${CMAKE_COMMAND} --build "${WORK_DIR}/consumer")
run("${WORK_DIR}/consumer/cmake_consumer")

# pkg-config, seeing only Lumetra and the GL packages it names: no X11,
# libpng or libjpeg files, as on a headless machine. The compiler command is
# the one a newcomer types, with no flag of its own.
execute_process(COMMAND pkg-config --variable=pcfiledir egl OUTPUT_VARIABLE egl_dir OUTPUT_STRIP_TRAILING_WHITESPACE)
execute_process(COMMAND pkg-config --variable=pcfiledir opengl OUTPUT_VARIABLE opengl_dir
                OUTPUT_STRIP_TRAILING_WHITESPACE)
file(COPY "${egl_dir}/egl.pc" "${opengl_dir}/opengl.pc" DESTINATION "${WORK_DIR}/gl-pkgconfig")
set(ENV{PKG_CONFIG_LIBDIR} "${prefix}/lib/pkgconfig:${WORK_DIR}/gl-pkgconfig")
unset(ENV{PKG_CONFIG_PATH})
set(plain "${WORK_DIR}/pkgconfig_consumer")
run(sh -c "${CXX_COMPILER} $(pkg-config --cflags --libs lumetra) '${SOURCE_DIR}/consumer.cpp' -o '${plain}'")
# A private prefix is not on the loader's path: the plain build runs with
# LD_LIBRARY_PATH, the one with the README's rpath flag without it.
set(ENV{LD_LIBRARY_PATH} "${prefix}/lib")
run("${plain}")
unset(ENV{LD_LIBRARY_PATH})
run(sh -c "${CXX_COMPILER} '${SOURCE_DIR}/consumer.cpp' -o '${plain}-rpath' \
$(pkg-config --cflags --libs lumetra) -Wl,-rpath,$(pkg-config --variable=libdir lumetra)")
run("${plain}-rpath")
