# `cmake --install` puts in place the library, its header, a CMake package (Velkori::Utility) and a pkg-config
# file. Both packages are relocatable: their paths are relative to where they themselves lie.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS Velkori_Utility
    EXPORT Velkori_UtilityTargets
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
    RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
    FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/Velkori_Utility")
install(EXPORT Velkori_UtilityTargets NAMESPACE Velkori:: DESTINATION "${package_dir}")

configure_package_config_file(
    "${PROJECT_SOURCE_DIR}/cmake/Velkori_UtilityConfig.cmake.in"
    "${PROJECT_BINARY_DIR}/Velkori_UtilityConfig.cmake"
    INSTALL_DESTINATION "${package_dir}")
write_basic_package_version_file(
    "${PROJECT_BINARY_DIR}/Velkori_UtilityConfigVersion.cmake" COMPATIBILITY SameMinorVersion)
install(FILES
    "${PROJECT_BINARY_DIR}/Velkori_UtilityConfig.cmake"
    "${PROJECT_BINARY_DIR}/Velkori_UtilityConfigVersion.cmake"
    DESTINATION "${package_dir}")

if(EMSCRIPTEN)
    # A failure inside the static library is an exception: the program that it becomes part of must catch some, too.
    set(pc_link_options " -fexceptions")
    target_link_options(Velkori_Utility INTERFACE -fexceptions)
endif()
file(RELATIVE_PATH pc_prefix "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
configure_file(
    "${PROJECT_SOURCE_DIR}/cmake/velkori_utility.pc.in" "${PROJECT_BINARY_DIR}/velkori_utility.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/velkori_utility.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
