# What the toolchains of foreign machines have in common: packages of this machine are not theirs, and programs carry
# all they need with them.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# the linker would say of every program that looking up names wants shared libraries
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static -Wl,--no-warnings")
