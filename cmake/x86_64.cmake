# 64-bit PC, for static programs made on one: they take libraries that were built to be small.
set(CMAKE_C_COMPILER gcc)
set(CMAKE_CXX_COMPILER g++)
