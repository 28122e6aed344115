# 64-bit Arm. GCC fuses multiply-adds on Arm unless told otherwise, which is
# what this build is here to watch.
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(KALVIRO_CROSS_TRIPLE aarch64-linux-gnu)
set(KALVIRO_CROSS_QEMU qemu-aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
