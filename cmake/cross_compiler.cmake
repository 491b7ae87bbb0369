# The common part of the toolchain files in cmake/architectures: Debian's cross compiler for `triplet`. `emulator` runs
# the programs, if this machine cannot run them itself.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${triplet}-gcc)
set(CMAKE_CXX_COMPILER ${triplet}-g++)
set(CMAKE_FIND_ROOT_PATH /usr/${triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
if(emulator)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${emulator} -L /usr/${triplet})
endif()
