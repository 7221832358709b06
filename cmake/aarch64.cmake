# The endpoint's toolchain: Debian's cross compiler, and Debian's arm64 libraries where scripts/arm64-sysroot unpacks
# them. The compiler keeps the C and C++ libraries of its own; those of the folder serve to run a result.
get_filename_component(HALYARD_SYSROOT "${CMAKE_CURRENT_LIST_DIR}/../build/arm64-sysroot" ABSOLUTE)
if(NOT EXISTS "${HALYARD_SYSROOT}/.complete")
  message(FATAL_ERROR "no arm64 libraries: run scripts/arm64-sysroot first")
endif()

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_FIND_ROOT_PATH "${HALYARD_SYSROOT}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(ENV{PKG_CONFIG_LIBDIR} "${HALYARD_SYSROOT}/usr/lib/aarch64-linux-gnu/pkgconfig:${HALYARD_SYSROOT}/usr/share/pkgconfig")
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${HALYARD_SYSROOT}")

# The libraries' own libraries.
foreach(folder lib/aarch64-linux-gnu usr/lib/aarch64-linux-gnu)
  string(APPEND CMAKE_EXE_LINKER_FLAGS_INIT " -Wl,-rpath-link,${HALYARD_SYSROOT}/${folder}")
endforeach()
