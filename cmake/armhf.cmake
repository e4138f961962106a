# Linux on 32-bit ARM by Debian's g++-arm-linux-gnueabihf; programs run under qemu-user.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armhf)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm)
set(CMAKE_CXX_FLAGS_INIT "-D_TIME_BITS=64 -D_FILE_OFFSET_BITS=64")  # time goes on after 2038
include(${CMAKE_CURRENT_LIST_DIR}/Foreign.cmake)
