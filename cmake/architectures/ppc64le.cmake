set(CMAKE_SYSTEM_PROCESSOR ppc64le)
set(triplet powerpc64le-linux-gnu)
set(emulator qemu-ppc64le-static)
include(${CMAKE_CURRENT_LIST_DIR}/../cross_compiler.cmake)
