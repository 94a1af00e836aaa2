# Flags that every target of the project is compiled with.

add_library(velkori_compiler_settings INTERFACE)

# Results must be the same bits wherever the library is built: no contraction of a*b+c, and never fast-math.
# errno is not part of the library's arithmetic; without it a square root is one instruction.
target_compile_options(velkori_compiler_settings INTERFACE -ffp-contract=off -fno-math-errno
    # GCC 12 makes fused operations of neighbouring sums and differences in spite of the first flag.
    $<$<CXX_COMPILER_ID:GNU>:-fno-tree-slp-vectorize>)

# 32-bit x86 computes in registers of 80 bits unless it is told otherwise.
if(CMAKE_SIZEOF_VOID_P EQUAL 4 AND CMAKE_SYSTEM_PROCESSOR MATCHES "^(i[3-6]86|x86_64|AMD64)$")
    target_compile_options(velkori_compiler_settings INTERFACE -msse2 -mfpmath=sse)
endif()

# A user's machine has none of the compiler's own run-time libraries, and a program finds a DLL beside itself.
if(WIN32)
    target_link_options(velkori_compiler_settings INTERFACE -static)
    set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
endif()

# Exceptions carry failures to the interface's boundary; Emscripten leaves them out unless asked.
if(EMSCRIPTEN)
    target_compile_options(velkori_compiler_settings INTERFACE -fexceptions)
    target_link_options(velkori_compiler_settings INTERFACE -fexceptions)
endif()

target_compile_options(velkori_compiler_settings INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wno-sign-conversion
    # A constructor's parameter may have its field's name.
    $<IF:$<CXX_COMPILER_ID:GNU>,-Wshadow=local,-Wshadow>
    # GCC 12 reports overlaps inside std::string's own operator+.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
    $<$<CXX_COMPILER_ID:Clang>:-Wreserved-identifier>
    # There, GCC checks formats against another printf than the one that is called.
    $<$<BOOL:${MINGW}>:-Wno-format>
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Wold-style-cast>
    $<$<BOOL:${VELKORI_WARNINGS_AS_ERRORS}>:-Werror>)

if(VELKORI_SANITIZE)
    target_compile_options(velkori_compiler_settings INTERFACE
        -fsanitize=${VELKORI_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer
        # RapidJSON moves null pointers by 0, which Clang's check takes for an overflow.
        $<$<CXX_COMPILER_ID:Clang>:-fno-sanitize=pointer-overflow>)
    target_link_options(velkori_compiler_settings INTERFACE -fsanitize=${VELKORI_SANITIZE})
endif()
