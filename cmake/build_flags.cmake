# build_flags: how every source is compiled. hardening: how the sources of the programs are compiled in addition.
# program_flags: how the programs are linked.
# Options that not every compiler, linker or processor has are left out where they are missing.
include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)

# Adds those options to the target that the compiler knows. For options of other processors, clang only warns.
function(add_known_options target)
  set(CMAKE_REQUIRED_FLAGS -Werror)
  foreach(option ${ARGN})
    string(MAKE_C_IDENTIFIER "has${option}" is_known)
    check_cxx_compiler_flag(${option} ${is_known})
    if(${is_known})
      target_compile_options(${target} INTERFACE $<$<COMPILE_LANGUAGE:CXX>:${option}>)
    endif()
  endforeach()
endfunction()

# Sets the variable to whether the linker knows the options. A linker that does not know one may only warn.
function(can_link variable)
  set(CMAKE_REQUIRED_LINK_OPTIONS -Wl,--fatal-warnings ${ARGN})
  check_cxx_source_compiles("int main() {}" ${variable})
endfunction()

add_library(build_flags INTERFACE)
target_include_directories(build_flags INTERFACE ${PROJECT_SOURCE_DIR})
# Files over 2 GB and times after 2038. Not set where the C library has them by default, because glibc would then rename
# calls that the tests replace.
check_cxx_source_compiles("#include <sys/types.h>
  static_assert(sizeof(off_t) >= 8 && sizeof(time_t) >= 8);
  int main() {}" HAS_LARGE_FILES_AND_TIMES)
if(NOT HAS_LARGE_FILES_AND_TIMES)
  target_compile_definitions(build_flags INTERFACE _FILE_OFFSET_BITS=64 _TIME_BITS=64)
endif()
target_compile_options(build_flags INTERFACE
  -Wall -Wextra -Wpedantic -Werror -Wshadow
  $<$<COMPILE_LANGUAGE:CXX>:-Wconversion -Wsign-conversion -Wold-style-cast -Woverloaded-virtual
                            -Wnon-virtual-dtor -Wextra-semi>
  -Wformat=2 -Wcast-align -Wnull-dereference -Wundef)
# Only g++ has these.
add_known_options(build_flags -Wuseless-cast -Wformat-signedness -Wduplicated-cond -Wduplicated-branches -Wlogical-op)

add_library(hardening INTERFACE)
target_compile_options(hardening INTERFACE -ffunction-sections -fdata-sections -fstack-protector-strong)
# Optimised for size: each process runs its code once, so loading the code costs more than running it.
target_compile_options(hardening INTERFACE $<$<CONFIG:Release>:-Os>)
# With the last two the processor checks the targets of calls and jumps, on x86 and on arm64.
add_known_options(hardening -fstack-clash-protection -fcf-protection -mbranch-protection=standard)
# Fortification needs optimisation. The sanitizers make it unnecessary.
if(NOT ZMLA_SANITIZE AND NOT ZMLA_FUZZ)
  target_compile_options(hardening INTERFACE $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>)
endif()

add_library(program_flags INTERFACE)
target_link_options(program_flags INTERFACE -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack -Wl,--gc-sections)

if(ZMLA_FUZZ)
  # The warnings are chosen for g++; the other builds have them.
  target_compile_options(build_flags INTERFACE -w)
  set(fuzzing -fsanitize=fuzzer-no-link)
endif()
if(ZMLA_SANITIZE OR ZMLA_FUZZ)
  # No recovery: a report ends the process, which fails the test.
  set(sanitizers -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer -O1 -g1 ${fuzzing})
  # Only for the sources of the programs; the tests' own code would take twice as long to build.
  target_compile_options(hardening INTERFACE ${sanitizers})
  target_link_options(build_flags INTERFACE ${sanitizers})
  # Without -Wnull-dereference, which reports the sanitizers' own checks.
  target_compile_options(hardening INTERFACE -Wno-null-dereference)
elseif(ZMLA_VALGRIND)
  target_link_options(program_flags INTERFACE -pie)
else()
  # Static, because the agent starts for every request, and the dynamic loader would take most of a request's time.
  # The linker warns that a static program loads parts of the C library at run time to look names up. The programs do
  # that only on a host without getent.
  can_link(CAN_SILENCE_LINKER -Wl,--no-warnings)
  if(CAN_SILENCE_LINKER)
    target_link_options(program_flags INTERFACE -Wl,--no-warnings)
  endif()
  # Places the functions of the C library that requests use side by side, which saves a tenth of a request's time.
  set(order -Wl,-T,${CMAKE_CURRENT_LIST_DIR}/section_order.ld)
  can_link(CAN_ORDER_SECTIONS ${order})
  if(CAN_ORDER_SECTIONS)
    target_link_options(program_flags INTERFACE ${order})
    set_property(TARGET program_flags PROPERTY INTERFACE_LINK_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/section_order.ld)
  endif()
  # The program relocates itself at every start; packed relocations make that faster. glibc reads them since 2.36. With
  # an older one the program would link, but crash.
  set(packed -Wl,-z,pack-relative-relocs)
  check_cxx_source_compiles("#include <climits>
    #if defined __GLIBC__ && !__GLIBC_PREREQ(2, 36)
    #error
    #endif
    int main() {}" LIBC_READS_PACKED_RELOCATIONS)
  can_link(CAN_LINK_PACKED_STATIC_PIE -static-pie ${packed})
  can_link(CAN_LINK_STATIC_PIE -static-pie)
  if(CAN_LINK_PACKED_STATIC_PIE AND LIBC_READS_PACKED_RELOCATIONS)
    target_link_options(program_flags INTERFACE -static-pie ${packed})
  elseif(CAN_LINK_STATIC_PIE)
    target_link_options(program_flags INTERFACE -static-pie)
  else()
    target_link_options(program_flags INTERFACE -static)
  endif()
endif()
