# VELKORI_PORTABLE: a library for other machines than the one that it is built on. On Linux the C++ standard library
# goes into it, and of the C library it needs nothing newer than glibc 2.28.

option(VELKORI_PORTABLE "Link the C++ runtime in, and need no newer glibc than 2.28" OFF)

function(velkori_make_portable library objects)
    if(NOT VELKORI_PORTABLE OR VELKORI_SANITIZE)
        return()
    endif()
    # Whatever names a source file must not name the folder that it was built in.
    target_compile_options(${objects} PRIVATE
        "-ffile-prefix-map=${PROJECT_SOURCE_DIR}=." "-ffile-prefix-map=${PROJECT_BINARY_DIR}=build")
    # In sources compiled as few large units, GCC would inline less, which costs a fifth of the frame.
    target_compile_options(${objects} PRIVATE $<$<CXX_COMPILER_ID:GNU>:--param=large-unit-insns=1000000>)
    if(MINGW)
        target_link_options(${library} PRIVATE "LINKER:--no-insert-timestamp")
    endif()
    if(NOT LINUX)
        return()
    endif()
    # The unwinder (libgcc_s) stays outside: a process should have one, and every system has it.
    target_sources(${library} PRIVATE private/src/shared/SingleThreadedFlag.c)
    target_link_options(${library} PRIVATE -static-libstdc++ "LINKER:--gc-sections")
endfunction()
