# What makes a fault of memory harder to exploit. No result depends on it, and the frame doesn't feel it.

add_library(velkori_hardening INTERFACE)

# Sanitizers see more, and don't go together with checked string functions. Those need optimised code.
if(NOT VELKORI_SANITIZE AND CMAKE_EXECUTABLE_FORMAT STREQUAL "ELF")
    target_compile_options(velkori_hardening INTERFACE
        -fstack-protector-strong
        $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE>
        $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=3>)
    if(CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64")
        target_compile_options(velkori_hardening INTERFACE -fcf-protection)
        # Debian's own start-up objects don't say that a shadow stack is fine with them, though it is.
        target_link_options(velkori_hardening INTERFACE "LINKER:-z,shstk")
    elseif(CMAKE_SYSTEM_PROCESSOR STREQUAL "aarch64")
        target_compile_options(velkori_hardening INTERFACE -mbranch-protection=standard)
    endif()
    target_link_options(velkori_hardening INTERFACE "LINKER:-z,noexecstack")
endif()

# MinGW has both in a library of its own, which the first flag links in; its linker randomises addresses and keeps data
# from being executed without being asked.
if(NOT VELKORI_SANITIZE AND MINGW)
    target_compile_options(velkori_hardening INTERFACE
        -fstack-protector-strong $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
    target_link_options(velkori_hardening INTERFACE -fstack-protector-strong)
endif()
