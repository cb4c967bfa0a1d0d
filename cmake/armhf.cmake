# The target: 32-bit ARM with Debian 12's armhf ABI. scripts/sysroot-armhf makes the sysroot; its programs run
# under the emulator. Compiler flags are in Options.cmake.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_INSTALL_LIBDIR lib/arm-linux-gnueabihf)

set(TAVROLINE_SYSROOT "$ENV{TAVROLINE_SYSROOT}" CACHE PATH "Sysroot of the target")
if(NOT TAVROLINE_SYSROOT)
  set(TAVROLINE_SYSROOT "$ENV{HOME}/.cache/tavroline/armhf")
endif()
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES TAVROLINE_SYSROOT)
set(CMAKE_SYSROOT ${TAVROLINE_SYSROOT})
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR} ${CMAKE_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig)

find_program(TAVROLINE_EMULATOR NAMES qemu-arm qemu-arm-static REQUIRED)
set(CMAKE_CROSSCOMPILING_EMULATOR ${TAVROLINE_EMULATOR} -L ${CMAKE_SYSROOT})
