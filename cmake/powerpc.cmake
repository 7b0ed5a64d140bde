# The reference target: 32-bit, big-endian PowerPC (Debian: g++-powerpc-linux-gnu, qemu-user).
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR powerpc)
set(CMAKE_C_COMPILER powerpc-linux-gnu-gcc) # of the companions' libraries
set(CMAKE_CXX_COMPILER powerpc-linux-gnu-g++)
set(CMAKE_STRIP powerpc-linux-gnu-strip)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-ppc -L /usr/powerpc-linux-gnu)
