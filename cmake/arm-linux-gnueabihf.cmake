# 32-bit Arm (armhf: ARMv7, VFP, hard-float calls), as on many embedded
# hosts: 32-bit pointers and sizes, and its own float code generation.
set(CMAKE_SYSTEM_PROCESSOR arm)
set(KALVIRO_CROSS_TRIPLE arm-linux-gnueabihf)
set(KALVIRO_CROSS_QEMU qemu-arm)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
