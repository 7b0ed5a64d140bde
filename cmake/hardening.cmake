# How releases are built: what guards the program at run time, and nothing of the build's place in the result.
option(ITUNES_IMPORT_HARDENED "Build with all guards that the target has" OFF)
option(ITUNES_IMPORT_STATIC "Link without shared libraries" OFF)
include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)
include(CheckLinkerFlag)

if(ITUNES_IMPORT_HARDENED)
  string(APPEND CMAKE_CXX_FLAGS " -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3 -fstack-protector-strong")
  add_compile_options("-ffile-prefix-map=${CMAKE_SOURCE_DIR}/=") # which quotes blanks in the path
  string(APPEND CMAKE_EXE_LINKER_FLAGS " -Wl,-z,relro,-z,now,-z,noexecstack")
  # Not every version of the compilers knows it for every target.
  check_cxx_compiler_flag(-fstack-clash-protection HAS_STACK_CLASH_PROTECTION)
  if(HAS_STACK_CLASH_PROTECTION)
    string(APPEND CMAKE_CXX_FLAGS " -fstack-clash-protection")
  endif()
  # Marked jumps and returns are a thing of these processors; others refuse the option. All addresses are bound at
  # the start, so calls need no stub that would bind them later: that saves as much as searching a line does.
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|i[3-6]86)$")
    string(APPEND CMAKE_CXX_FLAGS " -fcf-protection -fno-plt")
  endif()
endif()

# A program that is loaded at another place each time. Linked statically that needs a start file of the C library,
# rcrt1.o, which Debian 12 has for x86-64 and 64-bit ARM, not for PowerPC and 32-bit ARM: there static programs
# stay at their place.
if(ITUNES_IMPORT_STATIC)
  # Optimised as a whole they are smaller. Not with tests: what those put in the C library's place would not be called.
  if(NOT ITUNES_IMPORT_TESTS)
    set(CMAKE_INTERPROCEDURAL_OPTIMIZATION ON)
  endif()
  set(CMAKE_REQUIRED_FLAGS -fPIE)
  set(CMAKE_REQUIRED_LINK_OPTIONS -static-pie)
  check_cxx_source_compiles("int main() {}" HAS_STATIC_PIE)
  unset(CMAKE_REQUIRED_FLAGS)
  unset(CMAKE_REQUIRED_LINK_OPTIONS)
  if(HAS_STATIC_PIE)
    string(APPEND CMAKE_CXX_FLAGS " -fPIE")
    string(APPEND CMAKE_EXE_LINKER_FLAGS " -static-pie")
    # Such a program moves the addresses in it by itself; a list of bits says where they are in a tenth of the space.
    check_linker_flag(CXX -Wl,-z,pack-relative-relocs HAS_PACKED_RELOCATIONS)
    if(HAS_PACKED_RELOCATIONS)
      string(APPEND CMAKE_EXE_LINKER_FLAGS " -Wl,-z,pack-relative-relocs")
    endif()
  else()
    string(APPEND CMAKE_CXX_FLAGS " -fno-PIE")
    string(APPEND CMAKE_EXE_LINKER_FLAGS " -static -no-pie")
  endif()
elseif(ITUNES_IMPORT_HARDENED)
  string(APPEND CMAKE_CXX_FLAGS " -fPIE")
  string(APPEND CMAKE_EXE_LINKER_FLAGS " -pie")
endif()
