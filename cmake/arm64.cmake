# SPDX-License-Identifier: MIT
# Builds for the arm64 release of Debian with the compiler and the libraries that Debian has for that; what is
# built runs under qemu-user. scripts/try-arm64 installs what this needs.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(PKG_CONFIG_EXECUTABLE /usr/bin/aarch64-linux-gnu-pkg-config)
