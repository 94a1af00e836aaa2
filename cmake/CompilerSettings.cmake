# Flags that every target of the project is compiled with.

add_library(velkori_compiler_settings INTERFACE)

# Results must be the same bits wherever the library is built: no contraction of a*b+c, and never fast-math.
# errno is not part of the library's arithmetic; without it a square root is one instruction.
target_compile_options(velkori_compiler_settings INTERFACE -ffp-contract=off -fno-math-errno)

target_compile_options(velkori_compiler_settings INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wno-sign-conversion
    # A constructor's parameter may have its field's name.
    $<IF:$<CXX_COMPILER_ID:GNU>,-Wshadow=local,-Wshadow>
    # GCC 12 reports overlaps inside std::string's own operator+.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
    $<$<CXX_COMPILER_ID:Clang>:-Wreserved-identifier>
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Wold-style-cast>
    $<$<BOOL:${VELKORI_WARNINGS_AS_ERRORS}>:-Werror>)

if(VELKORI_SANITIZE)
    target_compile_options(velkori_compiler_settings INTERFACE
        -fsanitize=${VELKORI_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer
        # RapidJSON moves null pointers by 0, which Clang's check takes for an overflow.
        $<$<CXX_COMPILER_ID:Clang>:-fno-sanitize=pointer-overflow>)
    target_link_options(velkori_compiler_settings INTERFACE -fsanitize=${VELKORI_SANITIZE})
endif()
