# An x86-64 processor runs these itself.
set(CMAKE_SYSTEM_PROCESSOR i686)
set(triplet i686-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/../cross_compiler.cmake)
