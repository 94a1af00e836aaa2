# RAPIDJSON_INCLUDE_DIRS: RapidJSON's headers, in a folder of their own in the build tree.
#
# A folder of their own, because a cross build must not see what lies beside them in the host's include folder.
# Copied, because version 1.1.0 declares an assignment that can't work (it assigns to constants): nobody calls it,
# and Clang 19 refuses to compile it all the same. Later versions don't have it.

find_path(RAPIDJSON_SOURCE_DIR rapidjson/document.h
    HINTS ${RapidJSON_ROOT}
    PATHS /usr/include /usr/local/include
    NO_CMAKE_FIND_ROOT_PATH
    REQUIRED)

set(RAPIDJSON_INCLUDE_DIRS "${PROJECT_BINARY_DIR}/rapidjson")
file(COPY "${RAPIDJSON_SOURCE_DIR}/rapidjson" DESTINATION "${RAPIDJSON_INCLUDE_DIRS}" PATTERN document.h EXCLUDE)

set(rapidjson_document "${RAPIDJSON_SOURCE_DIR}/rapidjson/document.h")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${rapidjson_document}")
file(READ "${rapidjson_document}" rapidjson_text)
string(REPLACE
    "GenericStringRef& operator=(const GenericStringRef& rhs) { s = rhs.s; length = rhs.length; }"
    "GenericStringRef& operator=(const GenericStringRef& rhs) = delete;"
    rapidjson_text "${rapidjson_text}")
# Written only where it changes, so that configuring again compiles nothing again.
file(CONFIGURE OUTPUT "${RAPIDJSON_INCLUDE_DIRS}/rapidjson/document.h" CONTENT "${rapidjson_text}" @ONLY)
