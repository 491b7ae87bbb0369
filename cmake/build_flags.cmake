# build_flags: how every source is compiled. hardening: how what goes into the programs is compiled beyond that.
# program_flags: how the programs are linked.

add_library(build_flags INTERFACE)
target_include_directories(build_flags INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(build_flags INTERFACE
  -Wall -Wextra -Wpedantic -Werror -Wshadow
  $<$<COMPILE_LANGUAGE:CXX>:-Wconversion -Wsign-conversion -Wold-style-cast -Wuseless-cast -Woverloaded-virtual
                            -Wnon-virtual-dtor -Wextra-semi>
  -Wformat=2 -Wformat-signedness -Wcast-align -Wnull-dereference -Wduplicated-cond -Wduplicated-branches
  -Wlogical-op -Wundef)

add_library(hardening INTERFACE)
target_compile_options(hardening INTERFACE
  -ffunction-sections -fdata-sections -fstack-protector-strong -fstack-clash-protection -fcf-protection)
# Fortification needs optimisation, and the sanitizers do its work where they run.
if(NOT ZMLA_SANITIZE AND NOT ZMLA_FUZZ)
  target_compile_options(hardening INTERFACE $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>)
endif()

add_library(program_flags INTERFACE)
target_link_options(program_flags INTERFACE -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack -Wl,--gc-sections)

if(ZMLA_FUZZ)
  # The warnings are chosen for g++, and every other build heeds them.
  target_compile_options(build_flags INTERFACE -w)
  set(fuzzing -fsanitize=fuzzer-no-link)
endif()
if(ZMLA_SANITIZE OR ZMLA_FUZZ)
  # No recovery: a report of either sanitizer ends the process, and so fails the test.
  set(sanitizers -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer -O1 -g1 ${fuzzing})
  # What goes into the programs; the tests' own code would take twice as long to build.
  target_compile_options(hardening INTERFACE ${sanitizers})
  target_link_options(build_flags INTERFACE ${sanitizers})
  # -Wnull-dereference is left out: the sanitizers' own checks make paths that it takes for dereferences.
  target_compile_options(hardening INTERFACE -Wno-null-dereference)
elseif(ZMLA_SHARED_LIBC)
  target_link_options(program_flags INTERFACE -pie -static-libstdc++ -static-libgcc)
else()
  # The agent is started for every request: what the dynamic loader would do is most of what a request costs.
  # The linker warns that name look-ups of a static program load parts of the C library at run time. That
  # holds for sources of names other than files and DNS, and ZMLA_SHARED_LIBC is there for hosts that have them.
  # Packed relocations: the program relocates itself at every start.
  target_link_options(program_flags INTERFACE -static-pie -Wl,-z,pack-relative-relocs -Wl,--no-warnings)
endif()
