# SPDX-License-Identifier: GPL-2.0-or-later
# 32-bit ARM (hard float) with Debian's cross compiler. The target's libraries lie in build/armhf-sysroot, where
# scripts/arm has unpacked them.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)

get_filename_component(armhf_sysroot ${CMAKE_CURRENT_LIST_DIR}/../build/armhf-sysroot ABSOLUTE)
# Not CMAKE_SYSROOT: the C library itself comes with the compiler.
set(CMAKE_FIND_ROOT_PATH ${armhf_sysroot})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${armhf_sysroot})
set(ENV{PKG_CONFIG_LIBDIR} ${armhf_sysroot}/usr/lib/arm-linux-gnueabihf/pkgconfig:${armhf_sysroot}/usr/share/pkgconfig)

# Debian's headers and libraries of the target lie where the host's compiler would look by itself.
set(CMAKE_CXX_FLAGS_INIT
    "-isystem ${armhf_sysroot}/usr/include -isystem ${armhf_sysroot}/usr/include/arm-linux-gnueabihf")
set(CMAKE_C_FLAGS_INIT "${CMAKE_CXX_FLAGS_INIT}")
set(armhf_libraries ${armhf_sysroot}/usr/lib/arm-linux-gnueabihf)
# Some that others need (libexpat, libz) lie in /lib.
set(CMAKE_EXE_LINKER_FLAGS_INIT
    "-L${armhf_libraries} -Wl,-rpath-link,${armhf_libraries}:${armhf_sysroot}/lib/arm-linux-gnueabihf")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "${CMAKE_EXE_LINKER_FLAGS_INIT}")
