// By this flag the C++ runtime knows whether a process has one thread only, so that counting references
// needs no atomic instruction. The C library has it since glibc 2.32 only; with one of the library's own
// that says "maybe more", which is always right, older ones do as well.

__attribute__((visibility("hidden"))) char singleThreaded __asm__("__libc_single_threaded") = 0;
