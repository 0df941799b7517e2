# The daemon as one static file with musl and an expat that tools/sysroot.sh built. Debian's musl comes for C alone: its
# specs make g++ use musl's headers and start files, g++'s own headers are added, and musl.h adapts them. The daemon
# links no C++ library, so none has to exist for musl.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER gcc)
set(CMAKE_CXX_COMPILER g++)
set(specs "-specs=/usr/lib/x86_64-linux-musl/musl-gcc.specs")
execute_process(COMMAND g++ -dumpversion OUTPUT_VARIABLE version OUTPUT_STRIP_TRAILING_WHITESPACE)
set(CMAKE_C_FLAGS_INIT "${specs}")
set(CMAKE_CXX_FLAGS_INIT "${specs} -isystem /usr/include/c++/${version} -isystem /usr/include/x86_64-linux-gnu/c++/${version} -include ${CMAKE_CURRENT_LIST_DIR}/musl.h")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_FIND_ROOT_PATH ${CMAKE_CURRENT_LIST_DIR}/../../build-sysroots/musl)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
