# wrap_calls(TARGET NAME ...) makes the linker replace calls of each NAME by calls of __wrap_NAME, which the sources
# *_calls.cpp in TARGET's folder define. They call NAME itself as __real_NAME.

# glibc's names of the functions where large files and times are not the default.
set(large_names
  clock_gettime=__clock_gettime64 fcntl=__fcntl_time64 fstat=__fstat64_time64 fstatat=__fstatat64_time64
  ftruncate=ftruncate64 futimens=__futimens64 getsockopt=__getsockopt64 ioctl=__ioctl_time64 lseek=lseek64
  lstat=__lstat64_time64 nanosleep=__nanosleep64 open=open64 openat=openat64 ppoll=__ppoll64 prctl=__prctl_time64
  pread=pread64 pwrite=pwrite64 readdir=readdir64 recvmsg=__recvmsg64 sendmsg=__sendmsg64 setsockopt=__setsockopt64
  stat=__stat64_time64 statvfs=statvfs64 utimensat=__utimensat64)

function(wrap_calls target)
  file(GLOB wrappers CONFIGURE_DEPENDS *_calls.cpp)
  foreach(name ${ARGN})
    set(symbol ${name})
    if(NOT HAS_LARGE_FILES_AND_TIMES AND "${large_names}" MATCHES "(^|;)${name}=([^;]+)")
      set(symbol ${CMAKE_MATCH_2})
      # Only for these sources: the precompiled header of a target with definitions cannot be reused by another target.
      set_property(SOURCE ${wrappers} APPEND PROPERTY
        COMPILE_DEFINITIONS __wrap_${name}=__wrap_${symbol} __real_${name}=__real_${symbol})
    endif()
    target_link_options(${target} PRIVATE -Wl,--wrap=${symbol})
  endforeach()
endfunction()
