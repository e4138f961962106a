# Linux on s390x, a big-endian machine, by Debian's g++-s390x-linux-gnu; programs run under qemu-user.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR s390x)
set(CMAKE_CXX_COMPILER s390x-linux-gnu-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-s390x)
include(${CMAKE_CURRENT_LIST_DIR}/Foreign.cmake)
