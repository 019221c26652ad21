# Cross build for arm64 on a Debian machine of another processor, with
# Debian's cross toolchain (crossbuild-essential-arm64) and the :arm64
# development packages installed beside the native ones (multiarch).
# Programs built here run under qemu-user: tests that start programs of their
# own run under proot, which passes qemu on to those children.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(PKG_CONFIG_EXECUTABLE aarch64-linux-gnu-pkg-config CACHE FILEPATH "pkg-config for arm64")

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64-static)
set(QUORVEL_SPAWNING_EMULATOR proot -q qemu-aarch64-static)

# Qt's code generators (moc, uic) are the build machine's.
set(QT_HOST_PATH /usr)
set(QT_HOST_PATH_CMAKE_DIR /usr/lib/${CMAKE_HOST_SYSTEM_PROCESSOR}-linux-gnu/cmake)
