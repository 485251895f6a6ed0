# 64-bit Arm: Debian's cross compiler, Debian's arm64 packages below a directory of their own
# (scripts/make-arm64-root), and user-mode emulation to run what is built.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

cmake_path(SET CMAKE_SYSROOT NORMALIZE ${CMAKE_CURRENT_LIST_DIR}/../../build/arm64-root)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The programs find their libraries as on a machine of their own. Return addresses are signed, but
# by a cheaper function than the architecture's: that one would take most of the time.
set(CMAKE_CROSSCOMPILING_EMULATOR
    qemu-aarch64-static -cpu max,pauth-impdef=on -L ${CMAKE_SYSROOT})
